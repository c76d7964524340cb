#include "engine/piece/piece_state.h"

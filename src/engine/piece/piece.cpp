#include "engine/piece/piece.h"

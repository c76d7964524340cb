#include "engine/piece/piece_sections.h"

#include "player/load_piece.h"

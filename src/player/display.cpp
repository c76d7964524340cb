#include "player/display.h"

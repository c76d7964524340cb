#include "player/demo_clock.h"

#include "engine/animation/animated_value.h"

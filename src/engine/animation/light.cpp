#include "engine/animation/light.h"

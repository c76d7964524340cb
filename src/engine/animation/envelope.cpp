#include "engine/animation/envelope.h"

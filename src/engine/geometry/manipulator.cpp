#include "engine/geometry/manipulator.h"

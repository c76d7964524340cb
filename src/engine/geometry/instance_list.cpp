#include "engine/geometry/instance_list.h"

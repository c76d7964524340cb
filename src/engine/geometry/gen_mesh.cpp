#include "engine/geometry/gen_mesh.h"

#include "engine/geometry/deformed_mesh.h"

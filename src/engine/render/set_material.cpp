#include "engine/render/set_material.h"

#include "engine/textures/procedural_texture.h"

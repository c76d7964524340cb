#include "engine/render/scene.h"

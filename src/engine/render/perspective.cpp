#include "engine/render/perspective.h"

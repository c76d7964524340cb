#include "engine/render/timeline.h"

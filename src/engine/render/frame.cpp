#include "engine/render/frame.h"

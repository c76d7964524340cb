#include "engine/data/package_tools.h"

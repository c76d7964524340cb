#include "engine/data/package_file.h"

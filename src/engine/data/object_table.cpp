#include "engine/data/object_table.h"

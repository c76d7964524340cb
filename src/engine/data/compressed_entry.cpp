#include "engine/data/compressed_entry.h"

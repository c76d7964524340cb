#include "engine/data/demo_document.h"

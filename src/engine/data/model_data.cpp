#include "engine/data/model_data.h"

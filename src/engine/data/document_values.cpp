#include "engine/data/document_values.h"

#include "engine/data/document_text.h"

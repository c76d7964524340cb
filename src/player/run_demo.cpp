#include "player/run_demo.h"

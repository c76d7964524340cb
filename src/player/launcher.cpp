#include "player/launcher.h"

#include "player/music.h"

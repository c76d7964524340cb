#include "engine/render/material.h"

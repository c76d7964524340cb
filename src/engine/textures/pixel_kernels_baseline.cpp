// The pixel loops for every x86-64 processor.
#include "engine/textures/pixel_kernels.h"

#include <cmath>
#include <cstring>
#include <emmintrin.h>

#include "engine/data/numeric.h"

#define KERNEL_TARGET
#define KERNEL_TABLE BaselinePixelKernels
#define KERNEL_NAME "baseline"

#include "engine/textures/pixel_kernels.inc"

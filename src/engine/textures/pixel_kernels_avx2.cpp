// The pixel loops for processors with AVX2. Only the loops themselves are compiled for it, function
// by function: with a switch for the whole file the inline functions of its headers would be too,
// and the linker might hand those to the rest of the program.
#include "engine/textures/pixel_kernels.h"

#include <cmath>
#include <cstring>
#include <emmintrin.h>

#include "engine/data/numeric.h"

#define KERNEL_TARGET [[gnu::target("avx2")]]
#define KERNEL_TABLE Avx2PixelKernels
#define KERNEL_NAME "avx2"

#include "engine/textures/pixel_kernels.inc"

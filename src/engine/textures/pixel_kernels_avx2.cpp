// The pixel loops for processors with AVX2. Only the loops themselves are compiled for it, function
// by function: with a switch for the whole file the inline functions of its headers would be too,
// and the linker might hand those to the rest of the program.
#include "engine/textures/pixel_kernels.h"

#include <cstring>
#include <immintrin.h>

#define KERNEL [[gnu::target("avx2")]] static
#define KERNEL_HELPER [[gnu::target("avx2")]] [[gnu::always_inline]] static inline
#define KERNEL_NAME "avx2"

namespace
{
#include "engine/textures/pixel_vectors_avx2.inc"

#include "engine/textures/pixel_kernels.inc"
} // namespace

extern const PixelKernels Avx2PixelKernels;
const PixelKernels Avx2PixelKernels = kTable;

// The pixel loops for every x86-64 processor.
#include "engine/textures/pixel_kernels.h"

#include <cstring>
#include <emmintrin.h>

#define KERNEL static
#define KERNEL_HELPER [[gnu::always_inline]] static inline
#define KERNEL_NAME "baseline"

namespace
{
#include "engine/textures/pixel_vectors_sse2.inc"

#include "engine/textures/pixel_kernels.inc"
} // namespace

extern const PixelKernels BaselinePixelKernels;
const PixelKernels BaselinePixelKernels = kTable;

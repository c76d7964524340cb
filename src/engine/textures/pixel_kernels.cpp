#include "engine/textures/pixel_kernels.h"

#include <iterator>

extern const PixelKernels BaselinePixelKernels;
extern const PixelKernels Avx2PixelKernels;

static const PixelKernels* chosenKernels = nullptr;

const PixelKernels* ListPixelKernels(uint32_t n)
{
    static constexpr const PixelKernels* kForms[] = {&BaselinePixelKernels, &Avx2PixelKernels};
    const uint32_t count = __builtin_cpu_supports("avx2") != 0 ? std::size(kForms) : 1;
    return n < count ? kForms[n] : nullptr;
}

void SetPixelKernels(const PixelKernels* kernels)
{
    chosenKernels = kernels;
}

const PixelKernels* GetPixelKernels()
{
    if (chosenKernels == nullptr)
    {
        for (uint32_t n = 0; ListPixelKernels(n) != nullptr; ++n)
        {
            chosenKernels = ListPixelKernels(n);
        }
    }
    return chosenKernels;
}

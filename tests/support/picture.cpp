// SPDX-License-Identifier: MIT
#include "support/picture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-but-set-variable"
#include <stb_image.h>
#include <stb_image_write.h>
#pragma GCC diagnostic pop

static constexpr int kOutlierDifference = 32;

Picture ShrinkPicture(const Picture& picture, int32_t factor)
{
    Picture small = {picture.width / factor, picture.height / factor, {}};
    for (int32_t y = 0; y < small.height; ++y)
    {
        for (int32_t x = 0; x < small.width; ++x)
        {
            for (int32_t channel = 0; channel < 3; ++channel)
            {
                int32_t sum = 0;
                for (int32_t i = 0; i < factor * factor; ++i)
                {
                    int32_t row = y * factor + i / factor;
                    int32_t column = x * factor + i % factor;
                    int32_t at = (row * picture.width + column) * 3 + channel;
                    sum += picture.rgb[static_cast<size_t>(at)];
                }
                small.rgb.push_back(static_cast<uint8_t>(sum / (factor * factor)));
            }
        }
    }
    return small;
}

Picture ReadPicture(const std::string& path)
{
    int width = 0;
    int height = 0;
    int components = 0;
    stbi_uc* pixels = stbi_load(path.c_str(), &width, &height, &components, 3);
    if (pixels == nullptr)
    {
        return {0, 0, {}};
    }
    size_t size = static_cast<size_t>(width) * static_cast<size_t>(height) * 3;
    Picture picture = {width, height, std::vector<uint8_t>(pixels, pixels + size)};
    stbi_image_free(pixels);
    return picture;
}

void WritePicture(const std::string& path, const Picture& picture)
{
    if (stbi_write_png(path.c_str(), picture.width, picture.height, 3, picture.rgb.data(),
                       picture.width * 3) == 0)
    {
        fprintf(stderr, "%s: can't be written\n", path.c_str());
        abort();
    }
}

PictureDistance ComparePictures(const Picture& a, const Picture& b)
{
    if (a.width != b.width || a.height != b.height || a.rgb.empty())
    {
        return {false, 255.0, 1.0};
    }
    double sum = 0.0;
    size_t outliers = 0;
    for (size_t i = 0; i < a.rgb.size(); i += 3)
    {
        int worst = 0;
        for (size_t channel = 0; channel < 3; ++channel)
        {
            int difference = abs(a.rgb[i + channel] - b.rgb[i + channel]);
            sum += difference;
            worst = std::max(worst, difference);
        }
        outliers += worst > kOutlierDifference ? 1 : 0;
    }
    double channels = static_cast<double>(a.rgb.size());
    return {true, sum / channels, static_cast<double>(outliers) * 3.0 / channels};
}

// SPDX-License-Identifier: MIT
#include "opencv_textures.h"

#ifdef QUORVALE_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

/// A matrix over somebody else's pixels.
static cv::Mat Wrap(int size, int components, const uint8_t* pixels)
{
    cv::setNumThreads(1);
    return {size, size, CV_8UC(components), const_cast<uint8_t*>(pixels)};
}

void OpenCvBlur(int size, const uint8_t* pixels, uint8_t* out)
{
    cv::Mat result = Wrap(size, 3, out);
    cv::blur(Wrap(size, 3, pixels), result, cv::Size(3, 3));
}

void OpenCvFilter(int size, const uint8_t* pixels, const float* kernel, uint8_t* out)
{
    cv::Mat result = Wrap(size, 3, out);
    const cv::Mat weights(3, 3, CV_32F, const_cast<float*>(kernel));
    cv::filter2D(Wrap(size, 3, pixels), result, -1, weights);
}

void OpenCvAddWeighted(int size, const uint8_t* pixels, float scale1, const uint8_t* layer,
                       float scale2, uint8_t* out)
{
    cv::Mat result = Wrap(size, 3, out);
    cv::addWeighted(Wrap(size, 3, pixels), static_cast<double>(scale1), Wrap(size, 3, layer),
                    static_cast<double>(scale2), 0.0, result);
}

void OpenCvAreaChain(int size, int components, const uint8_t* pixels, uint8_t* out)
{
    cv::Mat source = Wrap(size, components, pixels);
    uint8_t* next = out;
    while (size > 1)
    {
        size /= 2;
        cv::Mat level = Wrap(size, components, next);
        cv::resize(source, level, cv::Size(size, size), 0.0, 0.0, cv::INTER_AREA);
        source = level;
        next +=
            static_cast<size_t>(size) * static_cast<size_t>(size) * static_cast<size_t>(components);
    }
}
#endif

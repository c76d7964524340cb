// SPDX-License-Identifier: MIT

// Pictures of a piece, drawn without a display and handed over while the next ones are drawn.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "tools/render_plan.h"

/// Takes a picture, on a thread of its own, in the order of the list.
/// @param index   of the plan's pictures
/// @param rgb     [height][width][3], lent for the call
/// @return false to end it all, after an error line
using PictureTaker = std::function<bool(uint32_t index, const uint8_t* rgb)>;

enum class DrawResult : uint8_t
{
    kDone,
    kStopped, // somebody asked for the end
    kFailed,  // after an error line
};

/// Draws pictures of a plan. A picture at tick t is that of a run which draws every tick from 0 on,
/// so it depends on nothing but t.
/// @param indices   pictures of the plan, best in rising order
/// @param asksEnd   looked at between pictures: true ends it after those that are on their way
DrawResult DrawPictures(const RenderPlan& plan, const RenderSource& source,
                        const std::vector<uint32_t>& indices, const PictureTaker& taker,
                        const std::function<bool()>& asksEnd);

/// Makes one pixel of each square of pixels: the mean, rounded to the nearest.
/// @param factor   the side of the square
/// @param rgb      [height * factor][width * factor][3]
/// @param small    receives [height][width][3]
void ShrinkRgb(int32_t width, int32_t height, int32_t factor, const uint8_t* rgb, uint8_t* small);

// SPDX-License-Identifier: MIT

// The launcher's pictures: BMP files that the build puts into the program, from launcher_images/.
#pragma once

#include <cstdint>

struct ImageFile
{
    const uint8_t* bytes; // a whole file
    int32_t size;
};

extern const ImageFile kLauncherBackground;
extern const ImageFile kResolutionSelector;
extern const ImageFile kAspectSelector;
extern const ImageFile kCheckMark;
extern const ImageFile kStartPressed;

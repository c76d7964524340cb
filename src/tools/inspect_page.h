// SPDX-License-Identifier: MIT

// The page of `dpk inspect` without its data.
#pragma once

#include <cstddef>
#include <cstdint>

struct PageTemplate
{
    const uint8_t* bytes; // HTML
    size_t size;          // bytes
};

/// Has the mark "/*DATA*/" where the data goes, as a JSON object.
extern const PageTemplate InspectPage;

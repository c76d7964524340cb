// SPDX-License-Identifier: MIT
#include "music/module_gate.h"

#include <cstring>

#include "engine/data/byte_order.h"

static constexpr char kSignature[] = "Extended Module:";
static constexpr size_t kSmallestModule = 512; // bytes
static constexpr size_t kHeaderAt = 60;        // its size u32, then orders, restart, channels u16
static constexpr uint32_t kMostOrders = 256;
static constexpr uint32_t kMostChannels = 64;

bool IsExtendedModule(const uint8_t* file, size_t size)
{
    if (size < kSmallestModule || memcmp(file, kSignature, sizeof(kSignature) - 1) != 0)
    {
        return false;
    }
    const uint32_t headerSize = LoadLittleEndian32(file + kHeaderAt);
    const uint32_t orders = LoadLittleEndian32(file + kHeaderAt + 4) & 0xFFFF;
    const uint32_t channels = LoadLittleEndian32(file + kHeaderAt + 8) & 0xFFFF;
    return headerSize > 0 && headerSize <= size - kHeaderAt && orders > 0 &&
           orders <= kMostOrders && channels > 0 && channels <= kMostChannels;
}

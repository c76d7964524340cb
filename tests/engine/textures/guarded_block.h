// A block of bytes between two fences, for tests of loops that must not write past their output.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class GuardedBlock
{
  public:
    explicit GuardedBlock(size_t size, uint8_t content = 0)
        : bytes(size + 2 * kFence, kGuard), contentSize(size)
    {
        for (size_t i = 0; i < size; ++i)
        {
            data()[i] = content;
        }
    }

    uint8_t* data()
    {
        return bytes.data() + kFence;
    }

    size_t size() const
    {
        return contentSize;
    }

    std::vector<uint8_t> content() const
    {
        const auto first = bytes.begin() + kFence;
        return {first, first + static_cast<ptrdiff_t>(contentSize)};
    }

    /// True while no byte of the fences has changed.
    bool intact() const
    {
        for (size_t i = 0; i < kFence; ++i)
        {
            if (bytes[i] != kGuard || bytes[kFence + contentSize + i] != kGuard)
            {
                return false;
            }
        }
        return true;
    }

  private:
    static constexpr size_t kFence = 256;
    static constexpr uint8_t kGuard = 0xA5;
    std::vector<uint8_t> bytes;
    size_t contentSize;
};

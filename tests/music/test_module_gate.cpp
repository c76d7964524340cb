// SPDX-License-Identifier: MIT
#include "music/module_gate.h"

#include <gtest/gtest.h>
#include <string>

#include "support/tone_module.h"

static bool IsModule(const std::string& file)
{
    return IsExtendedModule(reinterpret_cast<const uint8_t*>(file.data()), file.size());
}

/// @return the tone's module with a 16-bit number of its header changed
static std::string ModuleWith(size_t at, uint32_t value)
{
    std::string module = MakeToneModule(8);
    module[at] = static_cast<char>(value & 0xFF);
    module[at + 1] = static_cast<char>(value >> 8 & 0xFF);
    return module;
}

TEST(ModuleGate, AnExtendedModuleIsOne)
{
    EXPECT_TRUE(IsModule(MakeToneModule(8)));
}

TEST(ModuleGate, EveryByteOfTheSignatureCounts)
{
    for (size_t i = 0; i < 16; ++i)
    {
        std::string module = MakeToneModule(8);
        module[i] = static_cast<char>(module[i] ^ 0x20);
        EXPECT_FALSE(IsModule(module)) << i;
    }
}

TEST(ModuleGate, OtherFormatsAreNone)
{
    EXPECT_FALSE(IsModule(""));
    EXPECT_FALSE(IsModule("Extended Module:"));
    EXPECT_FALSE(IsModule("MThd" + std::string(600, '\0')));
    EXPECT_FALSE(IsModule("GF1PATCH110" + std::string(600, '\0')));
    EXPECT_FALSE(IsModule("X:1\nT:tune\nK:C\n" + std::string(600, 'c')));
}

TEST(ModuleGate, AModuleHas512Bytes)
{
    std::string module = MakeToneModule(8);
    EXPECT_TRUE(IsModule(module.substr(0, 512)));
    EXPECT_FALSE(IsModule(module.substr(0, 511)));
}

TEST(ModuleGate, TheHeaderLiesInTheFile)
{
    const std::string module = MakeToneModule(8);
    const uint32_t room = static_cast<uint32_t>(module.size()) - 60;
    EXPECT_TRUE(IsModule(ModuleWith(60, room)));
    EXPECT_FALSE(IsModule(ModuleWith(60, room + 1)));
    EXPECT_FALSE(IsModule(ModuleWith(60, 0)));
    EXPECT_FALSE(IsModule(ModuleWith(62, 1))); // its upper half
}

TEST(ModuleGate, OrdersAndChannelsLieInTheirRange)
{
    EXPECT_TRUE(IsModule(ModuleWith(64, 256)));
    EXPECT_FALSE(IsModule(ModuleWith(64, 257)));
    EXPECT_FALSE(IsModule(ModuleWith(64, 0)));
    EXPECT_TRUE(IsModule(ModuleWith(68, 64)));
    EXPECT_FALSE(IsModule(ModuleWith(68, 65)));
    EXPECT_FALSE(IsModule(ModuleWith(68, 0)));
}

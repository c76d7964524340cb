// SPDX-License-Identifier: MIT
#include "engine/piece/piece_sections.h"

#include <gtest/gtest.h>

TEST(PieceSections, EverySectionHasAReader)
{
    for (const SectionReader& reader : PieceSections)
    {
        EXPECT_NE(reader.readItem, nullptr);
        EXPECT_EQ(reader.table == nullptr, reader.recordSize == 0);
    }
}

TEST(PieceSections, TablesStandWhereDocumentsHaveThem)
{
    static constexpr ObjectTable* DemoDocument::*kTables[kSectionCount] = {
        nullptr,
        &DemoDocument::textures,
        &DemoDocument::models,
        &DemoDocument::envelopes,
        &DemoDocument::lights,
        &DemoDocument::effects,
        &DemoDocument::bitmaps,
        &DemoDocument::materials,
        &DemoDocument::genMeshes,
        &DemoDocument::scenes,
        nullptr,
    };
    for (int32_t section = 0; section < kSectionCount; ++section)
    {
        EXPECT_EQ(PieceSections[section].table, kTables[section]) << section;
    }
}

TEST(PieceSections, OnlyTheTimelineLeavesItemsOut)
{
    for (int32_t section = 0; section < kSectionCount; ++section)
    {
        EXPECT_EQ(PieceSections[section].itemLimit, section == 10 ? 32u : 0u) << section;
    }
}

// SPDX-License-Identifier: MIT
#include "engine/data/item_files.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <tinyxml.h>
#include <vector>

#include "support/failing_memory.h"

struct FreeBlock
{
    void operator()(void* block) const
    {
        free(block);
    }
};

using ItemFiles = std::unique_ptr<ItemFile, FreeBlock>;

/// The plain form: each item is compared with each.
static ItemFile PlainItemFile(const std::vector<const char*>& names, size_t index)
{
    ItemFile file = {};
    for (size_t i = 0; i < names.size() && names[index] != nullptr; ++i)
    {
        const bool isSame = names[i] != nullptr && strcmp(names[i], names[index]) == 0;
        file.isRepeated = file.isRepeated || (isSame && i < index);
        file.usesLeft += isSame && i >= index ? 1 : 0;
    }
    return file;
}

TEST(ItemFiles, TwoSectionsHoldFiles)
{
    for (int32_t section = 0; section < kSectionCount; ++section)
    {
        EXPECT_EQ(HasFiles(static_cast<Section>(section)), section == 2 || section == 6) << section;
    }
}

TEST(ItemFiles, ASectionWithoutItemsHasAList)
{
    const TiXmlElement section("models");
    const ItemFiles files(ListItemFiles(&section, 0));
    EXPECT_NE(files, nullptr);
}

TEST(ItemFiles, RandomSectionsAreAsThePlainFormTells)
{
    std::mt19937 random(7); // NOLINT: the same sections in every run
    for (int round = 0; round < 200; ++round)
    {
        TiXmlElement section("bitmaps");
        std::vector<const char*> names;
        const uint32_t size = 1 + random() % 40;
        for (uint32_t i = 0; i < size; ++i)
        {
            const uint32_t kind = random() % 12;
            if (kind == 0)
            {
                section.LinkEndChild(new TiXmlComment("no element"));
                names.push_back(nullptr);
                continue;
            }
            TiXmlElement* item = new TiXmlElement("bitmap");
            section.LinkEndChild(item);
            if (kind > 1)
            {
                item->SetAttribute("filename", std::string(kind % 3, 'a') + "b" +
                                                   std::to_string(random() % size));
            }
            names.push_back(item->Attribute("filename"));
        }

        const uint32_t count = size - (random() % 3 == 0 ? 1 : 0);
        names.resize(count);
        const ItemFiles files(ListItemFiles(&section, count));
        ASSERT_NE(files, nullptr);
        for (uint32_t i = 0; i < count; ++i)
        {
            const ItemFile plain = PlainItemFile(names, i);
            EXPECT_EQ(files.get()[i].isRepeated, plain.isRepeated) << round << ", item " << i;
            EXPECT_EQ(files.get()[i].usesLeft, plain.usesLeft) << round << ", item " << i;
        }
    }
}

TEST(ItemFiles, WithoutMemoryThereIsNoList)
{
    TiXmlElement section("models");
    section.LinkEndChild(new TiXmlElement("model"));
    RunOutOfMemory(
        [&section]
        {
            ItemFile* files = ListItemFiles(&section, 1);
            const bool isRight = files == nullptr || files[0].usesLeft == 0;
            free(files);
            return isRight;
        });
}

// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <zlib.h>

#include "engine/check/origins.h"
#include "support/temporary_folder.h"

static const std::string kText = "<demo/>";

/// A table that belongs to kText.
static std::string Table(const std::string& lines)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(kText.data());
    return "text\t7\t" + std::to_string(crc32_z(0, bytes, kText.size())) + "\n" + lines;
}

TEST(Origins, AreReadFromBesideTheDocument)
{
    TemporaryFolder folder;
    folder.Write("a/.demo.origins",
                 Table("7\t3\t0\tpiece.py:41\n9\t1\t2\tlib/shapes.py:12\t/a: b.py:57\n"));
    const std::string place = folder.path + "/a/";
    const OriginList origins = ReadOrigins(place + "demo.xml", kText);
    ASSERT_EQ(origins.size(), 2U);
    EXPECT_EQ(origins[0].section, 7);
    EXPECT_EQ(origins[0].item, 3U);
    ASSERT_EQ(origins[0].lines.size(), 1U);
    EXPECT_EQ(origins[0].lines[0].file, place + "piece.py");
    EXPECT_EQ(origins[0].lines[0].line, 41U);
    EXPECT_EQ(origins[1].part, 2U);
    ASSERT_EQ(origins[1].lines.size(), 2U);
    EXPECT_EQ(origins[1].lines[0].file, place + "lib/shapes.py");
    EXPECT_EQ(origins[1].lines[1].file, "/a: b.py");
    EXPECT_EQ(origins[1].lines[1].line, 57U);
}

TEST(Origins, APartWithoutOneHasThatOfItsItem)
{
    TemporaryFolder folder;
    folder.Write(".demo.origins", Table("9\t1\t0\ta:1\n9\t1\t2\ta:2\n10\t4\t1\ta:3\n"));
    const OriginList origins = ReadOrigins(folder.path + "/demo.xml", kText);
    EXPECT_EQ(FindOrigin(origins, 9, 1, 2)->lines[0].line, 2U);
    EXPECT_EQ(FindOrigin(origins, 9, 1, 7)->lines[0].line, 1U);
    EXPECT_EQ(FindOrigin(origins, 9, 2, 0), nullptr);
    EXPECT_EQ(FindOrigin(origins, 10, 4, 2), nullptr);
}

TEST(Origins, LinesThatAreNoEntryAreLeftOut)
{
    TemporaryFolder folder;
    folder.Write(".demo.origins", Table("\n7\n7\t1\t0\n-7\t1\t0\ta:1\nx\t1\t0\ta:1\n"
                                        "7\t99999999999\t0\ta:1\n7\t1\t0\ta\n7\t1\t0\t:1\n"
                                        "7\t1\t0\ta:-1\n7\t1\t0\ta:1"));
    EXPECT_EQ(ReadOrigins(folder.path + "/demo.xml", kText).size(), 1U);
    EXPECT_TRUE(ReadOrigins(folder.path + "/loading.xml", kText).empty());
}

TEST(Origins, OfAnotherTextAreNotRead)
{
    TemporaryFolder folder;
    folder.Write(".demo.origins", Table("7\t1\t0\ta:1\n"));
    EXPECT_EQ(ReadOrigins(folder.path + "/demo.xml", kText).size(), 1U);
    EXPECT_TRUE(ReadOrigins(folder.path + "/demo.xml", "<Demo/>").empty());
    EXPECT_TRUE(ReadOrigins(folder.path + "/demo.xml", kText + " ").empty());
    folder.Write(".demo.origins", "7\t1\t0\ta:1\n7\t2\t0\ta:1\n");
    EXPECT_TRUE(ReadOrigins(folder.path + "/demo.xml", kText).empty());
}

TEST(Origins, APipeInTheirPlaceIsNotOpened)
{
    TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder.path + "/.demo.origins").c_str(), 0600), 0);
    EXPECT_TRUE(ReadOrigins(folder.path + "/demo.xml", kText).empty());
}

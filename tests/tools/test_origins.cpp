#include "tools/origins.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"
#include "tools/dpk_run.h"

TEST(Origins, AreReadFromBesideTheDocument)
{
    TemporaryFolder folder;
    folder.Write("a/.demo.origins", "7\t3\t0\tpiece.py:41\n9\t1\t2\tshapes.py:12\tpiece.py:57\n");
    const std::vector<Origin> origins = ReadOrigins(folder.path + "/a/demo.xml");
    ASSERT_EQ(origins.size(), 2U);
    EXPECT_EQ(origins[0].section, 7);
    EXPECT_EQ(origins[0].item, 3U);
    EXPECT_EQ(origins[0].lines, std::vector<std::string>{"piece.py:41"});
    EXPECT_EQ(origins[1].part, 2U);
    EXPECT_EQ(origins[1].lines, (std::vector<std::string>{"shapes.py:12", "piece.py:57"}));
}

TEST(Origins, APartWithoutOneHasThatOfItsItem)
{
    TemporaryFolder folder;
    folder.Write(".demo.origins", "9\t1\t0\ta:1\n9\t1\t2\ta:2\n10\t4\t1\ta:3\n");
    const std::vector<Origin> origins = ReadOrigins(folder.path + "/demo.xml");
    EXPECT_EQ(FindOrigin(origins, 9, 1, 2)->lines[0], "a:2");
    EXPECT_EQ(FindOrigin(origins, 9, 1, 7)->lines[0], "a:1");
    EXPECT_EQ(FindOrigin(origins, 9, 2, 0), nullptr);
    EXPECT_EQ(FindOrigin(origins, 10, 4, 2), nullptr);
}

TEST(Origins, WhatIsNoLineOfTheTableIsLeftOut)
{
    TemporaryFolder folder;
    folder.Write(".demo.origins", "\n7\n7\t1\t0\n-7\t1\t0\ta:1\nx\t1\t0\ta:1\n"
                                  "7\t99999999999\t0\ta:1\n7\t1\t0\ta:1");
    EXPECT_EQ(ReadOrigins(folder.path + "/demo.xml").size(), 1U);
    EXPECT_TRUE(ReadOrigins(folder.path + "/loading.xml").empty());
}

TEST(Origins, ABuildOfAScriptLeavesThem)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "mine"});
    EXPECT_EQ(RunDpk(folder, {"build", "mine"}).exitCode, 0);
    const std::vector<Origin> origins = ReadOrigins(folder.path + "/mine/demo.xml");
    const Origin* material = FindOrigin(origins, 7, 1, 0);
    ASSERT_NE(material, nullptr);
    EXPECT_EQ(material->lines[0].substr(0, 9), "piece.py:");
}

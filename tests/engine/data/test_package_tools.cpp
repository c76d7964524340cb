#include "engine/data/package_tools.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/data/package_file.h"
#include "support/package_builder.h"
#include "support/temporary_folder.h"

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

/// Bytes with zeros in them: the literal without its own terminator.
template <size_t size>
static std::string Raw(const char (&literal)[size])
{
    return std::string(literal, size - 1);
}

static std::string Zeros(size_t count)
{
    return std::string(count, '\0');
}

/// A list of entries of which those with null as sourceDir come out of a package.
struct ListItem
{
    const char* name;
    const char* sourceDir;
};

static PendingEntry* MakeList(const std::vector<ListItem>& items)
{
    PendingEntry* list = NewPendingList();
    for (const ListItem& item : items)
    {
        AppendPendingEntry(list, strdup(item.name),
                           item.sourceDir == nullptr ? nullptr : strdup(item.sourceDir));
    }
    return list;
}

static std::string Names(const PendingEntry* list)
{
    std::string names;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        names += std::string(entry->name) + ";";
    }
    return names;
}

/// A package in a folder of its own, open for reading.
struct OpenedPackage
{
    explicit OpenedPackage(const std::string& bytes)
    {
        folder.Write("p.dpk", bytes);
        path = folder.path + "/p.dpk";
        prefix = folder.path + "/";
        stream = fopen(path.c_str(), "rb");
    }
    ~OpenedPackage()
    {
        fclose(stream);
    }
    OpenedPackage(const OpenedPackage&) = delete;
    OpenedPackage& operator=(const OpenedPackage&) = delete;

    TemporaryFolder folder;
    std::string path;
    std::string prefix;
    FILE* stream;
};

static unsigned Permissions(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

static bool Exists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

// ---- The list

TEST(PendingList, ANewOneIsOneZeroedSentinel)
{
    PendingEntry* list = NewPendingList();
    EXPECT_EQ(list->name, nullptr);
    EXPECT_EQ(list->sourceDir, nullptr);
    EXPECT_EQ(list->next, nullptr);
    FreePendingList(list);
}

TEST(PendingList, AppendingFillsTheSentinelAndHangsAFreshOneBehindIt)
{
    PendingEntry* list = NewPendingList();
    char* name = strdup("a");
    char* sourceDir = strdup("dir/");

    PendingEntry* sentinel = AppendPendingEntry(list, name, sourceDir);
    EXPECT_EQ(list->name, name); // the very blocks, not copies
    EXPECT_EQ(list->sourceDir, sourceDir);
    EXPECT_EQ(list->next, sentinel);
    EXPECT_EQ(sentinel->name, nullptr);
    EXPECT_EQ(sentinel->sourceDir, nullptr);
    EXPECT_EQ(sentinel->next, nullptr);

    // From the head and from the sentinel alike.
    sentinel = AppendPendingEntry(list, strdup("b"), nullptr);
    AppendPendingEntry(sentinel, strdup("c"), nullptr);
    EXPECT_EQ(Names(list), "a;b;c;");
    FreePendingList(list);
}

TEST(PendingList, ClearingAnEmptyOneChangesNothing)
{
    PendingEntry* list = NewPendingList();
    ClearPendingList(list);
    EXPECT_EQ(list->name, nullptr);
    EXPECT_EQ(list->sourceDir, nullptr);
    EXPECT_EQ(list->next, nullptr);
    FreePendingList(list);
}

TEST(PendingList, ClearingLeavesTheHeadAsTheSentinel)
{
    PendingEntry* list = MakeList({{"a", "x/"}, {"b", nullptr}, {"c", "y/"}});
    ClearPendingList(list);
    EXPECT_EQ(list->name, nullptr);
    EXPECT_EQ(list->sourceDir, nullptr);
    EXPECT_EQ(list->next, nullptr);

    AppendPendingEntry(list, strdup("d"), nullptr);
    EXPECT_EQ(Names(list), "d;");
    FreePendingList(list);
}

TEST(PendingList, FreeingNothingIsAllowed)
{
    CaptureStdout();
    FreePendingList(nullptr);
    EXPECT_EQ(GetCapturedStdout(), "");
}

TEST(PendingList, RemovingTheFirstReturnsTheSecond)
{
    PendingEntry* list = MakeList({{"a", "x/"}, {"b", nullptr}, {"c", nullptr}});
    PendingEntry* second = list->next;
    list = RemovePendingEntry(list, 0);
    EXPECT_EQ(list, second);
    EXPECT_EQ(Names(list), "b;c;");
    FreePendingList(list);
}

TEST(PendingList, RemovingAnotherKeepsTheHead)
{
    PendingEntry* list = MakeList({{"a", nullptr}, {"b", "x/"}, {"c", nullptr}, {"d", nullptr}});
    EXPECT_EQ(RemovePendingEntry(list, 1), list);
    EXPECT_EQ(Names(list), "a;c;d;");
    EXPECT_EQ(RemovePendingEntry(list, 2), list);
    EXPECT_EQ(Names(list), "a;c;");
    FreePendingList(list);
}

TEST(PendingList, RemovingTheOnlyEntryLeavesTheSentinel)
{
    PendingEntry* list = RemovePendingEntry(MakeList({{"a", nullptr}}), 0);
    EXPECT_EQ(list->name, nullptr);
    EXPECT_EQ(list->next, nullptr);
    FreePendingList(list);
}

TEST(PendingList, RemovingPastTheLastPrintsAndReturnsTheSameHead)
{
    PendingEntry* list = MakeList({{"a", nullptr}, {"b", nullptr}});
    for (uint32_t index : {2u, 3u, 0xFFFFFFFFu})
    {
        CaptureStdout();
        EXPECT_EQ(RemovePendingEntry(list, index), list);
        EXPECT_EQ(GetCapturedStdout(), "Error: index not found!\n");
        EXPECT_EQ(Names(list), "a;b;");
    }
    FreePendingList(list);
}

TEST(PendingList, RemovingFromAnEmptyOnePrintsAndReturnsTheSameHead)
{
    PendingEntry* list = NewPendingList();
    CaptureStdout();
    EXPECT_EQ(RemovePendingEntry(list, 0), list);
    EXPECT_EQ(GetCapturedStdout(), "Error: index not found!\n");
    FreePendingList(list);
}

// ---- Reading a directory

TEST(PackageDirectory, GivesEveryNameInOrderWithoutASource)
{
    OpenedPackage package(MakePackage({{"b", "1"}, {"a", ""}, {"b", "22"}}));
    PendingEntry* list = ReadPackageDirectory(package.stream);
    EXPECT_EQ(Names(list), "b;a;b;");
    EXPECT_EQ(list->sourceDir, nullptr);
    EXPECT_EQ(list->next->sourceDir, nullptr);
    FreePendingList(list);
}

TEST(PackageDirectory, OfAnEmptyPackageIsAnEmptyList)
{
    OpenedPackage package(MakePackage({}));
    PendingEntry* list = ReadPackageDirectory(package.stream);
    EXPECT_EQ(list->name, nullptr);
    FreePendingList(list);
}

TEST(PackageDirectory, ANameOf32BytesGetsAZeroBehindIt)
{
    const std::string name = "0123456789abcdef0123456789abcdef";
    OpenedPackage package(MakePackage({{name, "x"}}));
    PendingEntry* list = ReadPackageDirectory(package.stream);
    EXPECT_EQ(memcmp(list->name, (name + Zeros(1)).data(), 33), 0);
    FreePendingList(list);
}

TEST(PackageDirectory, KeepsAllBytesOfTheField)
{
    // Readers stop at the zero, but the copy is of the field.
    OpenedPackage package(Raw("DP\1a\0b") + Zeros(29) + Zeros(8) + Zeros(32));
    PendingEntry* list = ReadPackageDirectory(package.stream);
    EXPECT_EQ(memcmp(list->name, (Raw("a\0b") + Zeros(30)).data(), 33), 0);
    FreePendingList(list);
}

TEST(PackageDirectory, EndsWhereTheFileEnds)
{
    std::string whole = MakePackage({{"a", "1"}, {"b", "2"}});
    struct
    {
        size_t size;
        const char* names;
    } cases[] = {
        {0, ""},      {3, ""},
        {34, ""},     {35, "a;"}, // the name is whole, its numbers are missing
        {74, "a;"},   {75, "a;b;"},
        {83, "a;b;"}, {114, "a;b;"},
    };
    for (const auto& c : cases)
    {
        OpenedPackage package(whole.substr(0, c.size));
        PendingEntry* list = ReadPackageDirectory(package.stream);
        EXPECT_EQ(Names(list), c.names) << c.size << " bytes";
        FreePendingList(list);
    }
}

// ---- Writing

TEST(WritePackageCopy, AnEmptyListGives35Bytes)
{
    TemporaryFolder folder;
    PendingEntry* list = NewPendingList();
    WritePackageCopy(list, (folder.path + "/out").c_str(), nullptr);
    EXPECT_EQ(folder.Read("out"), Raw("DP\1") + Zeros(32));
    FreePendingList(list);
}

TEST(RewritePackage, AnEmptyListGives35Bytes)
{
    TemporaryFolder folder;
    PendingEntry* list = NewPendingList();
    CaptureStdout();
    RewritePackage(list, (folder.path + "/out").c_str(), nullptr);
    EXPECT_EQ(GetCapturedStdout(), "count = 0\n");
    EXPECT_EQ(folder.Read("out"), Raw("DP\1") + Zeros(32));
    FreePendingList(list);
}

/// "one" with 3 bytes, "empty" with none and "two" with 2, byte by byte.
static std::string ThreeEntries()
{
    return Raw("DP\1") +                                                      //
           Raw("one") + Zeros(29) + Raw("\0\0\0\x9B") + Raw("\0\0\0\x9D") +   // 155 to 157
           Raw("empty") + Zeros(27) + Raw("\0\0\0\x9E") + Raw("\0\0\0\x9D") + // 158, ends before
           Raw("two") + Zeros(29) + Raw("\0\0\0\x9E") + Raw("\0\0\0\x9F") +   // 158 to 159
           Zeros(32) + Raw("abc") + Raw("\0z");
}

TEST(WritePackageCopy, WritesFilesOfTheDiskByteForByteAndPrintsNothing)
{
    TemporaryFolder folder;
    folder.Write("in/one", "abc");
    folder.Write("in/empty", "");
    folder.Write("in/two", Raw("\0z"));
    std::string sourceDir = folder.path + "/in/";
    PendingEntry* list = MakeList(
        {{"one", sourceDir.c_str()}, {"empty", sourceDir.c_str()}, {"two", sourceDir.c_str()}});

    CaptureStdout();
    WritePackageCopy(list, (folder.path + "/out").c_str(), nullptr);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(folder.Read("out"), ThreeEntries());
    FreePendingList(list);
}

TEST(RewritePackage, WritesFilesOfTheDiskByteForByteAndTellsTheirSizes)
{
    TemporaryFolder folder;
    folder.Write("in-one", "abc"); // the prefix need not be a folder
    folder.Write("in-empty", "");
    folder.Write("in-two", Raw("\0z"));
    std::string sourceDir = folder.path + "/in-";
    PendingEntry* list = MakeList(
        {{"one", sourceDir.c_str()}, {"empty", sourceDir.c_str()}, {"two", sourceDir.c_str()}});

    CaptureStdout();
    RewritePackage(list, (folder.path + "/out").c_str(), nullptr);
    EXPECT_EQ(GetCapturedStdout(), "count = 0\n"
                                   "size of the file: 3\n"
                                   "size of the file: 0\n"
                                   "size of the file: 2\n");
    EXPECT_EQ(folder.Read("out"), ThreeEntries());
    FreePendingList(list);
}

TEST(RewritePackage, OverThePackageThatItReadsKeepsAllData)
{
    OpenedPackage package(MakePackage({{"a", "first"}, {"b", ""}, {"c", "third"}}));
    package.folder.Write("new", "fresh");
    PendingEntry* list = ReadPackageDirectory(package.stream);
    AppendPendingEntry(list, strdup("new"), strdup(package.prefix.c_str()));

    CaptureStdout();
    RewritePackage(list, package.path.c_str(), package.stream);
    EXPECT_EQ(GetCapturedStdout(), "count = 3\n"
                                   "NAME: a\n"
                                   "NAME: b\n"
                                   "NAME: c\n"
                                   "size=5\n"
                                   "size=0\n"
                                   "size=5\n"
                                   "size of the file: 5\n");
    EXPECT_EQ(package.folder.Read("p.dpk"),
              MakePackage({{"a", "first"}, {"b", ""}, {"c", "third"}, {"new", "fresh"}}));
    FreePendingList(list);
}

TEST(RewritePackage, DeletesAnEntryOverTheSamePath)
{
    OpenedPackage package(MakePackage({{"a", "first"}, {"b", "second"}, {"c", "third"}}));
    PendingEntry* list = RemovePendingEntry(ReadPackageDirectory(package.stream), 1);

    CaptureStdout();
    RewritePackage(list, package.path.c_str(), package.stream);
    EXPECT_EQ(GetCapturedStdout(), "count = 2\nNAME: a\nNAME: c\nsize=5\nsize=5\n");
    EXPECT_EQ(package.folder.Read("p.dpk"), MakePackage({{"a", "first"}, {"c", "third"}}));
    FreePendingList(list);
}

TEST(RewritePackage, MixesKeptEntriesAndFilesInListOrder)
{
    OpenedPackage package(MakePackage({{"a", "first"}, {"b", "second"}}));
    package.folder.Write("n", "new");
    PendingEntry* list = MakeList({{"b", nullptr}, {"n", package.prefix.c_str()}, {"a", nullptr}});

    CaptureStdout();
    RewritePackage(list, package.path.c_str(), package.stream);
    EXPECT_EQ(GetCapturedStdout(), "count = 2\nNAME: b\nNAME: a\n"
                                   "size=6\nsize of the file: 3\nsize=5\n");
    EXPECT_EQ(package.folder.Read("p.dpk"),
              MakePackage({{"b", "second"}, {"n", "new"}, {"a", "first"}}));
    FreePendingList(list);
}

TEST(WritePackageCopy, TakesKeptEntriesFromTheSourceAndLeavesItAlone)
{
    std::string source = MakePackage({{"a", "first"}, {"b", "second"}});
    OpenedPackage package(source);
    package.folder.Write("n", "new");
    PendingEntry* list = MakeList({{"b", nullptr}, {"n", package.prefix.c_str()}, {"a", nullptr}});

    CaptureStdout();
    WritePackageCopy(list, (package.prefix + "out").c_str(), package.stream);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(package.folder.Read("out"),
              MakePackage({{"b", "second"}, {"n", "new"}, {"a", "first"}}));
    EXPECT_EQ(package.folder.Read("p.dpk"), source);
    FreePendingList(list);
}

TEST(WritePackageCopy, KeepsANameOf32Bytes)
{
    std::string source = MakePackage({{"0123456789abcdef0123456789abcdef", "x"}, {"b", "y"}});
    OpenedPackage package(source);
    PendingEntry* list = ReadPackageDirectory(package.stream);
    WritePackageCopy(list, (package.prefix + "out").c_str(), package.stream);
    EXPECT_EQ(package.folder.Read("out"), source);
    FreePendingList(list);
}

TEST(WritePackageCopy, OfTwoEntriesWithOneNameTakesTheFirstTwice)
{
    OpenedPackage package(MakePackage({{"a", "first"}, {"a", "second"}}));
    PendingEntry* list = ReadPackageDirectory(package.stream);
    WritePackageCopy(list, (package.prefix + "out").c_str(), package.stream);
    EXPECT_EQ(package.folder.Read("out"), MakePackage({{"a", "first"}, {"a", "first"}}));
    FreePendingList(list);
}

TEST(PackageWriters, CreateWithPermissions0600)
{
    TemporaryFolder folder;
    PendingEntry* list = NewPendingList();
    mode_t mask = umask(0);
    CaptureStdout();
    RewritePackage(list, (folder.path + "/rewritten").c_str(), nullptr);
    WritePackageCopy(list, (folder.path + "/copied").c_str(), nullptr);
    GetCapturedStdout();
    umask(mask);
    EXPECT_EQ(Permissions(folder.path + "/rewritten"), 0600u);
    EXPECT_EQ(Permissions(folder.path + "/copied"), 0600u);
    FreePendingList(list);
}

TEST(PackageWriters, TruncateAFileThatIsThere)
{
    TemporaryFolder folder;
    folder.Write("out", std::string(1000, 'x'));
    PendingEntry* list = NewPendingList();
    WritePackageCopy(list, (folder.path + "/out").c_str(), nullptr);
    EXPECT_EQ(folder.Read("out"), MakePackage({}));
    FreePendingList(list);
}

// ---- What can't be had

TEST(PackageWriters, AMissingFileCountsAsEmpty)
{
    TemporaryFolder folder;
    folder.Write("b", "data");
    std::string sourceDir = folder.path + "/";
    PendingEntry* list = MakeList({{"a", sourceDir.c_str()}, {"b", sourceDir.c_str()}});

    WritePackageCopy(list, (folder.path + "/copied").c_str(), nullptr);
    EXPECT_EQ(folder.Read("copied"), MakePackage({{"a", ""}, {"b", "data"}}));

    CaptureStdout();
    RewritePackage(list, (folder.path + "/rewritten").c_str(), nullptr);
    EXPECT_EQ(GetCapturedStdout(), "count = 0\nsize of the file: 0\nsize of the file: 4\n");
    EXPECT_EQ(folder.Read("rewritten"), MakePackage({{"a", ""}, {"b", "data"}}));
    FreePendingList(list);
}

TEST(PackageWriters, AFolderInAFilesPlaceCountsAsEmpty)
{
    TemporaryFolder folder;
    folder.Write("a/inside", "data");
    PendingEntry* list = MakeList({{"a", (folder.path + "/").c_str()}});
    WritePackageCopy(list, (folder.path + "/out").c_str(), nullptr);
    EXPECT_EQ(folder.Read("out"), MakePackage({{"a", ""}}));
    FreePendingList(list);
}

TEST(PackageWriters, AnEntryThatTheSourceLacksCountsAsEmpty)
{
    OpenedPackage package(MakePackage({{"b", "data"}}));
    PendingEntry* list = MakeList({{"a", nullptr}, {"b", nullptr}});

    CaptureStdout();
    WritePackageCopy(list, (package.prefix + "out").c_str(), package.stream);
    EXPECT_EQ(GetCapturedStdout(), "End of object table reached!\n");
    EXPECT_EQ(package.folder.Read("out"), MakePackage({{"a", ""}, {"b", "data"}}));

    CaptureStdout();
    RewritePackage(list, package.path.c_str(), package.stream);
    EXPECT_EQ(GetCapturedStdout(), "count = 2\n"
                                   "NAME: a\nEnd of object table reached!\nNAME: b\n"
                                   "size=0\nsize=4\n");
    EXPECT_EQ(package.folder.Read("p.dpk"), MakePackage({{"a", ""}, {"b", "data"}}));
    FreePendingList(list);
}

TEST(PackageWriters, WithoutASourceKeptEntriesAreEmpty)
{
    TemporaryFolder folder;
    PendingEntry* list = MakeList({{"a", nullptr}});
    WritePackageCopy(list, (folder.path + "/copied").c_str(), nullptr);
    EXPECT_EQ(folder.Read("copied"), MakePackage({{"a", ""}}));
    CaptureStdout();
    RewritePackage(list, (folder.path + "/rewritten").c_str(), nullptr);
    EXPECT_EQ(GetCapturedStdout(), "count = 1\nNAME: a\nsize=0\n");
    EXPECT_EQ(folder.Read("rewritten"), MakePackage({{"a", ""}}));
    FreePendingList(list);
}

TEST(PackageWriters, AnOutputThatCantBeCreatedIsNotWritten)
{
    OpenedPackage package(MakePackage({{"a", "data"}}));
    package.folder.Write("n", "new");
    PendingEntry* list = MakeList({{"a", nullptr}, {"n", package.prefix.c_str()}});
    std::string path = package.prefix + "nowhere/out";
    WritePackageCopy(list, path.c_str(), package.stream);
    EXPECT_FALSE(Exists(path));
    CaptureStdout();
    RewritePackage(list, path.c_str(), package.stream);
    EXPECT_EQ(GetCapturedStdout(), "count = 1\nNAME: a\nsize=4\nsize of the file: 3\n");
    EXPECT_FALSE(Exists(path));
    FreePendingList(list);
}

TEST(PackageWriters, ANameOver32BytesGoesUnderItsOwnNumbers)
{
    // 40 characters: the last 8 lie where start and end are written afterwards.
    const char* name = "0123456789abcdef0123456789abcdefSTARTEND";
    TemporaryFolder folder;
    folder.Write(name, "x");
    folder.Write("b", "y");
    std::string sourceDir = folder.path + "/";
    PendingEntry* list = MakeList({{name, sourceDir.c_str()}, {"b", sourceDir.c_str()}});
    WritePackageCopy(list, (folder.path + "/out").c_str(), nullptr);
    EXPECT_EQ(folder.Read("out"),
              MakePackage({{"0123456789abcdef0123456789abcdef", "x"}, {"b", "y"}}));
    FreePendingList(list);
}

TEST(PackageWriters, ANameOver40BytesRunsIntoWhatFollows)
{
    const char* name = "0123456789abcdef0123456789abcdefSTARTENDover";
    TemporaryFolder folder;
    folder.Write(name, "x");
    folder.Write("b", "y");
    std::string sourceDir = folder.path + "/";
    PendingEntry* list = MakeList({{name, sourceDir.c_str()}, {"b", sourceDir.c_str()}});
    WritePackageCopy(list, (folder.path + "/out").c_str(), nullptr);
    EXPECT_EQ(folder.Read("out"),
              MakePackage({{"0123456789abcdef0123456789abcdef", "x"}, {"bver", "y"}}));
    FreePendingList(list);
}

// ---- Unpacking

TEST(ExtractPackage, WritesEachEntryToPrefixAndName)
{
    OpenedPackage package(MakePackage({{"a", Raw("fi\0st")}, {"b", ""}}));
    CaptureStdout();
    ExtractPackage(package.stream, (package.prefix + "out-").c_str());
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(package.folder.Read("out-a"), Raw("fi\0st"));
    EXPECT_EQ(package.folder.Read("out-b"), "");
}

TEST(ExtractPackage, CreatesFilesWithPermissions0600AndTruncatesOldOnes)
{
    OpenedPackage package(MakePackage({{"a", "first"}, {"b", "second"}}));
    package.folder.Write("out/b", std::string(1000, 'x'));
    mode_t mask = umask(0);
    ExtractPackage(package.stream, (package.prefix + "out/").c_str());
    umask(mask);
    EXPECT_EQ(Permissions(package.prefix + "out/a"), 0600u);
    EXPECT_EQ(package.folder.Read("out/b"), "second");
}

TEST(ExtractPackage, ReadsANameOf32Bytes)
{
    const std::string name = "0123456789abcdef0123456789abcdef";
    OpenedPackage package(MakePackage({{name, "x"}}));
    ExtractPackage(package.stream, package.prefix.c_str());
    EXPECT_EQ(package.folder.Read(name), "x");
}

TEST(ExtractPackage, OfAnEmptyPackageWritesNothing)
{
    OpenedPackage package(MakePackage({}));
    ExtractPackage(package.stream, (package.prefix + "out").c_str());
    EXPECT_FALSE(Exists(package.prefix + "out"));
}

TEST(ExtractPackage, AFileThatCantBeCreatedIsPassedOver)
{
    OpenedPackage package(MakePackage({{"in/a", "first"}, {"b", "second"}}));
    ExtractPackage(package.stream, package.prefix.c_str()); // there is no folder "in"
    EXPECT_FALSE(Exists(package.prefix + "in/a"));
    EXPECT_EQ(package.folder.Read("b"), "second");
}

TEST(ExtractPendingEntries, TakesDataFromTheDiskOrThePackage)
{
    OpenedPackage package(MakePackage({{"a", "packed a"}, {"b", "packed b"}}));
    package.folder.Write("in/a", "a of the disk");
    PendingEntry* list = MakeList({{"a", (package.prefix + "in/").c_str()}, {"b", nullptr}});
    ExtractPendingEntries(list, package.stream, (package.prefix + "out-").c_str());
    EXPECT_EQ(package.folder.Read("out-a"), "a of the disk");
    EXPECT_EQ(package.folder.Read("out-b"), "packed b");
    FreePendingList(list);
}

TEST(ExtractPendingEntries, WhatCantBeHadMakesNoFile)
{
    OpenedPackage package(MakePackage({{"c", "packed"}}));
    package.folder.Write("out-b", "old");
    PendingEntry* list = MakeList({{"a", package.prefix.c_str()}, {"b", nullptr}, {"c", nullptr}});
    CaptureStdout();
    ExtractPendingEntries(list, package.stream, (package.prefix + "out-").c_str());
    EXPECT_EQ(GetCapturedStdout(), "End of object table reached!\n");
    EXPECT_FALSE(Exists(package.prefix + "out-a"));
    EXPECT_EQ(package.folder.Read("out-b"), "old");
    EXPECT_EQ(package.folder.Read("out-c"), "packed");
    FreePendingList(list);
}

TEST(ExtractPendingEntries, AFileWrittenOntoItselfKeepsItsBytes)
{
    TemporaryFolder folder;
    folder.Write("a", "data");
    std::string prefix = folder.path + "/";
    PendingEntry* list = MakeList({{"a", prefix.c_str()}});
    ExtractPendingEntries(list, nullptr, prefix.c_str());
    EXPECT_EQ(folder.Read("a"), "data");
    FreePendingList(list);
}

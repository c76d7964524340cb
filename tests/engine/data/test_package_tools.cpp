// SPDX-License-Identifier: MIT
#include "engine/data/package_tools.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/fault_text.h"
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

/// The result of a routine, and the errors that it added.
struct Outcome
{
    bool isWhole;
    std::string faults;
};

static const std::string kNoFaults;

static Outcome End(bool isWhole, FaultList* faults)
{
    Outcome outcome = {isWhole, FaultText(*faults)};
    EXPECT_EQ(isWhole, outcome.faults.empty());
    FreeFaults(faults);
    return outcome;
}

static std::string Rewrite(const PendingEntry* list, const std::string& path, PackageFile* source)
{
    FaultList faults = {};
    return End(RewritePackage(list, path.c_str(), source, &faults), &faults).faults;
}

static std::string Copy(const PendingEntry* list, const std::string& path, PackageFile* source)
{
    FaultList faults = {};
    return End(WritePackageCopy(list, path.c_str(), source, &faults), &faults).faults;
}

static std::string ExtractList(const PendingEntry* list, PackageFile* source,
                               const std::string& prefix)
{
    FaultList faults = {};
    return End(ExtractPendingEntries(list, source, prefix.c_str(), &faults), &faults).faults;
}

static std::string Extract(PackageFile* package, const std::string& prefix)
{
    FaultList faults = {};
    return End(ExtractPackage(package, prefix.c_str(), &faults), &faults).faults;
}

static PendingEntry* ReadNames(const PackageFile* package)
{
    FaultList faults = {};
    PendingEntry* list = ReadPackageDirectory(package, &faults);
    EXPECT_NE(list, nullptr);
    EXPECT_FALSE(HasFailed(&faults));
    return list;
}

/// A package in a folder of its own, open for reading.
struct OpenedPackage
{
    explicit OpenedPackage(const std::string& bytes)
    {
        folder.Write("p.dpk", bytes);
        path = folder.path + "/p.dpk";
        prefix = folder.path + "/";
        FaultList faults = {};
        EXPECT_TRUE(OpenPackageFile(path.c_str(), &file, &faults));
    }
    ~OpenedPackage()
    {
        ClosePackage(&file);
    }
    OpenedPackage(const OpenedPackage&) = delete;
    OpenedPackage& operator=(const OpenedPackage&) = delete;

    TemporaryFolder folder;
    std::string path;
    std::string prefix;
    PackageFile file;
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

TEST(PendingList, AppendingFillsTheSentinelAndAddsAFreshOne)
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
    PendingEntry* list = ReadNames(&package.file);
    EXPECT_EQ(Names(list), "b;a;b;");
    EXPECT_EQ(list->sourceDir, nullptr);
    EXPECT_EQ(list->next->sourceDir, nullptr);
    FreePendingList(list);
}

TEST(PackageDirectory, OfAnEmptyPackageIsAnEmptyList)
{
    OpenedPackage package(MakePackage({}));
    PendingEntry* list = ReadNames(&package.file);
    EXPECT_EQ(list->name, nullptr);
    FreePendingList(list);
}

TEST(PackageDirectory, ANameOf32BytesGetsAZeroAfterIt)
{
    const std::string name = "0123456789abcdef0123456789abcdef";
    OpenedPackage package(MakePackage({{name, "x"}}));
    PendingEntry* list = ReadNames(&package.file);
    EXPECT_EQ(memcmp(list->name, (name + Zeros(1)).data(), 33), 0);
    FreePendingList(list);
}

TEST(PackageDirectory, KeepsAllBytesOfTheField)
{
    // Readers stop at the zero, but the copy is of the field.
    OpenedPackage package(Raw("DP\1a\0b") + Zeros(29) + Zeros(8) + Zeros(32));
    PendingEntry* list = ReadNames(&package.file);
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
        PendingEntry* list = ReadNames(&package.file);
        EXPECT_EQ(Names(list), c.names) << c.size << " bytes";
        FreePendingList(list);
    }
}

// ---- Writing

TEST(WritePackageCopy, AnEmptyListGives35Bytes)
{
    TemporaryFolder folder;
    PendingEntry* list = NewPendingList();
    EXPECT_EQ(Copy(list, folder.path + "/out", nullptr), kNoFaults);
    EXPECT_EQ(folder.Read("out"), Raw("DP\1") + Zeros(32));
    FreePendingList(list);
}

TEST(RewritePackage, AnEmptyListGives35Bytes)
{
    TemporaryFolder folder;
    PendingEntry* list = NewPendingList();
    CaptureStdout();
    EXPECT_EQ(Rewrite(list, folder.path + "/out", nullptr), kNoFaults);
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
    EXPECT_EQ(Copy(list, folder.path + "/out", nullptr), kNoFaults);
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
    EXPECT_EQ(Rewrite(list, folder.path + "/out", nullptr), kNoFaults);
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
    PendingEntry* list = ReadNames(&package.file);
    AppendPendingEntry(list, strdup("new"), strdup(package.prefix.c_str()));

    CaptureStdout();
    EXPECT_EQ(Rewrite(list, package.path, &package.file), kNoFaults);
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
    PendingEntry* list = RemovePendingEntry(ReadNames(&package.file), 1);

    CaptureStdout();
    EXPECT_EQ(Rewrite(list, package.path, &package.file), kNoFaults);
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
    EXPECT_EQ(Rewrite(list, package.path, &package.file), kNoFaults);
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
    EXPECT_EQ(Copy(list, package.prefix + "out", &package.file), kNoFaults);
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
    PendingEntry* list = ReadNames(&package.file);
    EXPECT_EQ(Copy(list, package.prefix + "out", &package.file), kNoFaults);
    EXPECT_EQ(package.folder.Read("out"), source);
    FreePendingList(list);
}

TEST(WritePackageCopy, OfTwoEntriesWithOneNameTakesTheFirstTwice)
{
    OpenedPackage package(MakePackage({{"a", "first"}, {"a", "second"}}));
    PendingEntry* list = ReadNames(&package.file);
    EXPECT_EQ(Copy(list, package.prefix + "out", &package.file), kNoFaults);
    EXPECT_EQ(package.folder.Read("out"), MakePackage({{"a", "first"}, {"a", "first"}}));
    FreePendingList(list);
}

TEST(PackageWriters, CreateWithPermissions0600)
{
    TemporaryFolder folder;
    PendingEntry* list = NewPendingList();
    mode_t mask = umask(0);
    CaptureStdout();
    EXPECT_EQ(Rewrite(list, folder.path + "/rewritten", nullptr), kNoFaults);
    EXPECT_EQ(Copy(list, folder.path + "/copied", nullptr), kNoFaults);
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
    EXPECT_EQ(Copy(list, folder.path + "/out", nullptr), kNoFaults);
    EXPECT_EQ(folder.Read("out"), MakePackage({}));
    FreePendingList(list);
}

// ---- What can't be had

TEST(PackageWriters, AMissingFileCountsAsEmpty)
{
    TemporaryFolder folder;
    folder.Write("b", "data");
    std::string sourceDir = folder.path + "/";
    const std::string line = "quorvale: " + sourceDir + "a: No such file or directory\n";
    PendingEntry* list = MakeList({{"a", sourceDir.c_str()}, {"b", sourceDir.c_str()}});

    EXPECT_EQ(Copy(list, folder.path + "/copied", nullptr), line);
    EXPECT_EQ(folder.Read("copied"), MakePackage({{"a", ""}, {"b", "data"}}));

    CaptureStdout();
    EXPECT_EQ(Rewrite(list, folder.path + "/rewritten", nullptr), line);
    EXPECT_EQ(GetCapturedStdout(), "count = 0\nsize of the file: 0\nsize of the file: 4\n");
    EXPECT_EQ(folder.Read("rewritten"), MakePackage({{"a", ""}, {"b", "data"}}));
    FreePendingList(list);
}

TEST(PackageWriters, AFolderInAFilesPlaceCountsAsEmpty)
{
    TemporaryFolder folder;
    folder.Write("a/inside", "data");
    PendingEntry* list = MakeList({{"a", (folder.path + "/").c_str()}});
    EXPECT_EQ(Copy(list, folder.path + "/out", nullptr),
              "quorvale: " + folder.path + "/a: it is no regular file of less than 2 GiB\n");
    EXPECT_EQ(folder.Read("out"), MakePackage({{"a", ""}}));
    FreePendingList(list);
}

TEST(PackageWriters, AnEntryThatTheSourceLacksCountsAsEmpty)
{
    OpenedPackage package(MakePackage({{"b", "data"}}));
    PendingEntry* list = MakeList({{"a", nullptr}, {"b", nullptr}});

    CaptureStdout();
    EXPECT_EQ(Copy(list, package.prefix + "out", &package.file),
              "quorvale: the package has no entry \"a\"\n");
    EXPECT_EQ(GetCapturedStdout(), "End of object table reached!\n");
    EXPECT_EQ(package.folder.Read("out"), MakePackage({{"a", ""}, {"b", "data"}}));

    CaptureStdout();
    EXPECT_EQ(Rewrite(list, package.path, &package.file),
              "quorvale: the package has no entry \"a\"\n");
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
    EXPECT_EQ(Copy(list, folder.path + "/copied", nullptr),
              "quorvale: the package has no entry \"a\"\n");
    EXPECT_EQ(folder.Read("copied"), MakePackage({{"a", ""}}));
    CaptureStdout();
    EXPECT_EQ(Rewrite(list, folder.path + "/rewritten", nullptr),
              "quorvale: the package has no entry \"a\"\n");
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
    EXPECT_EQ(Copy(list, path, &package.file),
              "quorvale: " + path + ": No such file or directory\n");
    EXPECT_FALSE(Exists(path));
    CaptureStdout();
    EXPECT_EQ(Rewrite(list, path, &package.file),
              "quorvale: " + path + ": No such file or directory\n");
    EXPECT_EQ(GetCapturedStdout(), "count = 1\nNAME: a\nsize=4\nsize of the file: 3\n");
    EXPECT_FALSE(Exists(path));
    FreePendingList(list);
}

TEST(PackageWriters, AnOutputThatTakesNoMoreIsAFault)
{
    TemporaryFolder folder;
    folder.Write("a", "data");
    PendingEntry* list = MakeList({{"a", (folder.path + "/").c_str()}});
    EXPECT_EQ(Copy(list, "/dev/full", nullptr), "quorvale: /dev/full: No space left on device\n");
    FreePendingList(list);
}

TEST(PackageWriters, APipeInAFilesPlaceHoldsNobodyUp)
{
    TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder.path + "/a").c_str(), 0600), 0);
    PendingEntry* list = MakeList({{"a", (folder.path + "/").c_str()}});
    EXPECT_EQ(Copy(list, folder.path + "/out", nullptr),
              "quorvale: " + folder.path + "/a: it is no regular file of less than 2 GiB\n");
    EXPECT_EQ(folder.Read("out"), MakePackage({{"a", ""}}));
    FreePendingList(list);
}

TEST(PackageWriters, ANameThatRunsPastTheDataMakesThePackageLonger)
{
    const std::string name(100, 'n');
    OpenedPackage package(MakePackage({{"b", "y"}}));
    package.folder.Write(name, "x");
    PendingEntry* list = MakeList({{name.c_str(), package.prefix.c_str()}});
    EXPECT_EQ(Copy(list, package.prefix + "out", nullptr), kNoFaults);
    // Header, 32 characters, start 75 and end 75, then the rest of the name but for byte 75.
    EXPECT_EQ(package.folder.Read("out"), Raw("DP\1") + std::string(32, 'n') +
                                              Raw("\0\0\0\x4B\0\0\0\x4B") + std::string(32, 'n') +
                                              "x" + std::string(27, 'n'));
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
    EXPECT_EQ(Copy(list, folder.path + "/out", nullptr), kNoFaults);
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
    EXPECT_EQ(Copy(list, folder.path + "/out", nullptr), kNoFaults);
    EXPECT_EQ(folder.Read("out"),
              MakePackage({{"0123456789abcdef0123456789abcdef", "x"}, {"bver", "y"}}));
    FreePendingList(list);
}

// ---- Unpacking

TEST(ExtractPackage, WritesEachEntryToPrefixAndName)
{
    OpenedPackage package(MakePackage({{"a", Raw("fi\0st")}, {"b", ""}}));
    CaptureStdout();
    EXPECT_EQ(Extract(&package.file, package.prefix + "out-"), kNoFaults);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(package.folder.Read("out-a"), Raw("fi\0st"));
    EXPECT_EQ(package.folder.Read("out-b"), "");
}

TEST(ExtractPackage, CreatesFilesWithPermissions0600AndTruncatesOldOnes)
{
    OpenedPackage package(MakePackage({{"a", "first"}, {"b", "second"}}));
    package.folder.Write("out/b", std::string(1000, 'x'));
    mode_t mask = umask(0);
    EXPECT_EQ(Extract(&package.file, package.prefix + "out/"), kNoFaults);
    umask(mask);
    EXPECT_EQ(Permissions(package.prefix + "out/a"), 0600u);
    EXPECT_EQ(package.folder.Read("out/b"), "second");
}

TEST(ExtractPackage, ReadsANameOf32Bytes)
{
    const std::string name = "0123456789abcdef0123456789abcdef";
    OpenedPackage package(MakePackage({{name, "x"}}));
    EXPECT_EQ(Extract(&package.file, package.prefix), kNoFaults);
    EXPECT_EQ(package.folder.Read(name), "x");
}

TEST(ExtractPackage, OfAnEmptyPackageWritesNothing)
{
    OpenedPackage package(MakePackage({}));
    EXPECT_EQ(Extract(&package.file, package.prefix + "out"), kNoFaults);
    EXPECT_FALSE(Exists(package.prefix + "out"));
}

TEST(ExtractPackage, AFileThatCantBeCreatedIsPassedOver)
{
    OpenedPackage package(MakePackage({{"in/a", "first"}, {"b", "second"}}));
    EXPECT_EQ(Extract(&package.file, package.prefix),
              "quorvale: " + package.prefix +
                  "in/a: No such file or directory\n"); // there is no folder "in"
    EXPECT_FALSE(Exists(package.prefix + "in/a"));
    EXPECT_EQ(package.folder.Read("b"), "second");
}

TEST(ExtractPendingEntries, TakesDataFromTheDiskOrThePackage)
{
    OpenedPackage package(MakePackage({{"a", "packed a"}, {"b", "packed b"}}));
    package.folder.Write("in/a", "a of the disk");
    PendingEntry* list = MakeList({{"a", (package.prefix + "in/").c_str()}, {"b", nullptr}});
    EXPECT_EQ(ExtractList(list, &package.file, package.prefix + "out-"), kNoFaults);
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
    EXPECT_EQ(ExtractList(list, &package.file, package.prefix + "out-"),
              "quorvale: " + package.prefix +
                  "a: No such file or directory\n"
                  "quorvale: the package has no entry \"b\"\n");
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
    EXPECT_EQ(ExtractList(list, nullptr, prefix), kNoFaults);
    EXPECT_EQ(folder.Read("a"), "data");
    FreePendingList(list);
}

// SPDX-License-Identifier: MIT
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/package_builder.h"
#include "tools/dpk_run.h"

static const std::string kName32 = "0123456789abcdef0123456789abcdef";
static constexpr long kMiB16 = 1 << 24;

static void ExpectDone(const DpkRun& run)
{
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

static void ExpectError(const DpkRun& run, const std::string& text)
{
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "dpk: " + text + "\n");
}

/// A file of this size that takes no room on the disk.
static void WriteHollow(const TemporaryFolder& folder, const std::string& name, long size)
{
    folder.Write(name, "");
    EXPECT_EQ(truncate((folder.path + "/" + name).c_str(), size), 0);
}

static std::string BigEndian(uint32_t value)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
}

/// A directory entry with any numbers in it.
static std::string RawEntry(const std::string& name, uint32_t start, uint32_t end)
{
    return name + std::string(32 - name.size(), '\0') + BigEndian(start) + BigEndian(end);
}

static const std::string kHeader = Raw("DP\1");
static const std::string kTerminator = std::string(32, '\0');

// ---- list

TEST(DpkList, PrintsNameStartAndSizeInDirectoryOrder)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"b", "four"}, {"a", ""}, {"c c", "x"}}));
    DpkRun run = RunDpk(folder, {"list", "p.dpk"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "b\t155\t4\na\t159\t0\nc c\t159\t1\n");
    EXPECT_EQ(run.err, "");
}

TEST(DpkList, KeepsALineALine)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a\n\t\\\x7F\xC3\xA4", "x"}, {"\xC2\x9B\xFF", "y"}}));
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out, "a\\x0A\\x09\\x5C\\x7F\xC3\xA4\t115\t1\n"
                                                     "\\xC2\\x9B\\xFF\t116\t1\n");
}

TEST(DpkList, DoesNotLookAtTheHeader)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", "xyz" + MakePackage({{"a", "four"}}).substr(3));
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out, "a\t75\t4\n");
}

TEST(DpkList, ShowsANameThatIsThereTwice)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "four"}, {"a", "x"}}));
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out, "a\t115\t4\na\t119\t1\n");
}

TEST(DpkList, OfAnEmptyPackagePrintsNothing)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({}));
    ExpectDone(RunDpk(folder, {"list", "p.dpk"}));
}

// ---- create, add, remove

TEST(DpkCreate, WritesThePackageByteForByte)
{
    TemporaryFolder folder;
    folder.Write("one", "abc");
    folder.Write("in/two", Raw("\0z"));
    ExpectDone(RunDpk(folder, {"create", "p.dpk", "in/two", folder.path + "/one"}));
    EXPECT_EQ(folder.Read("p.dpk"),
              Raw("DP\1"
                  "two\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                  "\0\0\0\x73\0\0\0\x74"
                  "one\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                  "\0\0\0\x75\0\0\0\x77"
                  "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                  "\0zabc"));
    EXPECT_EQ(FilesIn(folder), "in one p.dpk");
}

TEST(DpkCreate, WithoutFilesWrites35Bytes)
{
    TemporaryFolder folder;
    ExpectDone(RunDpk(folder, {"create", "p.dpk"}));
    EXPECT_EQ(folder.Read("p.dpk"), kHeader + kTerminator);
}

TEST(DpkCreate, ReplacesAnOldFile)
{
    TemporaryFolder folder;
    folder.Write("a", "data");
    folder.Write("p.dpk", MakePackage({{"old", "data"}}));
    ExpectDone(RunDpk(folder, {"create", "p.dpk", "a"}));
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"a", "data"}}));
}

TEST(DpkCreate, GivesANewPackage0644LessTheUmask)
{
    TemporaryFolder folder;
    DpkSurroundings open = kOrdinary;
    open.mask = 0;
    DpkSurroundings closed = kOrdinary;
    closed.mask = 0077;
    ExpectDone(RunDpk(folder, {"create", "open.dpk"}, open));
    ExpectDone(RunDpk(folder, {"create", "closed.dpk"}, closed));
    EXPECT_EQ(PermissionsOf(folder, "open.dpk"), 0644u);
    EXPECT_EQ(PermissionsOf(folder, "closed.dpk"), 0600u);
}

TEST(DpkAdd, AppendsAndKeepsWhatIsThere)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"z", "first"}, {"y", ""}}));
    folder.Write("b", "bee");
    folder.Write("in/a", "ay");
    ExpectDone(RunDpk(folder, {"add", "p.dpk", "b", "in/a"}));
    EXPECT_EQ(folder.Read("p.dpk"),
              MakePackage({{"z", "first"}, {"y", ""}, {"b", "bee"}, {"a", "ay"}}));
    EXPECT_EQ(FilesIn(folder), "b in p.dpk");
}

TEST(DpkAdd, KeepsThePackagesPermissions)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({}));
    folder.Write("a", "data");
    chmod((folder.path + "/p.dpk").c_str(), 0640);
    ExpectDone(RunDpk(folder, {"add", "p.dpk", "a"}));
    EXPECT_EQ(PermissionsOf(folder, "p.dpk"), 0640u);
}

TEST(DpkAdd, FollowsALinkToThePackage)
{
    TemporaryFolder folder;
    folder.Write("far/p.dpk", MakePackage({}));
    folder.Write("a", "data");
    EXPECT_EQ(symlink("far/p.dpk", (folder.path + "/link.dpk").c_str()), 0);
    ExpectDone(RunDpk(folder, {"add", "link.dpk", "a"}));
    EXPECT_EQ(folder.Read("far/p.dpk"), MakePackage({{"a", "data"}}));
    struct stat status = {};
    EXPECT_EQ(lstat((folder.path + "/link.dpk").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST(DpkAdd, ThePackageItselfIsAFileLikeAnyOther)
{
    TemporaryFolder folder;
    std::string old = MakePackage({{"a", "data"}});
    folder.Write("p.dpk", old);
    ExpectDone(RunDpk(folder, {"add", "p.dpk", "p.dpk"}));
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"a", "data"}, {"p.dpk", old}}));
}

TEST(DpkRemove, TakesEntriesOutAndMovesTheRestTogether)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "1"}, {"b", "22"}, {"c", "333"}, {"d", "4444"}}));
    ExpectDone(RunDpk(folder, {"remove", "p.dpk", "c", "a", "c"}));
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"b", "22"}, {"d", "4444"}}));
    ExpectDone(RunDpk(folder, {"remove", "p.dpk", "b", "d"}));
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({}));
    EXPECT_EQ(FilesIn(folder), "p.dpk");
}

TEST(DpkRemove, MendsAPackageThatHoldsANameTwice)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "1"}, {"b", "22"}, {"a", "333"}}));
    ExpectDone(RunDpk(folder, {"remove", "p.dpk", "a"}));
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"b", "22"}}));
}

TEST(DpkRemove, ANameThatIsNotThereIsAnErrorAndNothingGoes)
{
    TemporaryFolder folder;
    std::string old = MakePackage({{"a", "1"}, {"b", "22"}});
    folder.Write("p.dpk", old);
    ExpectError(RunDpk(folder, {"remove", "p.dpk", "a", "c"}), "p.dpk: no entry \"c\"");
    ExpectError(RunDpk(folder, {"remove", "p.dpk", ""}), "p.dpk: no entry \"\"");
    EXPECT_EQ(folder.Read("p.dpk"), old);
    EXPECT_EQ(FilesIn(folder), "p.dpk");
}

// ---- extract

TEST(DpkExtract, WritesAllEntriesToAFolderThatItMakes)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", Raw("on\0e")}, {"b c", ""}}));
    ExpectDone(RunDpk(folder, {"extract", "p.dpk", "-o", "deep/er"}));
    EXPECT_EQ(folder.Read("deep/er/a"), Raw("on\0e"));
    EXPECT_EQ(folder.Read("deep/er/b c"), "");
    EXPECT_EQ(PermissionsOf(folder, "deep/er/a"), 0600u);
}

TEST(DpkExtract, WithoutAFolderWritesToTheWorkingDirectory)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "new"}}));
    folder.Write("a", "something old");
    ExpectDone(RunDpk(folder, {"extract", "p.dpk"}));
    EXPECT_EQ(folder.Read("a"), "new");
}

TEST(DpkExtract, TakesNamedEntriesOnly)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "1"}, {"b", "2"}, {kName32, "3"}}));
    TemporaryFolder out;
    ExpectDone(RunDpk(folder, {"extract", "p.dpk", "-o", out.path, "b", kName32, "b"}));
    EXPECT_EQ(FilesIn(out), kName32 + " b");
    EXPECT_EQ(out.Read("b"), "2");
    EXPECT_EQ(out.Read(kName32), "3");
}

TEST(DpkExtract, ANameThatIsNotThereIsAnErrorAndNothingIsWritten)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "1"}}));
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "out", "a", "b"}),
                "p.dpk: no entry \"b\"");
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "out", ""}), "p.dpk: no entry \"\"");
    EXPECT_EQ(FilesIn(folder), "p.dpk");
}

TEST(DpkExtract, NamesThatWouldLeaveTheFolderAreRefused)
{
    for (const char* name : {"../a", "/tmp/a", "in/a", "..", "."})
    {
        TemporaryFolder folder;
        folder.Write("p.dpk", MakePackage({{"good", "1"}, {name, "2"}}));
        std::string text =
            "\"" + std::string(name) + "\" is not extracted: as a file it would leave the folder";
        ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "out"}), text);
        ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "out", name}), text);
        EXPECT_EQ(FilesIn(folder), "p.dpk");
        ExpectDone(RunDpk(folder, {"extract", "p.dpk", "-o", "out", "good"}));
    }
}

TEST(DpkExtract, DotsInsideANameAreNoWayOut)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a..b", "1"}, {"...", "2"}}));
    ExpectDone(RunDpk(folder, {"extract", "p.dpk", "-o", "out"}));
    EXPECT_EQ(folder.Read("out/a..b"), "1");
    EXPECT_EQ(folder.Read("out/..."), "2");
}

TEST(DpkExtract, ANameThatIsThereTwiceIsExtractedByNameOnly)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "first"}, {"a", "second"}}));
    ExpectError(
        RunDpk(folder, {"extract", "p.dpk", "-o", "out"}),
        "p.dpk: the name \"a\" is in the package twice; readers find the first, and so does "
        "extracting by name");
    ExpectDone(RunDpk(folder, {"extract", "p.dpk", "-o", "out", "a"}));
    EXPECT_EQ(folder.Read("out/a"), "first");
}

TEST(DpkExtract, OneEntryAloneGoesToStandardOutput)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "1"}, {"b", "2"}}));
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "-"}),
                "p.dpk: one entry can be written to standard output, not 2");
    EXPECT_EQ(RunDpk(folder, {"extract", "p.dpk", "-o", "-", "b"}).out, "2");
}

TEST(DpkExtract, WhatCantBeWrittenIsAnError)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", std::string(500, 'x')}, {"b", "1"}}));
    DpkSurroundings tight = kOrdinary;
    tight.fileSizeLimit = 100;
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "out"}, tight),
                "out/a: could not be written");
    EXPECT_EQ(folder.Read("out/b"), "1");

    folder.Write("taken/a/b", "a folder in the file's place");
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "taken"}), "taken/a: not a regular file");
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "p.dpk"}), "p.dpk: Not a directory");
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", ""}), ": Invalid argument");
}

// ---- The limits of a package

/// The package that is there before a command that has to fail.
static const std::string kOldPackage = MakePackage({{"old", "data"}});

static void ExpectRefusal(const TemporaryFolder& folder, const std::vector<std::string>& arguments,
                          const std::string& text)
{
    std::string files = FilesIn(folder);
    ExpectError(RunDpk(folder, arguments), text);
    EXPECT_EQ(folder.Read("p.dpk"), kOldPackage);
    EXPECT_EQ(FilesIn(folder), files);
}

TEST(DpkGuards, ANameOf32BytesFitsAndOneOf33DoesNot)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kOldPackage);
    folder.Write(kName32, "x");
    folder.Write(kName32 + "0", "y");
    std::string text = "the name \"" + kName32 +
                       "0\" has 33 bytes; a package holds names of 32 at "
                       "most";
    ExpectRefusal(folder, {"add", "p.dpk", kName32 + "0"}, text);
    ExpectRefusal(folder, {"create", "p.dpk", kName32 + "0"}, text);
    ExpectDone(RunDpk(folder, {"add", "p.dpk", kName32}));
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"old", "data"}, {kName32, "x"}}));
}

TEST(DpkGuards, ANameOf32BytesHasToStartBelow16MiB)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kOldPackage);
    folder.Write(kName32, "x");
    folder.Write(kName32.substr(1), "x");
    WriteHollow(folder, "big",
                kMiB16 - 115); // two entries: the data of the second starts at 16 MiB
    ExpectRefusal(
        folder, {"create", "p.dpk", "big", kName32},
        "\"" + kName32 +
            "\" has a name of 32 bytes and its data would start at 16 MiB or later, where "
            "no reader finds it: shorten the name or put it further in front");

    ExpectDone(RunDpk(folder, {"create", "other.dpk", "big", kName32.substr(1)}));
    WriteHollow(folder, "big", kMiB16 - 116);
    ExpectDone(RunDpk(folder, {"create", "p.dpk", "big", kName32}));
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out,
              "big\t115\t16777100\n" + kName32 + "\t16777215\t1\n");
}

TEST(DpkGuards, AnEntryThatNoReaderFindsIsNotKeptButCanBeRemoved)
{
    TemporaryFolder folder;
    uint32_t start = 1 << 24;
    folder.Write("p.dpk", kHeader + RawEntry(kName32, start, start + 1) + RawEntry("a", 115, 117) +
                              kTerminator + "abc");
    EXPECT_EQ(truncate((folder.path + "/p.dpk").c_str(), kMiB16 + 2), 0);
    folder.Write("b", "data");

    std::string text = "p.dpk: entry \"" + kName32 +
                       "\" can't be read: its name has 32 bytes and its data starts at 16 MiB or "
                       "later";
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "out"}), text);
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "-o", "out", kName32}), text);
    ExpectError(RunDpk(folder, {"add", "p.dpk", "b"}), text);
    ExpectError(RunDpk(folder, {"remove", "p.dpk", "a"}), text);
    EXPECT_EQ(FilesIn(folder), "b p.dpk");

    ExpectDone(RunDpk(folder, {"remove", "p.dpk", kName32}));
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"a", "abc"}}));
}

TEST(DpkGuards, AnEntryHasToHaveAName)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kOldPackage);
    folder.Write("in/a", "x");
    ExpectRefusal(folder, {"add", "p.dpk", ""}, "an entry's name can't be empty");
    ExpectRefusal(folder, {"add", "p.dpk", "in/"}, "an entry's name can't be empty");
    ExpectRefusal(folder, {"create", "p.dpk", ""}, "an entry's name can't be empty");
}

TEST(DpkGuards, ANameIsInAPackageOnce)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kOldPackage);
    folder.Write("old", "x");
    folder.Write("a", "x");
    folder.Write("in/a", "y");
    ExpectRefusal(folder, {"add", "p.dpk", "old"},
                  "the name \"old\" would be in the package twice");
    ExpectRefusal(folder, {"add", "p.dpk", "a", "in/a"},
                  "the name \"a\" would be in the package twice");
    ExpectRefusal(folder, {"create", "p.dpk", "a", "a"},
                  "the name \"a\" would be in the package twice");

    std::string twice = MakePackage({{"a", "1"}, {"b", "2"}, {"a", "3"}});
    folder.Write("q.dpk", twice);
    ExpectError(RunDpk(folder, {"remove", "q.dpk", "b"}),
                "the name \"a\" would be in the package twice");
    EXPECT_EQ(folder.Read("q.dpk"), twice);
}

TEST(DpkGuards, ASourceHasToBeAFile)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kOldPackage);
    folder.Write("a", "x");
    folder.Write("in/b", "x");
    EXPECT_EQ(mkfifo((folder.path + "/pipe").c_str(), 0600), 0);
    ExpectRefusal(folder, {"add", "p.dpk", "a", "nowhere"}, "nowhere: No such file or directory");
    ExpectRefusal(folder, {"create", "p.dpk", "in/nowhere"},
                  "in/nowhere: No such file or directory");
    ExpectRefusal(folder, {"add", "p.dpk", "in"}, "in: not a regular file");
    ExpectRefusal(folder, {"add", "p.dpk", "pipe"}, "pipe: not a regular file");
}

TEST(DpkGuards, AnEntryEndsBelow2GiBAndAPackageAt4)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kOldPackage);
    WriteHollow(folder, "a", (1L << 31) - 1);
    WriteHollow(folder, "b", 1L << 31);
    WriteHollow(folder, "c", (1L << 31) - 163); // 9 bytes are left then
    folder.Write("d", std::string(10, 'x'));
    ExpectRefusal(folder, {"create", "p.dpk", "b"},
                  "\"b\" is too large: an entry ends below 2 GiB");
    ExpectRefusal(folder, {"create", "p.dpk", "a", "c", "d"},
                  "\"d\" does not fit: a package ends at 4 GiB");
}

TEST(DpkGuards, AFullDiskLeavesTheOldPackageAndNoTemporaryFile)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kOldPackage);
    folder.Write("a", std::string(500, 'x'));
    DpkSurroundings tight = kOrdinary;
    for (uint64_t limit : {100, 300, 600})
    {
        tight.fileSizeLimit = limit;
        DpkRun run = RunDpk(folder, {"add", "p.dpk", "a"}, tight);
        ExpectError(run, "p.dpk: could not be written; is the disk full?");
        EXPECT_EQ(folder.Read("p.dpk"), kOldPackage);
        EXPECT_EQ(FilesIn(folder), "a p.dpk");
    }
}

TEST(DpkGuards, APlaceWhereNothingCanBeWrittenIsAnError)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kOldPackage);
    folder.Write("in/b", "x");
    ExpectRefusal(folder, {"create", "nowhere/q.dpk"}, "nowhere/q.dpk: No such file or directory");
    ExpectRefusal(folder, {"create", "in"}, "in: not a regular file");
    ExpectRefusal(folder, {"create", "p.dpk/q"}, "p.dpk/q: Not a directory");
    ExpectRefusal(folder, {"create", ""}, ": No such file or directory");
}

// ---- Files that are no packages

struct DamageCase
{
    std::string bytes;
    const char* text;
};

static std::vector<DamageCase> DamagedPackages()
{
    std::string whole = MakePackage({{"a", "1234"}}); // 79 bytes
    const char* noEnd = "damaged package: its directory has no end";
    const char* past = "damaged package: entry \"a\" reaches past the end of the file";
    const char* backwards = "damaged package: entry \"a\" ends before it starts";
    return {
        {"", "not a package: shorter than 35 bytes"},
        {whole.substr(0, 34), "not a package: shorter than 35 bytes"},
        {whole.substr(0, 42), noEnd}, // inside the first entry
        {whole.substr(0, 43), "damaged package: entry \"a\" reaches past the end of the file"},
        {kHeader + RawEntry("a", 74, 73) + std::string(31, '\0'), noEnd},
        {kHeader + RawEntry("a", 43, 42) + "b" + std::string(31, '\0'), noEnd},
        {whole.substr(0, 78), past},
        {kHeader + RawEntry("a", 75, 75) + kTerminator, past},
        {kHeader + RawEntry("a", 76, 75) + kTerminator, past}, // empty, but starts behind the file
        {kHeader + RawEntry("a", 75, 73) + kTerminator, backwards},
        {kHeader + RawEntry("a", 4000000000, 20) + kTerminator, backwards},
        {kHeader + RawEntry("a", 0, 0xFFFFFFFF) + kTerminator, past},
    };
}

TEST(DpkDamage, EveryCommandRefusesADamagedPackageAndLeavesItAlone)
{
    for (const DamageCase& damage : DamagedPackages())
    {
        TemporaryFolder folder;
        folder.Write("p.dpk", damage.bytes);
        folder.Write("b", "data");
        const std::vector<std::string> commands[] = {
            {"list", "p.dpk"},
            {"extract", "p.dpk", "-o", "out"},
            {"extract", "p.dpk", "-o", "out", "a"},
            {"add", "p.dpk", "b"},
            {"remove", "p.dpk", "a"},
        };
        for (const std::vector<std::string>& command : commands)
        {
            SCOPED_TRACE(command[0] + " of " + std::to_string(damage.bytes.size()) + " bytes");
            ExpectError(RunDpk(folder, command), std::string("p.dpk: ") + damage.text);
            EXPECT_EQ(folder.Read("p.dpk"), damage.bytes);
            EXPECT_EQ(FilesIn(folder), "b p.dpk");
        }
    }
}

TEST(DpkDamage, AnEntryOf2GiBIsRefused)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", kHeader + RawEntry("a", 75, 75 + 0x7FFFFFFFu) + kTerminator);
    EXPECT_EQ(truncate((folder.path + "/p.dpk").c_str(), 75 + (1L << 31)), 0);
    ExpectError(RunDpk(folder, {"list", "p.dpk"}),
                "p.dpk: damaged package: entry \"a\" is larger than 2 GiB");
    folder.Write("q.dpk", kHeader + RawEntry("a", 75, 75 + 0x7FFFFFFEu) + kTerminator);
    EXPECT_EQ(truncate((folder.path + "/q.dpk").c_str(), 75 + (1L << 31)), 0);
    EXPECT_EQ(RunDpk(folder, {"list", "q.dpk"}).out, "a\t75\t2147483647\n");
}

TEST(DpkDamage, AFileThatIsNoPackageIsNotRewritten)
{
    TemporaryFolder folder;
    folder.Write("zeros", std::string(1000, '\0')); // would read as a package without entries
    folder.Write("a", "data");
    const char* text = "zeros: not a package: it does not begin with the bytes 44 50 01";
    ExpectError(RunDpk(folder, {"add", "zeros", "a"}), text);
    ExpectError(RunDpk(folder, {"remove", "zeros", "a"}), text);
    EXPECT_EQ(folder.Read("zeros"), std::string(1000, '\0'));
    EXPECT_EQ(FilesIn(folder), "a zeros");
}

TEST(DpkDamage, APackageThatIsNotThereIsAnError)
{
    TemporaryFolder folder;
    folder.Write("a", "data");
    folder.Write("in/b", "data");
    ExpectError(RunDpk(folder, {"list", "p.dpk"}), "p.dpk: No such file or directory");
    ExpectError(RunDpk(folder, {"extract", "p.dpk"}), "p.dpk: No such file or directory");
    ExpectError(RunDpk(folder, {"add", "p.dpk", "a"}), "p.dpk: No such file or directory");
    ExpectError(RunDpk(folder, {"remove", "p.dpk", "a"}), "p.dpk: No such file or directory");
    ExpectError(RunDpk(folder, {"list", "in"}), "in: not a regular file");
    EXPECT_EQ(FilesIn(folder), "a in");
}

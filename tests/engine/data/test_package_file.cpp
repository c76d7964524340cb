// SPDX-License-Identifier: MIT
#include "engine/data/package_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "support/byte_file.h"
#include "support/fault_text.h"
#include "support/package_builder.h"
#include "support/temporary_folder.h"

namespace fs = std::filesystem;

/// The outcome of one lookup, and its printed lines.
struct Lookup
{
    bool found;
    int32_t size;
    std::string data;
    std::string printed;
};

static constexpr int32_t kUntouched = 12345;
static constexpr int32_t kMostCompared = 1000; // bytes; data of more is left out

/// The bytes as a file of its own, or in memory.
enum class Source
{
    kFile,
    kMemory,
};

/// Looks a name up in an open package.
static Lookup FindIn(PackageFile* package, const std::string& name)
{
    FaultList faults = {};
    Lookup lookup = {false, kUntouched, "", ""};
    unsigned char* data = ReadPackageEntry(package, name.c_str(), &lookup.size, &faults);
    for (uint32_t i = 0; i < package->lineCount; ++i)
    {
        lookup.printed += package->lines[i];
    }
    package->lineCount = 0;
    lookup.printed += FaultText(faults);
    FreeFaults(&faults);
    if (data != nullptr)
    {
        lookup.found = true;
        if (lookup.size < kMostCompared)
        {
            lookup.data.assign(reinterpret_cast<char*>(data), static_cast<size_t>(lookup.size));
        }
        free(data);
    }
    return lookup;
}

static Lookup FindFrom(Source source, const Bytes& bytes, const std::string& name)
{
    TemporaryFolder folder;
    FaultList faults = {};
    PackageFile package;
    if (source == Source::kFile)
    {
        folder.Write("p", std::string(bytes.begin(), bytes.end()));
        EXPECT_TRUE(OpenPackageFile((folder.path + "/p").c_str(), &package, &faults));
    }
    else
    {
        EXPECT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    }
    Lookup lookup = FindIn(&package, name);
    ClosePackage(&package);
    return lookup;
}

static bool operator==(const Lookup& a, const Lookup& b)
{
    return a.found == b.found && a.size == b.size && a.data == b.data && a.printed == b.printed;
}

/// Looks a name up in a package of these bytes: the same from a file and from memory.
static Lookup Find(const Bytes& package, const std::string& name)
{
    Lookup lookup = FindFrom(Source::kMemory, package, name);
    EXPECT_TRUE(lookup == FindFrom(Source::kFile, package, name));
    return lookup;
}

static void AppendEntry(Bytes* bytes, const std::string& name, const Bytes& startAndEnd)
{
    AppendText(bytes, name, 32);
    AppendBytes(bytes, startAndEnd);
}

static constexpr size_t kTerminator = 32;

/// Three entries, spelled out: 3 + 3 * 40 + 32 = 155 bytes, then "one", "" and "three".
static Bytes ThreeEntries()
{
    Bytes bytes = {0x44, 0x50, 0x01};
    AppendEntry(&bytes, "first", {0, 0, 0, 155, 0, 0, 0, 157});
    AppendEntry(&bytes, "empty", {0, 0, 0, 158, 0, 0, 0, 157});
    AppendEntry(&bytes, "third", {0, 0, 0, 158, 0, 0, 0, 162});
    bytes.insert(bytes.end(), kTerminator, 0);
    AppendText(&bytes, "onethree");
    return bytes;
}

TEST(PackageFile, ReadsEntriesByName)
{
    Lookup first = Find(ThreeEntries(), "first");
    EXPECT_TRUE(first.found);
    EXPECT_EQ(first.data, "one");
    EXPECT_EQ(first.printed, "");
    EXPECT_EQ(Find(ThreeEntries(), "third").data, "three");
}

TEST(PackageFile, AnEntryWhoseEndLiesOneBeforeItsStartIsEmpty)
{
    Lookup empty = Find(ThreeEntries(), "empty");
    EXPECT_TRUE(empty.found);
    EXPECT_EQ(empty.size, 0);
}

TEST(PackageFile, AnEntryWithStartAndEnd100HasOneByte)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    AppendEntry(&bytes, "a", {0, 0, 0, 100, 0, 0, 0, 100});
    bytes.insert(bytes.end(), kTerminator, 0);
    bytes.resize(100, 'x');
    bytes.push_back('!');
    bytes.push_back('?');
    Lookup lookup = Find(bytes, "a");
    EXPECT_EQ(lookup.size, 1);
    EXPECT_EQ(lookup.data, "!");
}

TEST(PackageFile, APackageWithNoEntriesHas35BytesAndHoldsNothing)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    bytes.insert(bytes.end(), kTerminator, 0);
    ASSERT_EQ(bytes.size(), 35u);
    Lookup lookup = Find(bytes, "anything");
    EXPECT_FALSE(lookup.found);
    EXPECT_EQ(lookup.size, kUntouched);
    EXPECT_EQ(lookup.printed, "End of object table reached!\n");
}

TEST(PackageFile, AnUnknownNameEndsAtTheTerminator)
{
    Lookup lookup = Find(ThreeEntries(), "fourth");
    EXPECT_FALSE(lookup.found);
    EXPECT_EQ(lookup.size, kUntouched);
    EXPECT_EQ(lookup.printed, "End of object table reached!\n");
    EXPECT_FALSE(Find(ThreeEntries(), "First").found); // case counts
}

TEST(PackageFile, AnEmptyNameTakesEntry0Unseen)
{
    EXPECT_EQ(Find(ThreeEntries(), "").data, "one");
}

TEST(PackageFile, AnEmptyNameReadsEntry0OfAnEmptyPackage)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    bytes.insert(bytes.end(), kTerminator, 0);
    AppendBytes(&bytes, {0, 0, 0, 1, 0, 0, 0, 2}); // where entry 0 would keep start and end
    Lookup lookup = Find(bytes, "");
    EXPECT_TRUE(lookup.found);
    EXPECT_EQ(lookup.data, std::string("\x50\x01", 2));
}

TEST(PackageFile, APrefixOfALongerNameDoesNotMatch)
{
    Lookup lookup = Find(ThreeEntries(), "fir");
    EXPECT_FALSE(lookup.found);
    EXPECT_EQ(lookup.printed, "End of object table reached!\n");
}

TEST(PackageFile, AShorterNameInTheDirectoryIsPassedOver)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    AppendEntry(&bytes, "demo", {0, 0, 0, 115, 0, 0, 0, 115});
    AppendEntry(&bytes, "demo.xmlz", {0, 0, 0, 116, 0, 0, 0, 117});
    bytes.insert(bytes.end(), kTerminator, 0);
    AppendText(&bytes, "abc");
    EXPECT_EQ(Find(bytes, "demo.xmlz").data, "bc");
    EXPECT_EQ(Find(bytes, "demo").data, "a");
}

TEST(PackageFile, TheFirstOfTwoEntriesWithOneNameWins)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    AppendEntry(&bytes, "twin", {0, 0, 0, 115, 0, 0, 0, 115});
    AppendEntry(&bytes, "twin", {0, 0, 0, 116, 0, 0, 0, 116});
    bytes.insert(bytes.end(), kTerminator, 0);
    AppendText(&bytes, "12");
    EXPECT_EQ(Find(bytes, "twin").data, "1");
}

TEST(PackageFile, TheHeaderBytesDoNotCount)
{
    Bytes bytes = ThreeEntries();
    bytes[0] = 'Z';
    bytes[1] = 0;
    bytes[2] = 9;
    EXPECT_EQ(Find(bytes, "third").data, "three");
}

/// A name of exactly 32 characters: its end is tested in the first byte of `start`.
static Bytes LongName(uint8_t topByteOfStart)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    AppendEntry(&bytes, "0123456789abcdef0123456789abcdef",
                {topByteOfStart, 0, 0, 75, topByteOfStart, 0, 0, 76});
    bytes.insert(bytes.end(), kTerminator, 0);
    AppendText(&bytes, "ok");
    return bytes;
}

TEST(PackageFile, ANameOf32CharactersIsFoundOnlyBelow16MiB)
{
    const char* name = "0123456789abcdef0123456789abcdef";
    EXPECT_EQ(Find(LongName(0), name).data, "ok");
    Lookup beyond = Find(LongName(1), name);
    EXPECT_FALSE(beyond.found);
    EXPECT_EQ(beyond.printed, "End of object table reached!\n");
    // One character less is another name, and so is one more.
    EXPECT_FALSE(Find(LongName(0), "0123456789abcdef0123456789abcde").found);
    EXPECT_FALSE(Find(LongName(0), "0123456789abcdef0123456789abcdefX").found);
}

TEST(PackageFile, ANameRunsOverItsNumbersAndTheNextEntries)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    AppendEntry(&bytes, "0123456789abcdef0123456789abcdef",
                {'S', 'T', 'A', 'R', 'T', 'E', 'N', 'D'});
    AppendEntry(&bytes, "next", {0, 0, 0, 115, 0, 0, 0, 115});
    bytes.insert(bytes.end(), kTerminator, 0);
    AppendText(&bytes, "!");
    // The numbers are "STAR" and "TEND": 0x54454e44 + 1 - 0x53544152 bytes, far past the end.
    EXPECT_EQ(Find(bytes, "0123456789abcdef0123456789abcdefSTARTENDnext").size, 15797491);
    EXPECT_FALSE(Find(bytes, "0123456789abcdef0123456789abcdefSTARTEND").found);
    EXPECT_EQ(Find(bytes, "next").data, "!");
}

TEST(PackageFile, NamesLongerThanAnEntryEndSomewhere)
{
    Lookup lookup = Find(ThreeEntries(), std::string(300, 'f'));
    EXPECT_FALSE(lookup.found);
    EXPECT_EQ(lookup.printed, "End of object table reached!\n");
}

TEST(PackageFile, OffsetsPastTheEndOfTheFileReadAsZeros)
{
    Bytes bytes = ThreeEntries();
    bytes[3 + 80 + 36 + 3] = 200; // third: 158 to 200, of which 5 bytes are there
    Lookup lookup = Find(bytes, "third");
    EXPECT_EQ(lookup.size, 43);
    EXPECT_EQ(lookup.data, "three" + std::string(38, '\0'));
    EXPECT_EQ(lookup.printed, "");
}

/// A package of one entry, "a", with these eight bytes as its start and end, and one byte of data.
static Bytes OneEntry(const Bytes& startAndEnd)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    AppendEntry(&bytes, "a", startAndEnd);
    bytes.insert(bytes.end(), kTerminator, 0);
    bytes.push_back('!');
    return bytes;
}

TEST(PackageFile, OffsetsAreUnsigned32Bit)
{
    // From 2 GiB on, past the end of the file.
    Lookup high = Find(OneEntry({0x80, 0, 0, 0, 0x80, 0, 0, 2}), "a");
    EXPECT_EQ(high.data, std::string(3, '\0'));
    // The last offset that there is, and one more: the size wraps to 0.
    EXPECT_EQ(Find(OneEntry({0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff}), "a").size, 0);
    EXPECT_EQ(Find(OneEntry({0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}), "a").size, 1);
}

TEST(PackageFile, PaddingAfterTheEntryIsReadable)
{
    const Bytes bytes = ThreeEntries();
    FaultList faults = {};
    PackageFile package;
    ASSERT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    int32_t size = 0;
    unsigned char* data = ReadPackageEntry(&package, "first", &size, &faults);
    EXPECT_EQ(memcmp(data, "one\0\0\0\0", 7), 0);
    free(data);
    ClosePackage(&package);
}

TEST(PackageFile, ATruncatedDirectoryPrintsAndEnds)
{
    Bytes bytes = ThreeEntries();
    bytes.resize(3 + 40 + 10); // the second name field breaks off
    Lookup lookup = Find(bytes, "third");
    EXPECT_FALSE(lookup.found);
    EXPECT_EQ(lookup.printed, "unexpected error\nEnd of object table reached!\n");

    bytes.resize(0);
    EXPECT_EQ(Find(bytes, "x").printed, "unexpected error\nEnd of object table reached!\n");
}

TEST(PackageFile, ATruncatedNameGoesOnWithTheNameBefore)
{
    Bytes bytes = ThreeEntries();
    bytes.resize(3 + 40 + 2); // "em" over "first"
    EXPECT_TRUE(Find(bytes, "emrst").found);
    EXPECT_EQ(Find(bytes, "emrst").printed, "unexpected error\n");
    EXPECT_FALSE(Find(bytes, "em").found);
    EXPECT_EQ(Find(bytes, "em").printed, "unexpected error\nEnd of object table reached!\n");

    bytes.resize(3 + 40); // nothing over "first", which is found before that
    EXPECT_EQ(Find(bytes, "first").printed, "");
    bytes.resize(3 + 2); // there is no name before
    EXPECT_TRUE(Find(bytes, "fi").found);
}

TEST(PackageFile, ATruncatedNameFieldStillCompares)
{
    Bytes bytes = ThreeEntries();
    bytes.resize(3 + 40 + 6); // "empty" and its zero are there, start and end are not
    Lookup lookup = Find(bytes, "empty");
    EXPECT_TRUE(lookup.found); // start and end read as 0: one byte, the first of the file
    EXPECT_EQ(lookup.data, "D");
    EXPECT_EQ(lookup.printed, "unexpected error\n");
}

TEST(PackageFile, ASizeThatCannotBeAllocatedIsAFault)
{
    Bytes bytes = ThreeEntries();
    bytes[3 + 36] = 0x90; // end 0x9000009d: 2415918979 bytes, negative as a signed size
    Lookup lookup = Find(bytes, "first");
    EXPECT_FALSE(lookup.found);
    EXPECT_EQ(lookup.size, kUntouched);
    EXPECT_EQ(lookup.printed, "quorvale: package entry \"first\": "
                              "its size of -1879048189 bytes can't be allocated\n");
}

TEST(PackageFile, LinesOfLookupsArePrintedOnce)
{
    Bytes bytes = ThreeEntries();
    bytes.resize(3 + 40 + 10);
    FaultList faults = {};
    PackageFile package;
    ASSERT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    int32_t size = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(ReadPackageEntry(&package, "x", &size, &faults), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
    PrintLookupLines(&package);
    PrintLookupLines(&package);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "unexpected error\nEnd of object table reached!\n");
    ClosePackage(&package);
}

TEST(PackageFile, LinesThatNobodyPrintsDoNotGrow)
{
    const Bytes bytes = ThreeEntries();
    FaultList faults = {};
    PackageFile package;
    ASSERT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    int32_t size = 0;
    for (int i = 0; i < 1000; ++i)
    {
        ReadPackageEntry(&package, "x", &size, &faults);
    }
    EXPECT_EQ(package.lineCount, kLookupLines);
    ClosePackage(&package);
}

// ---- The directory as an index, beside the walk that it stands for

/// The byte of a package at an offset, -1 past its end.
static int ByteAt(const Bytes& package, size_t offset)
{
    return offset < package.size() ? package[offset] : -1;
}

/// The name field of an entry that the file ends in: what there is of it lies over the name before.
static std::string CutField(const Bytes& package, size_t entry)
{
    std::string field(32, '\0');
    for (size_t k = 0; k < field.size(); ++k)
    {
        const bool isStale = entry + k >= package.size();
        const int byte = !isStale    ? package[entry + k]
                         : entry > 3 ? ByteAt(package, entry - 40 + k)
                                     : 0;
        field[k] = static_cast<char>(byte);
    }
    return field;
}

/// Whether the name and a zero stand in the package at an entry's place, byte by byte.
static bool StandsAt(const Bytes& package, size_t entry, const std::string& name)
{
    for (size_t k = 0; k < name.size(); ++k)
    {
        if (ByteAt(package, entry + k) != static_cast<unsigned char>(name[k]))
        {
            return false;
        }
    }
    return ByteAt(package, entry + name.size()) == 0;
}

/// The numbers of an entry, and the bytes there.
static Lookup TakeEntry(const Bytes& package, size_t entry, const std::string& name,
                        const std::string& printed)
{
    const auto number = [&package, entry](size_t field)
    {
        uint32_t value = 0;
        for (size_t k = 0; k < 4; ++k)
        {
            value =
                value << 8 | static_cast<uint32_t>(std::max(0, ByteAt(package, entry + field + k)));
        }
        return value;
    };
    const uint32_t start = number(32);
    Lookup lookup = {true, static_cast<int32_t>(number(36) + 1 - start), "", printed};
    if (lookup.size < 0)
    {
        FaultList faults = {};
        AddFault(&faults, "package entry \"%s\": its size of %d bytes can't be allocated",
                 name.c_str(), lookup.size);
        return {false, kUntouched, "", printed + FaultText(faults)};
    }
    for (int32_t k = 0; k < lookup.size && lookup.size < kMostCompared; ++k)
    {
        lookup.data += static_cast<char>(std::max(0, ByteAt(package, size_t{start} + k)));
    }
    return lookup;
}

/// The lookup as a walk from the first entry on.
static Lookup Walk(const Bytes& package, const std::string& name)
{
    std::string printed;
    for (size_t entry = 3; !name.empty(); entry += 40)
    {
        const bool isCut = entry + 32 > package.size();
        printed += isCut ? "unexpected error\n" : "";
        const bool isEnd = !isCut && package[entry] == 0;
        const std::string field = isCut ? CutField(package, entry) + "x" : "";
        const bool isName = isCut ? std::string(field.c_str()) == name && field[0] != 0
                                  : StandsAt(package, entry, name);
        if (!isEnd && isName)
        {
            return TakeEntry(package, entry, name, printed);
        }
        if (isEnd || isCut)
        {
            return {false, kUntouched, "", printed + "End of object table reached!\n"};
        }
    }
    return TakeEntry(package, 3, name, "");
}

/// A package of a few entries with names of few letters, of any length, some of them damaged.
static Bytes RandomPackage(std::mt19937* random)
{
    const auto below = [random](uint32_t limit)
    {
        return (*random)() % limit;
    };
    Bytes bytes = {0x44, 0x50, 0x01};
    const uint32_t count = below(6);
    for (uint32_t i = 0; i < count; ++i)
    {
        const size_t length = below(3) == 0 ? 28 + below(5) : 1 + below(4);
        std::string name;
        for (size_t k = 0; k < length; ++k)
        {
            name += static_cast<char>('a' + below(2));
        }
        AppendText(&bytes, name, 32);
        const uint32_t start = below(300);
        const uint32_t end = start + below(20) - 1;
        const bool isText = below(4) == 0;
        for (uint32_t value : {start, end})
        {
            for (int shift = 24; shift >= 0; shift -= 8)
            {
                bytes.push_back(isText ? 'a' : static_cast<uint8_t>(value >> shift));
            }
        }
    }
    bytes.insert(bytes.end(), kTerminator, 0);
    for (uint32_t i = below(60); i > 0; --i)
    {
        bytes.push_back(static_cast<uint8_t>(below(256)));
    }
    for (uint32_t i = below(3); i > 0; --i)
    {
        bytes[below(static_cast<uint32_t>(bytes.size()))] = below(4) != 0 ? 0 : 'a';
    }
    bytes.resize(below(2) == 0 ? bytes.size() : below(static_cast<uint32_t>(bytes.size()) + 1));
    return bytes;
}

/// A name that may be in the package: the text at some entry's place, or close to it.
static std::string RandomName(const Bytes& package, std::mt19937* random)
{
    const size_t entry = 3 + 40 * ((*random)() % 6);
    std::string name;
    while (ByteAt(package, entry + name.size()) > 0)
    {
        name += static_cast<char>(package[entry + name.size()]);
    }
    switch ((*random)() % 4)
    {
    case 0:
        name.resize((*random)() % (name.size() + 1));
        return name;
    case 1:
        return name + static_cast<char>('a' + (*random)() % 2);
    default:
        return name;
    }
}

TEST(PackageDirectory, TheIndexFindsAsAWalkDoes)
{
    std::mt19937 random(1);
    int found = 0;
    for (int i = 0; i < 5000; ++i)
    {
        const Bytes bytes = RandomPackage(&random);
        FaultList faults = {};
        PackageFile package;
        ASSERT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
        for (int k = 0; k < 8; ++k)
        {
            const std::string name = RandomName(bytes, &random);
            const Lookup walked = Walk(bytes, name);
            if (walked.found && walked.size >= kMostCompared)
            {
                continue; // numbers that are no numbers make gigabytes of zeros
            }
            const Lookup lookup = FindIn(&package, name);
            ASSERT_TRUE(lookup == walked) << "package " << i << ", name " << name;
            found += lookup.found ? 1 : 0;
        }
        ClosePackage(&package);
    }
    EXPECT_GT(found, 5000);
}

/// A directory of that many entries with one byte of data each, all at the same place.
static Bytes ManyEntries(uint32_t count, const std::string& prefix)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    for (uint32_t i = 0; i < count; ++i)
    {
        AppendEntry(&bytes, prefix + std::to_string(i), {0, 0, 0, 0, 0, 0, 0, 0});
    }
    bytes.insert(bytes.end(), kTerminator, 0);
    return bytes;
}

/// Seconds of the processor that opening a package and as many lookups take.
static double TimeLookups(const Bytes& bytes, const std::vector<std::string>& names, bool isFound)
{
    const std::clock_t begin = std::clock();
    FaultList faults = {};
    PackageFile package;
    EXPECT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    for (const std::string& name : names)
    {
        int32_t size = 0;
        unsigned char* data = ReadPackageEntry(&package, name.c_str(), &size, &faults);
        EXPECT_EQ(data != nullptr, isFound);
        free(data);
    }
    ClosePackage(&package);
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

// A walk for each name took hours. Other programs of a busy machine do not count, and the limits
// leave room for sanitizers.
static constexpr double kMostSeconds = 60.0;

TEST(PackageDirectory, EveryNameOf60000IsFoundInTime)
{
    std::vector<std::string> names;
    for (uint32_t i = 0; i < 60000; ++i)
    {
        names.push_back("n" + std::to_string(i));
    }
    EXPECT_LT(TimeLookups(ManyEntries(60000, "n"), names, true), kMostSeconds);
}

TEST(PackageDirectory, LookupsAfter300000EntriesTakeNoLonger)
{
    const std::vector<std::string> names(300000, "n299999");
    EXPECT_LT(TimeLookups(ManyEntries(300000, "n"), names, true), kMostSeconds);
    const std::vector<std::string> missing(300000, "missing");
    EXPECT_LT(TimeLookups(ManyEntries(300000, "n"), missing, false), kMostSeconds);
}

TEST(PackageDirectory, EntriesWithOneNameTakeNoLonger)
{
    Bytes twins = {0x44, 0x50, 0x01};
    for (int i = 0; i < 300000; ++i)
    {
        AppendEntry(&twins, "twin", {0, 0, 0, 0, 0, 0, 0, 0});
    }
    twins.insert(twins.end(), kTerminator, 0);
    EXPECT_LT(TimeLookups(twins, std::vector<std::string>(10000, "twin"), true), kMostSeconds);

    // Each name runs on to the end of the directory.
    Bytes running(3 + 300000 * 40, 'a');
    running.insert(running.end(), kTerminator, 0);
    EXPECT_LT(TimeLookups(running, std::vector<std::string>(100, std::string(99999, 'a')), false),
              kMostSeconds);
}

TEST(PackageDirectory, MoreThanAMillionEntriesAreAFault)
{
    Bytes bytes(3 + 40 * 1000000, 'a');
    bytes.push_back(0);
    FaultList faults = {};
    PackageFile package;
    EXPECT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    ClosePackage(&package);

    bytes.back() = 'a';
    EXPECT_FALSE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    EXPECT_EQ(FaultText(faults),
              "quorvale: the package's directory has more than 1000000 entries\n");
    FreeFaults(&faults);
}

// ---- Files that are no package

TEST(OpenPackage, AMissingFileIsAFault)
{
    FaultList faults = {};
    PackageFile package;
    EXPECT_FALSE(OpenPackageFile("/nowhere/p.dpk", &package, &faults));
    EXPECT_EQ(FaultText(faults), "quorvale: /nowhere/p.dpk: No such file or directory\n");
    FreeFaults(&faults);
}

TEST(OpenPackage, APipeIsNoPackageAndHoldsNobodyUp)
{
    TemporaryFolder folder;
    const std::string path = folder.path + "/p.dpk";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    FaultList faults = {};
    PackageFile package;
    EXPECT_FALSE(OpenPackageFile(path.c_str(), &package, &faults));
    EXPECT_EQ(FaultText(faults), "quorvale: " + path + ": it is no regular file\n");
    FreeFaults(&faults);
}

TEST(OpenPackage, ADeviceIsNoPackage)
{
    FaultList faults = {};
    PackageFile package;
    EXPECT_FALSE(OpenPackageFile("/dev/zero", &package, &faults));
    EXPECT_EQ(FaultText(faults), "quorvale: /dev/zero: it is no regular file\n");
    FreeFaults(&faults);
}

TEST(OpenPackage, ClosingARecordOfZerosIsAllowed)
{
    PackageFile package = {};
    ClosePackage(&package);
    EXPECT_FALSE(package.isFile);
}

TEST(OpenPackage, TheNameOnALineIsPlain)
{
    TemporaryFolder folder;
    FaultList faults = {};
    PackageFile package;
    EXPECT_FALSE(OpenPackageFile("no\n\x1B[2J\xC2\x9B\xFF.dpk", &package, &faults));
    EXPECT_EQ(FaultText(faults),
              "quorvale: no\\x0A\\x1B[2J\\xC2\\x9B\\xFF.dpk: No such file or directory\n");
    FreeFaults(&faults);
}

// A folder of its own as the working directory.
class FindPackageTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        previous = fs::current_path();
        fs::current_path(folder.path);
    }

    void TearDown() override
    {
        fs::current_path(previous);
    }

    void Write(const char* name, const char* text) const
    {
        folder.Write(name, text);
    }

    /// The first 64 bytes of the package that FindPackage opened, "(null)" for none.
    static std::string Found(std::string* printed)
    {
        FaultList faults = {};
        PackageFile package = {};
        testing::internal::CaptureStdout();
        const bool isFound = FindPackage(&package, &faults);
        *printed = testing::internal::GetCapturedStdout() + FaultText(faults);
        FreeFaults(&faults);
        if (!isFound)
        {
            return "(null)";
        }
        char text[64] = {};
        const ssize_t got = pread(package.file, text, sizeof text, 0);
        ClosePackage(&package);
        return std::string(text, static_cast<size_t>(got));
    }

    TemporaryFolder folder;
    fs::path previous;
};

TEST_F(FindPackageTest, TakesTheFileThatEndsInThreeLetters)
{
    Write("piece.dpk", "here");
    Write("other.txt", "no");
    std::string printed;
    EXPECT_EQ(Found(&printed), "here");
    EXPECT_EQ(printed, "Found piece.dpk.\n");
}

TEST_F(FindPackageTest, NeedsNoDot)
{
    Write("piecedpk", "here");
    std::string printed;
    EXPECT_EQ(Found(&printed), "here");
    EXPECT_EQ(printed, "Found piecedpk.\n");
}

TEST_F(FindPackageTest, TakesANameOfTheThreeLettersAlone)
{
    Write("dpk", "here");
    std::string printed;
    EXPECT_EQ(Found(&printed), "here");
}

TEST_F(FindPackageTest, IsCaseSensitive)
{
    Write("piece.DPK", "no");
    Write("a", "short names are no trouble");
    std::string printed;
    EXPECT_EQ(Found(&printed), "(null)");
    EXPECT_EQ(printed, "Sux... no dpk file.\n");
}

/// The order in which the working directory is read, instead of its own; empty for that.
static std::vector<std::string> OwnOrder;

extern "C" dirent* __real_readdir(DIR* directory);

/// In the place of the C library's, for what the test program links statically.
extern "C" dirent* __wrap_readdir(DIR* directory)
{
    static dirent item;
    if (OwnOrder.empty())
    {
        return __real_readdir(directory);
    }
    snprintf(item.d_name, sizeof(item.d_name), "%s", OwnOrder.front().c_str());
    OwnOrder.erase(OwnOrder.begin());
    return &item;
}

TEST_F(FindPackageTest, TakesTheFirstThatTheDirectoryGives)
{
    Write("one.dpk", "one.dpk");
    Write("two.dpk", "two.dpk");
    for (const std::string first : {"one.dpk", "two.dpk"})
    {
        OwnOrder = {".", first, "one.dpk", "two.dpk"};
        std::string printed;
        EXPECT_EQ(Found(&printed), first);
        EXPECT_EQ(printed, "Found " + first + ".\n");
        EXPECT_EQ(OwnOrder.size(), 2u); // nothing was read after it
    }
    OwnOrder.clear();
}

TEST_F(FindPackageTest, TakesAFolderOfThatNameToo)
{
    fs::create_directory("folder.dpk");
    FaultList faults = {};
    PackageFile package;
    testing::internal::CaptureStdout();
    ASSERT_TRUE(FindPackage(&package, &faults));
    int32_t size = 0;
    EXPECT_EQ(ReadPackageEntry(&package, "demo.xmlz", &size, &faults), nullptr);
    PrintLookupLines(&package);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Found folder.dpk.\nunexpected error\nEnd of object table reached!\n");
    EXPECT_FALSE(HasFailed(&faults));
    ClosePackage(&package);
}

TEST_F(FindPackageTest, LeavesNothingOpenButThePackage)
{
    Write("piece.dpk", "here");
    auto openFiles = []
    {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    testing::internal::CaptureStdout();
    std::ptrdiff_t before = openFiles();
    FaultList faults = {};
    PackageFile package;
    EXPECT_TRUE(FindPackage(&package, &faults));
    EXPECT_EQ(openFiles(), before + 1);
    ClosePackage(&package);
    EXPECT_EQ(openFiles(), before);
    testing::internal::GetCapturedStdout();
}

TEST_F(FindPackageTest, AFileThatCannotBeOpenedIsAFault)
{
    fs::create_symlink("nowhere", "broken.dpk");
    std::string printed;
    EXPECT_EQ(Found(&printed), "(null)");
    EXPECT_EQ(printed, "Found broken.dpk.\nquorvale: broken.dpk: No such file or directory\n");
}

TEST_F(FindPackageTest, APipeIsAFaultAndHoldsNobodyUp)
{
    ASSERT_EQ(mkfifo("pipe.dpk", 0600), 0);
    std::string printed;
    EXPECT_EQ(Found(&printed), "(null)");
    EXPECT_EQ(printed, "Found pipe.dpk.\nquorvale: pipe.dpk: it is no regular file\n");
}

TEST_F(FindPackageTest, PrintsTheNamePlainly)
{
    Write("a\x1b\xC2\x9B.dpk", "here");
    std::string printed;
    EXPECT_EQ(Found(&printed), "here");
    EXPECT_EQ(printed, "Found a\\x1B\\xC2\\x9B.dpk.\n");
}

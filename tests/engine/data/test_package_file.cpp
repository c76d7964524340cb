#include "engine/data/package_file.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "engine/data/fault.h"
#include "support/byte_file.h"
#include "support/temporary_folder.h"

namespace fs = std::filesystem;

/// What one lookup gave and printed.
struct Lookup
{
    bool found;
    int32_t size;
    std::string data;
    std::string printed;
};

static constexpr int32_t kUntouched = 12345;

static Lookup Find(const Bytes& package, const char* name)
{
    FILE* stream = OpenBytes(package);
    Lookup lookup = {false, kUntouched, "", ""};
    testing::internal::CaptureStdout();
    unsigned char* data = ReadPackageEntry(stream, name, &lookup.size);
    lookup.printed = testing::internal::GetCapturedStdout();
    if (data != nullptr)
    {
        lookup.found = true;
        lookup.data.assign(reinterpret_cast<char*>(data), static_cast<size_t>(lookup.size));
        free(data);
    }
    fclose(stream);
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

TEST(PackageFile, DirectoryOrderHasNoGaps)
{
    Bytes bytes = ThreeEntries();
    EXPECT_EQ(bytes[3 + 32 + 3], 35 + 40 * 3);                         // first start
    EXPECT_EQ(bytes[3 + 80 + 32 + 3], bytes[3 + 40 + 32 + 4 + 3] + 1); // third start
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

TEST(PackageFile, NamesLongerThanAnEntryEndSomewhere)
{
    Lookup lookup = Find(ThreeEntries(), std::string(300, 'f').c_str());
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

TEST(PackageFile, PaddingBehindTheEntryIsReadable)
{
    FILE* stream = OpenBytes(ThreeEntries());
    int32_t size = 0;
    unsigned char* data = ReadPackageEntry(stream, "first", &size);
    EXPECT_EQ(memcmp(data, "one\0\0\0\0", 7), 0);
    free(data);
    fclose(stream);
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

TEST(PackageFile, ATruncatedNameFieldStillCompares)
{
    Bytes bytes = ThreeEntries();
    bytes.resize(3 + 40 + 6); // "empty" and its zero are there, start and end are not
    Lookup lookup = Find(bytes, "empty");
    EXPECT_TRUE(lookup.found); // start and end read as 0: one byte, the first of the file
    EXPECT_EQ(lookup.data, "D");
    EXPECT_EQ(lookup.printed, "unexpected error\n");
}

TEST(PackageFileDeathTest, ASizeThatCannotBeAllocatedIsFatal)
{
    Bytes bytes = ThreeEntries();
    bytes[3 + 36] = 0x90; // end 0x9000009d: 2415918979 bytes, negative as a signed size
    EXPECT_EXIT(Find(bytes, "first"), testing::ExitedWithCode(1),
                "package entry \"first\": its size of -[0-9]+ bytes can't be allocated");
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

    /// The whole of the file that FindPackage opened, "(null)" for none.
    static std::string Found(std::string* printed)
    {
        testing::internal::CaptureStdout();
        FILE* stream = FindPackage();
        *printed = testing::internal::GetCapturedStdout();
        if (stream == nullptr)
        {
            return "(null)";
        }
        char text[64] = {};
        size_t got = fread(text, 1, sizeof text, stream);
        fclose(stream);
        return std::string(text, got);
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

TEST_F(FindPackageTest, TakesTheFirstThatTheDirectoryGives)
{
    Write("one.dpk", "one.dpk");
    Write("two.dpk", "two.dpk");
    std::string first;
    for (const fs::directory_entry& entry : fs::directory_iterator(".")) // readdir's own order
    {
        first = entry.path().filename();
        break;
    }
    std::string printed;
    EXPECT_EQ(Found(&printed), first);
    EXPECT_EQ(printed, "Found " + first + ".\n");
}

TEST_F(FindPackageTest, TakesAFolderOfThatNameToo)
{
    fs::create_directory("folder.dpk");
    testing::internal::CaptureStdout();
    FILE* stream = FindPackage();
    ASSERT_NE(stream, nullptr);
    int32_t size = 0;
    EXPECT_EQ(ReadPackageEntry(stream, "demo.xmlz", &size), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Found folder.dpk.\nunexpected error\nEnd of object table reached!\n");
    fclose(stream);
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
    FILE* stream = FindPackage();
    EXPECT_EQ(openFiles(), before + 1);
    fclose(stream);
    testing::internal::GetCapturedStdout();
}

TEST_F(FindPackageTest, AFileThatCannotBeOpenedGivesNull)
{
    fs::create_symlink("nowhere", "broken.dpk");
    std::string printed;
    testing::internal::CaptureStderr();
    EXPECT_EQ(Found(&printed), "(null)");
    EXPECT_EQ(printed, "Found broken.dpk.\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "quorvale: broken.dpk: No such file or directory\n");
}

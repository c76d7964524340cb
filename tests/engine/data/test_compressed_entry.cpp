#include "engine/data/compressed_entry.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/byte_file.h"

/// zlib's "hello hello hello" at level 9, spelled out.
static const Bytes kHelloStream = {0x78, 0xda, 0xcb, 0x48, 0xcd, 0xc9, 0xc9, 0x57,
                                   0xc8, 0x40, 0x90, 0x00, 0x3a, 0x2e, 0x06, 0x7d};
static const std::string kHello = "hello hello hello"; // 17 bytes

/// A package with the one entry "e": its data starts at 35 + 40 = 75.
static Bytes PackageOf(const Bytes& entry)
{
    Bytes bytes = {0x44, 0x50, 0x01};
    AppendText(&bytes, "e", 32);
    AppendBytes(&bytes, {0, 0, 0, 75, 0, 0, 0, static_cast<uint8_t>(74 + entry.size())});
    bytes.insert(bytes.end(), 32, 0);
    AppendBytes(&bytes, entry);
    return bytes;
}

static Bytes Container(const Bytes& sizeWord, const Bytes& stream)
{
    Bytes entry = sizeWord;
    AppendBytes(&entry, stream);
    return entry;
}

static InflatedEntry Inflate(const Bytes& container, uint32_t lead = 0)
{
    InflatedEntry entry = {};
    FILE* package = OpenBytes(PackageOf(container));
    EXPECT_TRUE(InflatePackageEntry(package, "e", lead, &entry));
    fclose(package);
    return entry;
}

TEST(CompressedEntry, TheSizeWordIsLittleEndian)
{
    InflatedEntry entry = Inflate(Container({17, 0, 0, 0}, kHelloStream));
    EXPECT_EQ(entry.storedSize, 17u);
    EXPECT_EQ(entry.length, 17u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(entry.data), entry.length), kHello);
    FreeInflatedEntry(&entry);
    EXPECT_EQ(entry.block, nullptr);
}

TEST(CompressedEntry, ASizeWordThatIsTooSmallCutsTheData)
{
    InflatedEntry entry = Inflate(Container({5, 0, 0, 0}, kHelloStream));
    EXPECT_EQ(entry.length, 5u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(entry.data), entry.length), "hello");
    FreeInflatedEntry(&entry);

    entry = Inflate(Container({0, 0, 0, 0}, kHelloStream));
    EXPECT_EQ(entry.storedSize, 0u);
    EXPECT_EQ(entry.length, 0u);
    FreeInflatedEntry(&entry);
}

TEST(CompressedEntry, ASizeWordThatIsTooLargeLeavesZeros)
{
    InflatedEntry entry = Inflate(Container({0, 1, 0, 0}, kHelloStream));
    EXPECT_EQ(entry.storedSize, 256u);
    EXPECT_EQ(entry.length, 17u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(entry.data), 256),
              kHello + std::string(239, '\0'));
    FreeInflatedEntry(&entry);
}

TEST(CompressedEntry, TheSourceCountsTheSizeWordThatItDoesNotHold)
{
    // The byte 0xff, stored, and its checksum 0x01000100. The last zero is cut off, and the padding
    // behind the entry stands in for it. The size word is one more, or the data would pass as cut.
    const Bytes stream = {0x78, 0x01, 0x01, 0x01, 0x00, 0xfe, 0xff, 0xff, 0x01, 0x00, 0x01};
    InflatedEntry entry = Inflate(Container({2, 0, 0, 0}, stream));
    EXPECT_EQ(entry.length, 1u);
    EXPECT_EQ(entry.data[0], 0xff);
    FreeInflatedEntry(&entry);
}

TEST(CompressedEntry, TheLeadFallsOnA16ByteBoundary)
{
    for (uint32_t lead : {0u, 1u, 5u, 15u, 16u, 21u})
    {
        InflatedEntry entry = Inflate(Container({17, 0, 0, 0}, kHelloStream), lead);
        EXPECT_EQ((reinterpret_cast<uintptr_t>(entry.data) + lead) % 16, 0u) << lead;
        EXPECT_EQ(memcmp(entry.data, kHello.data(), 17), 0);
        FreeInflatedEntry(&entry);
    }
}

TEST(CompressedEntry, AMissingEntryIsReportedToTheCaller)
{
    FILE* package = OpenBytes(PackageOf({}));
    InflatedEntry entry = {};
    testing::internal::CaptureStdout();
    EXPECT_FALSE(InflatePackageEntry(package, "other", 0, &entry));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "End of object table reached!\n");
    EXPECT_EQ(entry.block, nullptr);
    fclose(package);
}

TEST(CompressedEntryDeathTest, AStreamThatDoesNotInflateIsFatal)
{
    const char* line = "quorvale: \"e\" does not inflate: its data is damaged";
    Bytes damaged = kHelloStream;
    damaged[5] ^= 0xff;
    EXPECT_EXIT(Inflate(Container({17, 0, 0, 0}, damaged)), testing::ExitedWithCode(1), line);

    Bytes brokenOff(kHelloStream.begin(), kHelloStream.begin() + 9);
    EXPECT_EXIT(Inflate(Container({17, 0, 0, 0}, brokenOff)), testing::ExitedWithCode(1), line);

    EXPECT_EXIT(Inflate(Container({17, 0, 0, 0}, {})), testing::ExitedWithCode(1), line);
    EXPECT_EXIT(Inflate({17}), testing::ExitedWithCode(1), line);
}

TEST(CompressedEntryDeathTest, ASizeThatNoPieceNeedsIsFatal)
{
    EXPECT_EXIT(Inflate(Container({1, 0, 0, 0x40}, kHelloStream)), testing::ExitedWithCode(1),
                "\"e\": its size of 1073741825 bytes can't be allocated");
    InflatedEntry entry = Inflate(Container({0, 0, 0, 0x04}, kHelloStream)); // 64 MiB of zeros
    EXPECT_EQ(entry.storedSize, 67108864u);
    FreeInflatedEntry(&entry);
}

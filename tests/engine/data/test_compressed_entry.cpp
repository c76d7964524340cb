// SPDX-License-Identifier: MIT
#include "engine/data/compressed_entry.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/byte_file.h"
#include "support/fault_text.h"

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

/// An entry that was asked for, and what there was to say.
struct Inflation
{
    bool isMade;
    InflatedEntry entry;
    std::string printed;
    uint64_t taken; // bytes of the package's budget
};

static Inflation TryInflate(const Bytes& container, const char* name = "e", uint32_t lead = 0,
                            uint32_t most = kLargestInflatedSize)
{
    const Bytes bytes = PackageOf(container);
    Inflation inflation = {};
    FaultList faults = {};
    PackageFile package;
    EXPECT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    const uint64_t budget = package.budget.bytesLeft;
    inflation.isMade = InflatePackageEntry(&package, name, lead, most, &inflation.entry, &faults);
    inflation.printed = FaultText(faults);
    inflation.taken = budget - package.budget.bytesLeft;
    FreeFaults(&faults);
    ClosePackage(&package);
    return inflation;
}

static InflatedEntry Inflate(const Bytes& container, uint32_t lead = 0)
{
    const Inflation inflation = TryInflate(container, "e", lead);
    EXPECT_TRUE(inflation.isMade) << inflation.printed;
    return inflation.entry;
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
    // after the entry stands in for it. The size word is one more, or the data would pass as cut.
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

TEST(CompressedEntry, AMissingEntryIsNoFault)
{
    const Inflation inflation = TryInflate({}, "other");
    EXPECT_FALSE(inflation.isMade);
    EXPECT_EQ(inflation.printed, "");
    EXPECT_EQ(inflation.entry.block, nullptr);
    EXPECT_EQ(inflation.taken, 0u);
}

/// The text that a container gives, zeros included.
static std::string Content(const Bytes& container)
{
    InflatedEntry entry = Inflate(container);
    const std::string content(reinterpret_cast<char*>(entry.data), entry.storedSize);
    EXPECT_EQ(content.substr(entry.length), std::string(entry.storedSize - entry.length, '\0'));
    FreeInflatedEntry(&entry);
    return content;
}

TEST(CompressedEntry, AStreamWithAWrongChecksumGivesAllItsData)
{
    Bytes damaged = kHelloStream;
    damaged.back() ^= 0xff;
    EXPECT_EQ(Content(Container({17, 0, 0, 0}, damaged)), kHello);
}

TEST(CompressedEntry, ADamagedStreamGivesWhatComesBefore)
{
    const Bytes brokenOff(kHelloStream.begin(), kHelloStream.begin() + 9);
    EXPECT_EQ(Content(Container({17, 0, 0, 0}, brokenOff)), "hello h" + std::string(10, '\0'));

    Bytes header = kHelloStream;
    header[0] = 0; // no stream at all
    EXPECT_EQ(Content(Container({17, 0, 0, 0}, header)), std::string(17, '\0'));
    EXPECT_EQ(Content(Container({17, 0, 0, 0}, {})), std::string(17, '\0'));
    EXPECT_EQ(Content({17}), std::string(17, '\0'));
}

TEST(CompressedEntry, ASizeThatNoPieceNeedsIsAFault)
{
    const Inflation inflation = TryInflate(Container({1, 0, 0, 0x40}, kHelloStream));
    EXPECT_EQ(inflation.printed,
              "quorvale: \"e\": its size of 1073741825 bytes can't be allocated\n");
    EXPECT_EQ(inflation.taken, 0u);
    InflatedEntry entry = Inflate(Container({0, 0, 0, 0x04}, kHelloStream)); // 64 MiB of zeros
    EXPECT_EQ(entry.storedSize, 67108864u);
    FreeInflatedEntry(&entry);
}

TEST(CompressedEntry, TheStreamIsReadNoFurtherThanAsked)
{
    Inflation inflation = TryInflate(Container({17, 0, 0, 0}, kHelloStream), "e", 0, 5);
    EXPECT_TRUE(inflation.isMade);
    EXPECT_EQ(inflation.entry.storedSize, 17u);
    EXPECT_EQ(inflation.entry.length, 5u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(inflation.entry.data), 17),
              "hello" + std::string(12, '\0'));
    FreeInflatedEntry(&inflation.entry);
}

TEST(CompressedEntry, AllEntriesOfAPackageShareABudget)
{
    const Bytes bytes = PackageOf(Container({0, 0, 0, 0x08}, kHelloStream)); // 128 MiB
    FaultList faults = {};
    PackageFile package;
    ASSERT_TRUE(OpenPackageMemory(bytes.data(), bytes.size(), &package, &faults));
    EXPECT_EQ(package.budget.bytesLeft, (256u << 20) + 64 * bytes.size());
    InflatedEntry entries[3] = {};
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(
            InflatePackageEntry(&package, "e", 0, kLargestInflatedSize, &entries[i], &faults));
    }
    EXPECT_EQ(package.budget.bytesLeft, 64 * bytes.size());
    EXPECT_FALSE(InflatePackageEntry(&package, "e", 0, kLargestInflatedSize, &entries[2], &faults));
    EXPECT_EQ(FaultText(faults), "quorvale: a package of this size may not take so much memory\n");
    FreeFaults(&faults);

    FreeInflatedEntry(&entries[0]);
    ReturnToBudget(&package.budget, entries[0].taken);
    EXPECT_TRUE(InflatePackageEntry(&package, "e", 0, kLargestInflatedSize, &entries[2], &faults));
    FreeInflatedEntry(&entries[1]);
    FreeInflatedEntry(&entries[2]);
    ClosePackage(&package);
}

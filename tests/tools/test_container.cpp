// SPDX-License-Identifier: MIT
#include "tools/container.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <zlib.h>

#include "support/package_builder.h"
#include "tools/dpk_run.h"

static Bytes BytesOf(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

TEST(Container, IsTheSizeWordAndAStreamOfLevel9)
{
    Bytes container;
    ASSERT_TRUE(PackContainer(BytesOf(std::string(258, 'a')), &container));
    ASSERT_GT(container.size(), 6u);
    EXPECT_EQ(container[0], 2); // 258, little-endian
    EXPECT_EQ(container[1], 1);
    EXPECT_EQ(container[2], 0);
    EXPECT_EQ(container[3], 0);
    EXPECT_EQ(container[4], 0x78); // zlib, window of 32 KiB
    EXPECT_EQ(container[5], 0xDA); // the highest level

    char data[300];
    uLongf length = sizeof(data);
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(data), &length, container.data() + 4,
                         container.size() - 4),
              Z_OK);
    EXPECT_EQ(std::string(data, length), std::string(258, 'a'));
}

TEST(Container, UnpacksWhatItPacked)
{
    for (size_t size : {0u, 1u, 65535u, 65536u, 65537u, 200000u})
    {
        Bytes data(size);
        for (size_t i = 0; i < size; ++i)
        {
            data[i] = static_cast<unsigned char>(i * i >> 3);
        }
        Bytes container;
        Bytes unpacked;
        ASSERT_TRUE(PackContainer(data, &container));
        EXPECT_EQ(UnpackContainer(container, &unpacked), nullptr);
        EXPECT_EQ(unpacked, data) << size;
        uint64_t measured = 1;
        EXPECT_EQ(MeasureContainer(container, &measured), nullptr);
        EXPECT_EQ(measured, size);
        ASSERT_TRUE(PackQuickContainer(data, &container));
        EXPECT_EQ(UnpackContainer(container, &unpacked), nullptr);
        EXPECT_EQ(unpacked, data) << size;
    }
}

TEST(Container, IsMeasuredWithoutTheMemoryOfItsData)
{
    const std::string text = MakeContainer(std::string(200 << 20, '\0'));
    const Bytes container = BytesOf(text);
    EXPECT_EXIT(
        {
            rusage before = {};
            getrusage(RUSAGE_SELF, &before);
            uint64_t size = 0;
            const char* fault = MeasureContainer(container, &size);
            rusage after = {};
            getrusage(RUSAGE_SELF, &after);
            const bool isSmall = after.ru_maxrss - before.ru_maxrss < 20000; // kB
            _exit(fault == nullptr && size == 200u << 20 && isSmall ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Container, SaysWhatIsWrong)
{
    std::string whole = MakeContainer("some text");
    std::string wrongSum = whole;
    wrongSum.back() = static_cast<char>(wrongSum.back() + 1);
    const struct
    {
        std::string bytes;
        const char* fault;
    } cases[] = {
        {"", "shorter than its size word"},
        {"abc", "shorter than its size word"},
        {Raw("\0\0\0\0"), "the compressed data is damaged"},
        {"\x09" + Raw("\0\0\0") + "no stream", "the compressed data is damaged"},
        {whole.substr(0, whole.size() - 1), "the compressed data is damaged"},
        {wrongSum, "the compressed data is damaged"},
        {"\x08" + whole.substr(1), "its size word is not the size of its data"},
        {"\x0A" + whole.substr(1), "its size word is not the size of its data"},
        {"\xFF\xFF\xFF\xFF" + whole.substr(4), "its size word is not the size of its data"},
    };
    for (const auto& c : cases)
    {
        Bytes data;
        EXPECT_STREQ(UnpackContainer(BytesOf(c.bytes), &data), c.fault) << c.bytes.size();
    }
}

TEST(Container, BytesBehindTheStreamDoNotMatter)
{
    Bytes data;
    EXPECT_EQ(UnpackContainer(BytesOf(MakeContainer("text") + "more"), &data), nullptr);
    EXPECT_EQ(data, BytesOf("text"));
}

/// A container of zeros, without an end: blocks that are independent of each other.
static std::string ZerosInContainer(size_t mebibytes)
{
    z_stream stream = {};
    EXPECT_EQ(deflateInit(&stream, 9), Z_OK);
    std::string container = Raw("\xFF\xFF\xFF\xFF");
    std::vector<unsigned char> zeros(1 << 20);
    std::vector<unsigned char> block(1 << 20);
    std::string repeated;
    for (size_t i = 0; i < 2; ++i) // the first comes with the head of the stream
    {
        stream.next_in = zeros.data();
        stream.avail_in = static_cast<uInt>(zeros.size());
        stream.next_out = block.data();
        stream.avail_out = static_cast<uInt>(block.size());
        EXPECT_EQ(deflate(&stream, Z_FULL_FLUSH), Z_OK);
        repeated.assign(block.begin(), block.end() - stream.avail_out);
        container += repeated;
    }
    deflateEnd(&stream);
    for (size_t i = 2; i < mebibytes; ++i)
    {
        container += repeated;
    }
    return container;
}

TEST(DpkDecompress, UnpacksNoMoreThanReadersTake)
{
    TemporaryFolder folder;
    folder.Write("bomb", ZerosInContainer(1025));
    DpkRun run = RunDpk(folder, {"decompress", "bomb", "out"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: bomb: it holds more than 1 GiB, which no reader takes\n");
    EXPECT_EQ(FilesIn(folder), "bomb");
}

TEST(DpkCompress, PacksNoMoreThanReadersTake)
{
    TemporaryFolder folder;
    folder.Write("large", "");
    ASSERT_EQ(truncate((folder.path + "/large").c_str(), (1L << 30) + 1), 0);
    DpkRun run = RunDpk(folder, {"compress", "large", "out"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: large: larger than 1073741824 bytes\n");
    EXPECT_EQ(FilesIn(folder), "large");
}

TEST(DpkCompress, GoesThereAndBack)
{
    TemporaryFolder folder;
    std::string text = "<?xml version=\"1.0\"?>\n<s0/>\r\n" + Raw("a\0b");
    folder.Write("demo.xml", text);
    DpkRun run = RunDpk(folder, {"compress", "demo.xml", "demo.xmlz"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out + run.err, "");
    Bytes unpacked;
    EXPECT_EQ(UnpackContainer(BytesOf(folder.Read("demo.xmlz")), &unpacked), nullptr);
    EXPECT_EQ(unpacked, BytesOf(text));

    run = RunDpk(folder, {"decompress", "demo.xmlz", "back.xml"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_EQ(folder.Read("back.xml"), text);
    EXPECT_EQ(PermissionsOf(folder, "back.xml"), 0644u);
    EXPECT_EQ(FilesIn(folder), "back.xml demo.xml demo.xmlz");
}

TEST(DpkCompress, GivesTheSameBytesEachTime)
{
    TemporaryFolder folder;
    folder.Write("a", std::string(5000, 'x') + "tail");
    EXPECT_EQ(RunDpk(folder, {"compress", "a", "one"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"compress", "a", "two"}).exitCode, 0);
    EXPECT_EQ(folder.Read("one"), folder.Read("two"));
}

TEST(DpkCompress, MayReplaceItsSource)
{
    TemporaryFolder folder;
    folder.Write("a", "text");
    EXPECT_EQ(RunDpk(folder, {"compress", "--force", "a", "a"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"decompress", "--force", "a", "a"}).exitCode, 0);
    EXPECT_EQ(folder.Read("a"), "text");
}

TEST(DpkDecompress, LeavesTheOldFileWhenItFails)
{
    TemporaryFolder folder;
    folder.Write("bad", "\x09" + Raw("\0\0\0") + "no stream");
    folder.Write("out", "old");
    DpkRun run = RunDpk(folder, {"decompress", "--force", "bad", "out"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: bad: the compressed data is damaged\n");

    run = RunDpk(folder, {"decompress", "--force", "nowhere", "out"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: nowhere: No such file or directory\n");

    folder.Write("good", MakeContainer(std::string(500, 'x')));
    DpkSurroundings tight = kOrdinary;
    tight.fileSizeLimit = 100;
    run = RunDpk(folder, {"decompress", "--force", "good", "out"}, tight);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: out: File too large\n");

    EXPECT_EQ(folder.Read("out"), "old");
    EXPECT_EQ(FilesIn(folder), "bad good out");
}

TEST(Container, SizesThatItCantHaveAreTold)
{
    static constexpr size_t kMost = size_t{1} << 30;
    EXPECT_TRUE(FitsContainer(0));
    EXPECT_TRUE(FitsContainer(kMost));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(FitsContainer(kMost + 1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "dpk: data of 1073741825 bytes is too large for a container\n");

    EXPECT_STREQ(ContainerSizeFault(3), "shorter than its size word");
    EXPECT_EQ(ContainerSizeFault(4), nullptr);
    EXPECT_EQ(ContainerSizeFault(kMost + (1 << 20)), nullptr);
    EXPECT_STREQ(ContainerSizeFault(kMost + (1 << 20) + 1), "too large for a container");
}

// Sanitizers keep memory of their own, which a limit would count.
TEST(DpkCompress, EndsWithALineWithoutMemory)
{
    TemporaryFolder folder;
    folder.Write("large", "");
    ASSERT_EQ(truncate((folder.path + "/large").c_str(), 600 << 20), 0);
    DpkSurroundings tight = kOrdinary;
    tight.memoryLimit = 300 << 20;
    const DpkRun run = RunDpk(folder, {"compress", "large", "out"}, tight);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: out of memory\n");
    EXPECT_EQ(FilesIn(folder), "large");
}

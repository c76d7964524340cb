// SPDX-License-Identifier: MIT

// Memory that runs out at each allocation in turn, over all that the room reads and writes.

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "engine/data/model_data.h"
#include "engine/data/package_tools.h"
#include "support/failing_memory.h"
#include "support/package_builder.h"
#include "support/temporary_folder.h"

/// A record with a block of its own.
struct Block
{
    char* bytes; // owned
};

static bool ReadBlock(const TiXmlElement* /*item*/, void* record, uint32_t /*index*/,
                      ReadContext* context)
{
    char* bytes = static_cast<char*>(malloc(10));
    static_cast<Block*>(record)->bytes = bytes;
    if (bytes == nullptr)
    {
        AddFault(context->faults, "no memory for a block");
    }
    return bytes != nullptr;
}

static void FreeBlock(void* record)
{
    free(static_cast<Block*>(record)->bytes);
}

static constexpr SectionReader kReaders[kSectionCount] = {
    {},
    {&DemoDocument::textures, sizeof(Block), 0, nullptr, ReadBlock, nullptr, FreeBlock},
    {&DemoDocument::models, sizeof(ModelData), 0, nullptr, ReadModelItem, nullptr, FreeModel},
    {&DemoDocument::envelopes, sizeof(Block), 0, nullptr, ReadBlock, nullptr, FreeBlock},
};

/// A package with a document of both kinds of records and its model.
static std::string MakePiece()
{
    ModelSource triangle;
    triangle.vertices.assign(9, 1.0f);
    triangle.texCoords.assign(1, std::vector<float>(6, 0.5f));
    triangle.normals.assign(9, 0.0f);
    triangle.indices = {0, 1, 2};
    DocumentSource document;
    document.sections[1] = "<t/><t/>";
    document.sections[2] = "<m filename=\"triangle\"/><m filename=\"triangle\"/>";
    document.sections[3] = "<e/><e name=\"a value that is longer than a small string\"/>";
    document.music = "<m file=\"a.xm\"/>";
    return MakePackage({{"demo.xmlz", MakeDocument(document)}, {"triangle", MakeModel(triangle)}});
}

/// Reads the document of an open package.
static bool ReadDocument(PackageFile* package, DemoDocument* document, FaultList* faults)
{
    if (!LoadDocument(package, document, faults))
    {
        return false;
    }
    ReadContext context = {};
    context.document = document;
    context.package = package;
    context.faults = faults;
    return ReadSections(kReaders, &context);
}

/// @return whether there is either a document or a fault
static bool TryDocument(PackageFile* package, FaultList* faults)
{
    DemoDocument document = {};
    document.name = "demo.xmlz";
    const bool isRead = ReadDocument(package, &document, faults);
    const bool isRight = isRead != HasFailed(faults) && faults->errorCount <= 1 &&
                         (!isRead || document.models->count == 2);
    FreeDocument(kReaders, &document);
    return isRight;
}

TEST(DataMemory, APieceIsReadOrThereIsAFault)
{
    const std::string bytes = MakePiece();
    RunOutOfMemory(
        [&bytes]
        {
            FaultList faults = {};
            PackageFile package;
            const bool isOpen =
                OpenPackageMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                  bytes.size(), &package, &faults);
            const bool isRight = isOpen ? TryDocument(&package, &faults) : HasFailed(&faults);
            if (isOpen)
            {
                ClosePackage(&package);
            }
            FreeFaults(&faults);
            return isRight;
        });
}

/// @return the number that the next file to be opened gets
static int NextDescriptor()
{
    const int next = dup(STDERR_FILENO);
    close(next);
    return next;
}

TEST(DataMemory, APackageFileIsOpenedOrThereIsAFault)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePiece());
    const std::string path = folder.path + "/p.dpk";
    const int next = NextDescriptor();
    RunOutOfMemory(
        [&path, next]
        {
            FaultList faults = {};
            PackageFile package;
            const bool isOpen = OpenPackageFile(path.c_str(), &package, &faults);
            const bool isRight = isOpen != HasFailed(&faults);
            if (isOpen)
            {
                ClosePackage(&package);
            }
            FreeFaults(&faults);
            return isRight && NextDescriptor() == next;
        });
}

TEST(DataMemory, APackageThatIsRefusedLeavesNothing)
{
    // Its directory is read, and then it has more entries than there may be.
    std::string bytes(3, '\0');
    bytes.resize(3 + 40 * (size_t{kMostPackageEntries} + 1), 'a');
    TemporaryFolder folder;
    folder.Write("p.dpk", bytes);
    const std::string path = folder.path + "/p.dpk";
    const int next = NextDescriptor();
    const int64_t blocks = LiveBlocks();
    FaultList faults = {};
    PackageFile package;
    const bool isOpen = OpenPackageFile(path.c_str(), &package, &faults) ||
                        OpenPackageMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                          bytes.size(), &package, &faults);
    const uint32_t count = faults.errorCount;
    FreeFaults(&faults);
    const int64_t left = LiveBlocks() - blocks;
    EXPECT_FALSE(isOpen);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(NextDescriptor(), next);
}

TEST(DataMemory, AFaultThatFindsNoRoomStillCounts)
{
    RunOutOfMemory(
        []
        {
            FaultList faults = {};
            for (int i = 0; i < 20; ++i)
            {
                AddFault(&faults, "fault %d", i);
            }
            const bool isRight = faults.errorCount == 20 && faults.count >= 1 &&
                                 strcmp(GetFault(&faults, 0)->text, "fault 0") == 0;
            FreeFaults(&faults);
            return isRight;
        });
}

/// Writes a package of an entry from a package and one from the disk, and unpacks it.
static bool TryTools(PackageFile* package, const std::string& folder, const std::string& out,
                     FaultList* faults)
{
    PendingEntry* list = ReadPackageDirectory(package, faults);
    if (list == nullptr)
    {
        return false;
    }
    char* name = static_cast<char*>(malloc(2));
    char* sourceDir = static_cast<char*>(malloc(folder.size() + 1));
    if (name == nullptr || sourceDir == nullptr)
    {
        AddError(faults, "no memory for the test");
        free(name);
        free(sourceDir);
        FreePendingList(list);
        return false;
    }
    memcpy(name, "n", 2);
    memcpy(sourceDir, folder.c_str(), folder.size() + 1);
    bool isWhole = AppendPendingEntry(list, name, sourceDir) != nullptr;
    if (!isWhole)
    {
        AddError(faults, "no memory for an entry");
    }
    isWhole = isWhole && WritePackageCopy(list, out.c_str(), package, faults) &&
              ExtractPendingEntries(list, package, out.c_str(), faults);
    FreePendingList(list);
    return isWhole;
}

TEST(DataMemory, ToolsWriteAllOrAddAFault)
{
    TemporaryFolder folder;
    folder.Write("n", "new");
    const std::string prefix = folder.path + "/";
    const std::string out = prefix + "out";
    const std::string bytes = MakePackage({{"a", "first"}, {"b", std::string(1000, 'b')}});
    FaultList faults = {};
    PackageFile package;
    ASSERT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                  bytes.size(), &package, &faults));
    RunOutOfMemory(
        [&]
        {
            FaultList ownFaults = {};
            const bool isWhole = TryTools(&package, prefix, out, &ownFaults);
            const bool isRight = isWhole != HasFailed(&ownFaults);
            FreeFaults(&ownFaults);
            return isRight;
        });
    ClosePackage(&package);
    EXPECT_EQ(folder.Read("out"),
              MakePackage({{"a", "first"}, {"b", std::string(1000, 'b')}, {"n", "new"}}));
}

// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "engine/check/check_piece.h"
#include "fuzz/fuzz_targets.h"
#include "support/small_piece.h"
#include "tools/dpk_run.h"

/// A piece with every kind of record, damaged in each way and then opened, drawn for some ticks
/// through an OpenGL that reads all that a driver reads, and checked. Whatever ends the process
/// ends the test.
class DamagedPieces : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        PrepareFuzzTargets();
    }

    /// Each command of dpk that reads a package.
    void RunTools(const std::string& package)
    {
        folder.Write("p.dpk", package);
        for (const std::vector<std::string>& arguments : {std::vector<std::string>{"list", "p.dpk"},
                                                          {"check", "p.dpk"},
                                                          {"textures", "p.dpk", "-o", "pictures"},
                                                          {"extract", "p.dpk", "-o", "files"}})
        {
            const DpkRun run = RunDpk(folder, arguments);
            EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 1)
                << arguments[0] << " " << run.exitCode << " " << run.err;
        }
    }

    TemporaryFolder folder;
};

/// Opens, draws and checks a package.
static void Use(const std::string& package)
{
    // A block of its own, so that a sanitizer sees a read past its end.
    const std::vector<uint8_t> bytes(package.begin(), package.end());
    FindFuzzTarget("piece")->run(bytes.data(), bytes.size());

    const CheckRequest request = {nullptr, bytes.data(), bytes.size(), nullptr};
    CheckResult result;
    CheckPiece(&request, &result);
}

/// The k-th of 5,000 changes, spread over the whole package.
static std::string Changed(std::string package, uint32_t k)
{
    const size_t at = size_t{k} * 2654435761u % package.size();
    const uint32_t bits = 1 + k * 40503u / 256 % 255; // never 0
    package[at] = static_cast<char>(package[at] ^ static_cast<char>(bits));
    return package;
}

static constexpr uint32_t kChanges = 5000;
static constexpr uint32_t kShares = 8; // tests that can run beside each other

class DamagedPiecesShare : public testing::TestWithParam<uint32_t>
{
  protected:
    static void SetUpTestSuite()
    {
        PrepareFuzzTargets();
    }
};

TEST_P(DamagedPiecesShare, EveryTruncationEndsOrdinarily)
{
    const std::string package = QuickPiece();
    for (size_t size = GetParam(); size < package.size(); size += kShares)
    {
        Use(package.substr(0, size));
    }
}

TEST_P(DamagedPiecesShare, FiveThousandChangedBytesEndOrdinarily)
{
    // As packages are, and with documents that are not compressed: in the first a change mostly
    // ends a document early, in the second it changes a word.
    const std::string compressed = QuickPiece();
    const std::string stored = FindFuzzTarget("piece")->makeSeeds()[0];
    for (uint32_t k = GetParam(); k < kChanges; k += kShares)
    {
        Use(Changed(k / kShares % 2 == 0 ? compressed : stored, k));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, DamagedPiecesShare, testing::Range(0u, kShares));

TEST_F(DamagedPieces, ToolsEndOrdinarilyToo)
{
    static constexpr uint32_t kRuns = 20;
    const std::string package = QuickPiece();
    for (uint32_t k = 0; k < kRuns; ++k)
    {
        RunTools(package.substr(0, package.size() * k / kRuns));
        RunTools(Changed(package, k * (kChanges / kRuns)));
    }
}

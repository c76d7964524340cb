// SPDX-License-Identifier: MIT

// Records what the player does, and compares it with what it did before. scripts/compare-records
// compares two builds line by line; a test compares every build with the hashes in goldens.txt.
//
//   player_record list                        the names of all runs
//   player_record log FOLDER [NAME...]        writes NAME.log for each run, or for all
//   player_record files FOLDER NAME           writes what the run finds in its folder
//   player_record goldens                     prints a line for each run
//   player_record check FILE PART OF          compares a share of the runs with such lines
//   player_record same PACKAGE OTHER          compares the sample piece's runs on two packages
//   player_record emptied                     compares random pieces with themselves, emptied of
//                                             all that no clip reaches
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>
#include <zlib.h>

#include "record/log_hashes.h"
#include "record/player_run.h"
#include "record/random_run.h"
#include "record/sample_piece.h"
#include "tools/empty_records.h"
#include "tools/text_layout.h"

static constexpr uint32_t kRandomPieces = 300;
static constexpr const char* kRandomName = "random-";

static void Complain(const std::string& text)
{
    fprintf(stderr, "player_record: %s\n", text.c_str());
}

static std::string ReadFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
    {
        Complain("cannot read " + path);
        exit(2);
    }
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

static void WriteFile(const std::string& path, const std::string& bytes)
{
    std::ofstream stream(path, std::ios::binary);
    stream << bytes;
    if (!stream.flush())
    {
        Complain("cannot write " + path);
        exit(2);
    }
}

static std::vector<std::string> AllNames()
{
    std::vector<std::string> names = SampleRunNames();
    for (const std::string& name : SampleFaultNames())
    {
        names.push_back(name);
    }
    for (uint32_t seed = 1; seed <= kRandomPieces; ++seed)
    {
        names.push_back(kRandomName + std::to_string(seed));
    }
    return names;
}

static PlayerRun MakeRun(const std::string& name)
{
    if (name.rfind(kRandomName, 0) == 0)
    {
        unsigned long seed = strtoul(name.c_str() + strlen(kRandomName), nullptr, 10);
        return MakeRandomRun(static_cast<uint32_t>(seed));
    }
    return MakeSampleRun(ReadFile(PACKAGE), name);
}

static std::string GoldenLine(const std::string& name)
{
    return name + " " + SummarizeLog(RecordPlayerRun(MakeRun(name), true));
}

/// @return how many differ
static int CheckShare(const std::string& goldens, size_t part, size_t of)
{
    std::map<std::string, std::string> expected; // by name
    std::istringstream lines(goldens);
    for (std::string line; std::getline(lines, line);)
    {
        expected[line.substr(0, line.find(' '))] = line;
    }

    int different = 0;
    std::vector<std::string> names = AllNames();
    for (size_t i = part; i < names.size(); i += of)
    {
        std::string line = GoldenLine(names[i]);
        if (line != expected[names[i]])
        {
            printf("recorded: %s\n     now: %s\n", expected[names[i]].c_str(), line.c_str());
            different += 1;
        }
    }
    return different;
}

/// @return how many differ
static int CompareRuns(const std::string& package, const std::string& other)
{
    int different = 0;
    for (const std::string& name : SampleRunNames())
    {
        if (RecordPlayerRun(MakeSampleRun(package, name), true) !=
            RecordPlayerRun(MakeSampleRun(other, name), true))
        {
            printf("not the same: %s\n", name.c_str());
            different += 1;
        }
    }
    return different;
}

/// One line, as of an emptied document: faults tell where they are.
static void JoinLines(std::vector<PackageEntry>* entries)
{
    for (size_t i = 0; i < 2; ++i)
    {
        (*entries)[i].bytes = LayOutText((*entries)[i].bytes, TextLayout::kBare);
    }
}

static uint8_t CountSets(const std::string& container)
{
    Bytef header[5] = {};
    uLongf size = sizeof(header);
    // The buffer is too small for the rest, which is as well.
    uncompress(header, &size, reinterpret_cast<const Bytef*>(container.data()) + 4,
               static_cast<uLong>(container.size() - 4));
    return header[4];
}

static void EmptyAndJoin(std::vector<PackageEntry>* entries)
{
    EmptiedPiece emptied = {};
    const std::string texts = (*entries)[0].bytes + (*entries)[1].bytes;
    for (size_t i = 0; i < 2; ++i)
    {
        EmptyUnreachedRecords(&(*entries)[i].bytes, &emptied);
    }
    for (PackageEntry& entry : *entries)
    {
        const FileUse use = FindFileUse(emptied, entry.name);
        if (use == FileUse::kUnreachedModel)
        {
            entry.bytes = MakeContainer(MakeEmptyModel(CountSets(entry.bytes)));
        }
        else if (use == FileUse::kUnreachedBitmap)
        {
            entry.bytes = MakeEmptyBitmap();
        }
    }
    const auto isUnnamed = [&texts](const PackageEntry& entry)
    {
        return texts.find('"' + entry.name + '"') == std::string::npos;
    };
    entries->erase(std::remove_if(entries->begin() + 2, entries->end(), isUnnamed), entries->end());
    JoinLines(entries);
}

static bool Begins(const std::string& line, std::initializer_list<const char*> words)
{
    return std::any_of(words.begin(), words.end(),
                       [&line](const char* word) { return line.starts_with(word); });
}

/// A log in two: the bytes that OpenGL gets for new textures and buffers, a text for each, and all
/// other lines.
struct SplitLog
{
    std::vector<std::string> uploads;
    std::string rest;
};

static SplitLog SplitUploads(const std::string& log)
{
    SplitLog split;
    std::istringstream lines(log);
    std::string line;
    bool isUpload = false; // right after a name was made
    while (std::getline(lines, line))
    {
        if (Begins(line, {"GenTextures", "GenBuffers"}))
        {
            isUpload = true;
            split.uploads.emplace_back();
        }
        isUpload =
            isUpload && Begins(line, {"Gen", "Bind", "Tex", "PixelStorei", "BufferData", " "});
        const bool isData = Begins(line, {"TexImage2D", "PixelStorei", "BufferData", " "});
        (isUpload && isData ? split.uploads.back() : split.rest) += line + "\n";
    }
    return split;
}

/// Compares a run with the one of the same piece, emptied.
/// @param uploads   receives how many textures and buffers got other bytes
static bool IsSameButUploads(const std::string& log, const std::string& other, uint32_t* uploads)
{
    const SplitLog split = SplitUploads(log);
    const SplitLog otherSplit = SplitUploads(other);
    *uploads = 0;
    for (size_t i = 0; i < std::min(split.uploads.size(), otherSplit.uploads.size()); ++i)
    {
        *uploads += split.uploads[i] != otherSplit.uploads[i] ? 1 : 0;
    }
    return split.rest == otherSplit.rest && split.uploads.size() == otherSplit.uploads.size();
}

static int CompareEmptied()
{
    uint32_t changed = 0;
    uint32_t uploads = 0;
    int different = 0;
    for (uint32_t seed = 1; seed <= kRandomPieces; seed += 3)
    {
        const PlayerRun run = MakeRandomRun(seed, JoinLines);
        const PlayerRun other = MakeRandomRun(seed, EmptyAndJoin);
        changed += run.files[0].bytes != other.files[0].bytes ? 1 : 0;
        const std::string log = RecordPlayerRun(run, true);
        const std::string otherLog = RecordPlayerRun(other, true);
        uint32_t otherUploads = 0;
        const bool isSame = IsSameButUploads(log, otherLog, &otherUploads);
        uploads += otherUploads;
        // A fault in what no clip reaches goes with it.
        if (!isSame && log.ends_with("exit 0\n"))
        {
            const auto at = std::mismatch(log.begin(), log.end(), otherLog.begin(), otherLog.end());
            const size_t line = log.rfind('\n', static_cast<size_t>(at.first - log.begin()));
            printf("not the same: %s%u%s\n", kRandomName, seed, log.substr(line, 200).c_str());
            different += 1;
        }
    }
    printf("%u pieces had something that no clip reaches; %u textures and buffers got less\n",
           changed, uploads);
    return different + (changed > kRandomPieces / 6 && uploads > 0 ? 0 : 1);
}

static void MakeFolder(const std::string& path)
{
    mkdir(path.c_str(), 0777); // one that is there is fine, and one that fails shows at the files
}

static void WriteFiles(const std::string& folder, const std::string& name)
{
    MakeFolder(folder);
    MakeFolder(folder + "/music");
    for (const PackageEntry& file : MakeRun(name).files)
    {
        WriteFile(folder + "/" + file.name, file.bytes);
    }
}

int main(int argc, char** argv)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    const std::string command = words.empty() ? "" : words[0];
    if (command == "list" && words.size() == 1)
    {
        for (const std::string& name : AllNames())
        {
            printf("%s\n", name.c_str());
        }
        return 0;
    }
    if (command == "log" && words.size() >= 2)
    {
        MakeFolder(words[1]);
        std::vector<std::string> names(words.begin() + 2, words.end());
        for (const std::string& name : names.empty() ? AllNames() : names)
        {
            WriteFile(words[1] + "/" + name + ".log", RecordPlayerRun(MakeRun(name), false));
        }
        return 0;
    }
    if (command == "files" && words.size() == 3)
    {
        WriteFiles(words[1], words[2]);
        return 0;
    }
    if (command == "goldens" && words.size() == 1)
    {
        for (const std::string& name : AllNames())
        {
            printf("%s\n", GoldenLine(name).c_str());
        }
        return 0;
    }
    if (command == "check" && words.size() == 4)
    {
        size_t part = strtoul(words[2].c_str(), nullptr, 10);
        size_t of = strtoul(words[3].c_str(), nullptr, 10);
        int different = of == 0 ? 1 : CheckShare(ReadFile(words[1]), part, of);
        printf(different == 0 ? "all as recorded\n" : "%d runs differ\n", different);
        return different == 0 ? 0 : 1;
    }
    if (command == "same" && words.size() == 3)
    {
        return CompareRuns(ReadFile(words[1]), ReadFile(words[2])) == 0 ? 0 : 1;
    }
    if (command == "emptied" && words.size() == 1)
    {
        return CompareEmptied() == 0 ? 0 : 1;
    }
    Complain("list | log FOLDER [NAME...] | files FOLDER NAME | goldens | check FILE PART OF | "
             "same PACKAGE OTHER | emptied");
    return 2;
}

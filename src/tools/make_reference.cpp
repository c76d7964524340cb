// SPDX-License-Identifier: MIT

// Writes the manual pages and completions of dpk; the build runs it.
//   make_reference TEXTS OUT
// TEXTS holds NAME.md for commands that have more to tell than their help, and dpk.md. OUT is a
// folder that is there; it receives dpk.1, dpk-NAME.1, dpk.bash, _dpk and dpk.fish.
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "tools/command_line.h"
#include "tools/completion.h"
#include "tools/files.h"
#include "tools/manual_page.h"

static std::string TextOf(const std::string& folder, const std::string& name)
{
    const std::string path = folder + "/" + name + ".md";
    std::error_code error;
    Bytes bytes;
    if (!std::filesystem::exists(path, error))
    {
        return "";
    }
    if (!ReadWholeFile(path, 1 << 20, &bytes))
    {
        exit(kExitFailed);
    }
    return {bytes.begin(), bytes.end()};
}

static void Write(const std::string& path, const std::string& text)
{
    FILE* file = fopen(path.c_str(), "wb");
    if (file == nullptr || fwrite(text.data(), 1, text.size(), file) != text.size() ||
        fclose(file) != 0)
    {
        perror(path.c_str());
        exit(kExitFailed);
    }
}

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        fprintf(stderr, "usage: make_reference TEXTS OUT\n");
        return kExitUsage;
    }
    const std::string texts = argv[1];
    const std::string out = std::string(argv[2]) + "/";
    const ProgramFacts facts = DescribeCommandLine();

    Write(out + "dpk.1", ProgramPage(facts, TextOf(texts, "dpk")));
    for (const CommandFacts& command : facts.commands)
    {
        Write(out + "dpk-" + command.name + ".1",
              CommandPage(command, TextOf(texts, command.name)));
    }
    Write(out + "dpk.bash", BashCompletion(facts));
    Write(out + "_dpk", ZshCompletion(facts));
    Write(out + "dpk.fish", FishCompletion(facts));
    return kExitDone;
}

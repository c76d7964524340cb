// SPDX-License-Identifier: MIT
#include "record/player_run.h"

#include <cstdio>
#include <iterator>
#include <unistd.h>

#include "player/run_demo.h"
#include "record/steady_libm.h"
#include "support/child_run.h"
#include "support/temporary_folder.h"

static constexpr size_t kReadings = 4096; // more than any run takes
static constexpr ScriptedMouse kStartButton = {.x = 220, .y = 185, .left = true, .right = false};

static ScriptedMouse Released(ScriptedMouse mouse)
{
    mouse.left = false;
    return mouse;
}

/// Every click is a look with the button down and one with the button up; the last is on start.
static SdlScript MakeScript(const PlayerRun& run)
{
    SdlScript script = run.sdl;
    for (const ScriptedMouse& click : run.clicks)
    {
        script.mouse.push_back(click);
        script.mouse.push_back(Released(click));
    }
    script.mouse.push_back(kStartButton);
    script.mouse.push_back(Released(kStartButton));

    script.polls.resize(script.mouse.size());
    script.polls.insert(script.polls.end(), run.polls.begin(), run.polls.end());
    uint32_t now = 1000;
    for (size_t i = 0; i < kReadings; ++i)
    {
        script.ticks.push_back(now);
        now += i < run.earlyReadings ? run.earlyStepMs : run.stepMs;
    }
    return script;
}

std::string RecordPlayerRun(const PlayerRun& run, bool steadySines)
{
    TemporaryFolder folder;
    for (const PackageEntry& file : run.files)
    {
        folder.Write(file.name, file.bytes);
    }
    ChildRun ended = RunInChild(
        [&run, &folder, steadySines]()
        {
            UseSteadyLibm(steadySines);
            Sdl = MakeScript(run);
            ModPlug = run.modplug;
            OfferGlExtensions(run.gl);
            RecordGlContents(true);
            if (chdir(folder.path.c_str()) != 0)
            {
                perror("player run: chdir");
                return 99;
            }
            std::string program = "quorvale";
            std::vector<std::string> arguments = run.arguments;
            std::vector<char*> argv = {program.data()};
            for (std::string& argument : arguments)
            {
                argv.push_back(argument.data());
            }
            argv.push_back(nullptr);
            return RunDemo(static_cast<int>(argv.size()) - 1, argv.data());
        });
    std::string end = ended.signal != 0 ? "signal " + std::to_string(ended.signal)
                                        : "exit " + std::to_string(ended.exitCode);
    return ended.record + end + "\n";
}

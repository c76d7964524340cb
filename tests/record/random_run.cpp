// SPDX-License-Identifier: MIT
#include "record/random_run.h"

#include "record/random_numbers.h"
#include "record/random_piece.h"

static constexpr int32_t kFrames = 12;

static void ChooseRandomly(Random* random, PlayerRun* run)
{
    if (Chance(random, 30))
    {
        run->clicks.push_back(ResolutionRow(static_cast<uint32_t>(Between(random, 0, 15))));
    }
    if (Chance(random, 30))
    {
        run->clicks.push_back(AspectRow(static_cast<uint32_t>(Between(random, 0, 2))));
    }
    for (uint32_t row = 0; row < 4; ++row)
    {
        if (Chance(random, row == 2 ? 60 : 25))
        {
            run->clicks.push_back(SwitchRow(row));
        }
    }
    run->gl = {!Chance(random, 20), !Chance(random, 20), !Chance(random, 20), !Chance(random, 20),
               !Chance(random, 20)};
    if (Chance(random, 15))
    {
        run->arguments.push_back("-forcepbo");
    }
    run->modplug.loadFails = Chance(random, 10);
    run->modplug.moduleBytes = static_cast<uint32_t>(Between(random, 0, 2000000));
    run->sdl.blocksAtStart = static_cast<uint32_t>(Between(random, 0, 2));
}

PlayerRun MakeRandomRun(uint32_t seed, PieceEdit edit)
{
    Random state = {seed};
    Random* random = &state;
    PlayerRun run;
    RandomPiece piece = MakeRandomPiece(random, edit);
    run.files.push_back({"piece.dpk", piece.package});
    if (!Chance(random, 5))
    {
        run.files.push_back({Chance(random, 50) ? "a.xm" : "music/a.xm", MakeModuleHead("module")});
    }

    ChooseRandomly(random, &run);
    run.earlyReadings = static_cast<uint32_t>(Between(random, 20, 60)); // loading, most of it
    run.earlyStepMs = static_cast<uint32_t>(Between(random, 5, 40));
    run.stepMs = static_cast<uint32_t>(piece.ticks * 10 / kFrames + 1);
    int32_t frames = Chance(random, 15) ? Between(random, 1, kFrames) : kFrames + 4;
    for (int32_t i = 0; i < frames; ++i)
    {
        run.polls.push_back({static_cast<uint32_t>(Between(random, 0, 2)), false, false, false});
    }
    bool closes = Chance(random, 20);
    run.polls.push_back({0, !closes, closes, false});
    return run;
}

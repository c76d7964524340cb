// SPDX-License-Identifier: MIT
#include "record/player_run.h"

#include <iterator>

ScriptedMouse ResolutionRow(uint32_t index)
{
    static constexpr int kMiddles[] = {27,  48,  71,  94,  116, 139, 161, 184,
                                       206, 228, 251, 274, 296, 318, 341, 363};
    return {.x = 60, .y = kMiddles[index % std::size(kMiddles)], .left = true, .right = false};
}

ScriptedMouse AspectRow(uint32_t index)
{
    static constexpr int kMiddles[] = {28, 50, 73};
    return {.x = 220, .y = kMiddles[index % std::size(kMiddles)], .left = true, .right = false};
}

ScriptedMouse SwitchRow(uint32_t index)
{
    static constexpr int kMiddles[] = {299, 320, 343, 366};
    return {.x = 163, .y = kMiddles[index % std::size(kMiddles)], .left = true, .right = false};
}

// SPDX-License-Identifier: MIT
#include "support/gl_state.h"

#include <sstream>
#include <vector>

static std::vector<std::string> SplitWords(const std::string& line)
{
    std::vector<std::string> words;
    std::istringstream stream(line);
    std::string word;
    while (stream >> word)
    {
        words.push_back(word);
    }
    return words;
}

static std::string JoinFrom(const std::vector<std::string>& words, size_t first)
{
    std::string joined;
    for (size_t i = first; i < words.size(); ++i)
    {
        joined += (i > first ? " " : "") + words[i];
    }
    return joined;
}

static std::string Or(const GlState& state, const std::string& name, const char* otherwise)
{
    auto found = state.find(name);
    return found == state.end() ? otherwise : found->second;
}

static bool BelongsToUnit(const std::string& capability)
{
    return capability.rfind("TEXTURE_", 0) == 0;
}

static void ApplyMatrixCall(const std::string& call, const std::vector<std::string>& words,
                            const std::string& unit, GlState* state)
{
    std::string mode = Or(*state, "MatrixMode", "MODELVIEW");
    std::string name = mode == "TEXTURE" ? unit + " matrix" : mode + " matrix";
    std::string& matrix = (*state)[name];
    std::string& stack = (*state)[name + " stack"]; // each behind a semicolon
    if (call == "LoadIdentity")
    {
        matrix = "";
        return;
    }
    if (call == "PushMatrix")
    {
        stack += ";" + matrix;
        return;
    }
    if (call == "PopMatrix")
    {
        const size_t last = stack.rfind(';');
        if (last != std::string::npos)
        {
            matrix = stack.substr(last + 1);
            stack.resize(last);
        }
        return;
    }
    matrix += (matrix.empty() ? "" : ", ") + JoinFrom(words, 0);
}

static void ApplyCall(const std::vector<std::string>& words, GlState* state)
{
    const std::string& call = words[0];
    std::string unit = "unit" + Or(*state, "unit", "0");
    std::string client = "client" + Or(*state, "client unit", "0");

    if (call == "ActiveTextureARB")
    {
        (*state)["unit"] = words[1].substr(std::string("TEXTURE").size());
    }
    else if (call == "ClientActiveTextureARB")
    {
        (*state)["client unit"] = words[1].substr(std::string("TEXTURE").size());
    }
    else if (call == "Enable" || call == "Disable")
    {
        (*state)[BelongsToUnit(words[1]) ? unit + " " + words[1] : words[1]] =
            call == "Enable" ? "on" : "off";
    }
    else if (call == "EnableClientState" || call == "DisableClientState")
    {
        (*state)[BelongsToUnit(words[1]) ? client + " " + words[1] : words[1]] =
            call == "EnableClientState" ? "on" : "off";
    }
    else if (call == "TexEnvi")
    {
        (*state)[unit + " " + words[2]] = words[3];
    }
    else if (call == "BindTexture")
    {
        (*state)[unit + " texture"] = words[2];
    }
    else if (call == "TexParameterf" || call == "TexParameteri")
    {
        std::string texture = Or(*state, unit + " texture", "0");
        (*state)["texture " + texture + " " + words[2]] = words[3];
    }
    else if (call == "BindBufferARB" || call == "BindBuffer")
    {
        (*state)[words[1]] = words[2];
    }
    else if (call == "TexCoordPointer")
    {
        std::string buffer = Or(*state, "ARRAY_BUFFER", "0");
        (*state)[client + " TexCoordPointer"] = buffer == "0" ? words[4] : "buffer " + buffer;
    }
    else if (call == "Lightfv")
    {
        (*state)[words[1] + " " + words[2]] = JoinFrom(words, 3);
    }
    else if (call == "LoadIdentity" || call == "Translatef" || call == "Rotatef" ||
             call == "Scalef" || call == "LoadMatrixf" || call == "Ortho" || call == "PushMatrix" ||
             call == "PopMatrix")
    {
        ApplyMatrixCall(call, words, unit, state);
    }
    else
    {
        (*state)[call] = JoinFrom(words, 1);
    }
}

void ApplyGlCalls(const std::string& calls, GlState* state)
{
    std::istringstream lines(calls);
    std::string line;
    while (std::getline(lines, line))
    {
        ApplyCall(SplitWords(line), state);
    }
}

std::string GlValue(const GlState& state, const std::string& name)
{
    return Or(state, name, "unset");
}

// SPDX-License-Identifier: MIT
#include "tools/model_ply.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <string_view>
#include <vector>

#include "engine/data/byte_order.h"
#include "engine/data/model_data.h"

static constexpr std::string_view kComment = "comment quorvale model";
static constexpr const char* kProperties[] = {"x",  "y", "z", "nx", "ny",
                                              "nz", "s", "t", "s2", "t2"};
static constexpr uint32_t kNumbersBeforeSets = 6; // of a vertex in the text

/// The arrays of a model file, by their offsets.
struct ModelPlaces
{
    uint32_t vertexCount;
    uint32_t sets;
    size_t normals;
    size_t indices;
    size_t indexCount;
};

static ModelPlaces PlaceArrays(uint32_t vertexCount, uint32_t sets)
{
    const size_t vertices = vertexCount;
    return {vertexCount, sets, kModelHeaderSize + (12 + 8 * size_t{sets}) * vertices,
            kModelHeaderSize + (24 + 8 * size_t{sets}) * vertices, 0};
}

/// The offset of number `k` of a vertex, counted as the text has them.
static size_t NumberOffset(const ModelPlaces& places, size_t vertex, uint32_t k)
{
    if (k < 3)
    {
        return kModelHeaderSize + 12 * vertex + 4 * size_t{k};
    }
    if (k < kNumbersBeforeSets)
    {
        return places.normals + 12 * vertex + 4 * size_t{k - 3};
    }
    const uint32_t set = (k - kNumbersBeforeSets) / 2;
    return kModelHeaderSize + (12 + 8 * size_t{set}) * places.vertexCount + 8 * vertex +
           4 * size_t{k % 2};
}

static uint32_t NumbersOfVertex(const ModelPlaces& places)
{
    return kNumbersBeforeSets + 2 * places.sets;
}

static float FloatAt(const Bytes& model, size_t offset)
{
    return std::bit_cast<float>(LoadLittleEndian32(model.data() + offset));
}

// ---- Writing

static bool FindArrays(const Bytes& model, ModelPlaces* places)
{
    if (model.size() < kModelHeaderSize || model[4] < 1 || model[4] > 2)
    {
        return false;
    }
    *places = PlaceArrays(LoadLittleEndian32(model.data()), model[4]);
    if (model.size() < places->indices || (model.size() - places->indices) % 12 != 0)
    {
        return false;
    }
    places->indexCount = (model.size() - places->indices) / 4;
    for (size_t i = 0; i < places->indexCount; ++i)
    {
        if (LoadLittleEndian32(model.data() + places->indices + 4 * i) >= places->vertexCount)
        {
            return false;
        }
    }
    for (size_t offset = kModelHeaderSize; offset < places->indices; offset += 4)
    {
        if (!std::isfinite(FloatAt(model, offset)))
        {
            return false;
        }
    }
    return true;
}

static void PutText(const std::string& text, Bytes* to)
{
    to->insert(to->end(), text.begin(), text.end());
}

static std::string HeaderText(const ModelPlaces& places)
{
    std::string text = "ply\nformat ascii 1.0\n";
    text += kComment;
    text += "\nelement vertex " + std::to_string(places.vertexCount) + "\n";
    for (uint32_t k = 0; k < NumbersOfVertex(places); ++k)
    {
        text += std::string("property float ") + kProperties[k] + "\n";
    }
    return text + "element face " + std::to_string(places.indexCount / 3) +
           "\nproperty list uchar uint vertex_indices\nend_header\n";
}

bool WriteModelPly(const Bytes& model, Bytes* ply)
{
    ModelPlaces places;
    if (!FindArrays(model, &places))
    {
        return false;
    }
    ply->clear();
    PutText(HeaderText(places), ply);
    for (size_t vertex = 0; vertex < places.vertexCount; ++vertex)
    {
        for (uint32_t k = 0; k < NumbersOfVertex(places); ++k)
        {
            char text[32];
            const float value = FloatAt(model, NumberOffset(places, vertex, k));
            const auto end = std::to_chars(text, text + sizeof(text), value);
            ply->insert(ply->end(), text, end.ptr);
            ply->push_back(k + 1 == NumbersOfVertex(places) ? '\n' : ' ');
        }
    }
    for (size_t i = 0; i < places.indexCount; ++i)
    {
        const uint32_t index = LoadLittleEndian32(model.data() + places.indices + 4 * i);
        PutText((i % 3 == 0 ? "3 " : " ") + std::to_string(index) + (i % 3 == 2 ? "\n" : ""), ply);
    }
    return true;
}

// ---- Reading

/// Where the reading of a text stands.
struct PlyText
{
    std::string_view rest;
    uint32_t line; // of the header: lines taken; after it the line that comes next, from 1
    bool isBroken; // a word was no number
};

/// The next line without its end, which may be CR LF. Empty at the end of the text.
static std::string_view TakeLine(PlyText* text)
{
    const size_t end = text->rest.find('\n');
    std::string_view line = text->rest.substr(0, end);
    text->rest.remove_prefix(end == std::string_view::npos ? text->rest.size() : end + 1);
    text->line += 1;
    if (!line.empty() && line.back() == '\r')
    {
        line.remove_suffix(1);
    }
    return line;
}

/// Skips blanks, and counts the lines.
static void SkipBlanks(PlyText* text)
{
    while (!text->rest.empty() &&
           std::string_view(" \t\r\n").find(text->rest[0]) != std::string_view::npos)
    {
        text->line += text->rest[0] == '\n' ? 1 : 0;
        text->rest.remove_prefix(1);
    }
}

template <typename Number>
static Number TakeNumber(PlyText* text)
{
    SkipBlanks(text);
    Number number = 0;
    const char* end = text->rest.data() + text->rest.size();
    const auto [at, fault] = std::from_chars(text->rest.data(), end, number);
    const bool ends = at == end || *at == ' ' || *at == '\t' || *at == '\r' || *at == '\n';
    text->isBroken = text->isBroken || fault != std::errc() || !ends;
    text->rest.remove_prefix(static_cast<size_t>(at - text->rest.data()));
    return number;
}

/// Reads a header line that begins with these words and ends with a number.
static bool TakeCount(PlyText* text, std::string_view words, uint32_t* count)
{
    PlyText line = {TakeLine(text), 0, false};
    if (!line.rest.starts_with(words))
    {
        return false;
    }
    line.rest.remove_prefix(words.size());
    *count = TakeNumber<uint32_t>(&line);
    return !line.isBroken && line.rest.empty();
}

/// Reads the header in the one form that it is written in.
static bool ReadHeader(PlyText* text, ModelPlaces* places)
{
    uint32_t vertexCount = 0;
    uint32_t faceCount = 0;
    if (TakeLine(text) != "ply" || TakeLine(text) != "format ascii 1.0" ||
        TakeLine(text) != kComment || !TakeCount(text, "element vertex ", &vertexCount))
    {
        return false;
    }
    uint32_t count = 0;
    PlyText ahead = *text;
    while (count < std::size(kProperties) &&
           TakeLine(&ahead) == std::string("property float ") + kProperties[count])
    {
        *text = ahead;
        count += 1;
    }
    if ((count != kNumbersBeforeSets + 2 && count != kNumbersBeforeSets + 4) ||
        !TakeCount(text, "element face ", &faceCount) ||
        TakeLine(text) != "property list uchar uint vertex_indices" ||
        TakeLine(text) != "end_header")
    {
        return false;
    }
    *places = PlaceArrays(vertexCount, (count - kNumbersBeforeSets) / 2);
    places->indexCount = size_t{3} * faceCount;
    return true;
}

static std::string FaultAt(const PlyText& text, const char* what)
{
    return "line " + std::to_string(text.line) + ": " + what;
}

static std::string ReadVertices(const ModelPlaces& places, PlyText* text, Bytes* model)
{
    for (size_t vertex = 0; vertex < places.vertexCount; ++vertex)
    {
        for (uint32_t k = 0; k < NumbersOfVertex(places); ++k)
        {
            const float value = TakeNumber<float>(text);
            if (text->isBroken || !std::isfinite(value))
            {
                return FaultAt(*text, "no finite number of a vertex");
            }
            StoreLittleEndian32(std::bit_cast<uint32_t>(value),
                                model->data() + NumberOffset(places, vertex, k));
        }
    }
    return "";
}

static std::string ReadFaces(const ModelPlaces& places, PlyText* text, Bytes* model)
{
    for (size_t i = 0; i < places.indexCount; ++i)
    {
        if (i % 3 == 0 && TakeNumber<uint32_t>(text) != 3)
        {
            return FaultAt(*text, "no face of 3 corners");
        }
        const uint32_t index = TakeNumber<uint32_t>(text);
        if (text->isBroken || index >= places.vertexCount)
        {
            return FaultAt(*text, "no number of a vertex");
        }
        StoreLittleEndian32(index, model->data() + places.indices + 4 * i);
    }
    return "";
}

bool IsModelPly(const Bytes& ply)
{
    PlyText text = {{reinterpret_cast<const char*>(ply.data()), ply.size()}, 0, false};
    return TakeLine(&text) == "ply" && TakeLine(&text) == "format ascii 1.0" &&
           TakeLine(&text) == kComment;
}

std::string ReadModelPly(const Bytes& ply, Bytes* model)
{
    PlyText text = {{reinterpret_cast<const char*>(ply.data()), ply.size()}, 0, false};
    ModelPlaces places = {};
    if (!ReadHeader(&text, &places))
    {
        return FaultAt(text, "not as the header of a model goes on");
    }
    // Every number takes two bytes of the text: counts that it has no room for take no memory.
    const size_t numbers = size_t{NumbersOfVertex(places)} * places.vertexCount;
    if (numbers + places.indexCount > text.rest.size())
    {
        return "it ends before its last face";
    }
    text.line += 1;
    model->assign(places.indices + 4 * places.indexCount, 0);
    StoreLittleEndian32(places.vertexCount, model->data());
    (*model)[4] = static_cast<unsigned char>(places.sets);

    std::string fault = ReadVertices(places, &text, model);
    fault = fault.empty() ? ReadFaces(places, &text, model) : fault;
    SkipBlanks(&text);
    return fault.empty() && !text.rest.empty() ? FaultAt(text, "more than all faces") : fault;
}

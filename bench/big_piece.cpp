// SPDX-License-Identifier: MIT
#include "big_piece.h"

#include <cmath>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <vector>
#include <zlib.h>

#include "support/package_builder.h"
#include "support/small_piece.h"

static constexpr uint32_t kSide = 512; // of bitmaps, pixels

static void AppendWord(std::string* bytes, uint32_t word)
{
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        bytes->push_back(static_cast<char>(word >> shift));
    }
}

static void AppendChunk(std::string* png, const std::string& kind, const std::string& content)
{
    AppendWord(png, static_cast<uint32_t>(content.size()));
    const std::string body = kind + content;
    *png += body;
    AppendWord(png, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(body.data()),
                                                static_cast<uInt>(body.size()))));
}

// A soft picture with some grain, so that its file is as large as one of a photograph.
std::string MakePng(uint32_t seed)
{
    std::string rows;
    uint32_t grain = seed * 2654435761u + 1;
    for (uint32_t y = 0; y < kSide; ++y)
    {
        rows.push_back(1); // each byte stands as its difference from that of the pixel before
        int before[3] = {};
        for (uint32_t x = 0; x < 3 * kSide; ++x)
        {
            grain = grain * 1664525u + 1013904223u;
            const double wave = sin(static_cast<double>(x * (seed % 5 + 1)) * 0.004) *
                                cos(static_cast<double>(y) * 0.02);
            const int value =
                static_cast<int>(128.0 + 100.0 * wave) + static_cast<int>(grain >> 29);
            rows.push_back(static_cast<char>(value - before[x % 3]));
            before[x % 3] = value;
        }
    }
    std::string packed(compressBound(static_cast<uLong>(rows.size())), 0);
    uLongf size = static_cast<uLongf>(packed.size());
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
              reinterpret_cast<const Bytef*>(rows.data()), static_cast<uLong>(rows.size()), 6);
    packed.resize(size);

    std::string head;
    AppendWord(&head, kSide);
    AppendWord(&head, kSide);
    head += std::string("\x08\x02\x00\x00\x00", 5);
    std::string png = "\x89PNG\r\n\x1a\n";
    AppendChunk(&png, "IHDR", head);
    AppendChunk(&png, "IDAT", packed);
    AppendChunk(&png, "IEND", "");
    return png;
}

static std::string MakeSheet(uint32_t vertices)
{
    constexpr uint32_t kColumns = 100;
    ModelSource model;
    model.texCoords.resize(1);
    const uint32_t rows = vertices < 2 * kColumns ? 2 : vertices / kColumns;
    for (uint32_t row = 0; row < rows; ++row)
    {
        for (uint32_t column = 0; column < kColumns; ++column)
        {
            const float x = static_cast<float>(column) * 0.1f;
            const float z = static_cast<float>(row) * 0.1f;
            model.vertices.insert(model.vertices.end(), {x, sinf(x) * cosf(z), z});
            model.texCoords[0].insert(model.texCoords[0].end(), {x, z});
            model.normals.insert(model.normals.end(), {0.0f, 1.0f, 0.0f});
        }
    }
    for (uint32_t row = 0; row + 1 < rows; ++row)
    {
        for (uint32_t column = 0; column + 1 < kColumns; ++column)
        {
            const uint32_t a = row * kColumns + column;
            const uint32_t c = a + kColumns;
            model.indices.insert(model.indices.end(), {a, a + 1, c + 1, a, c + 1, c});
        }
    }
    return MakeModel(model);
}

static std::string Params(std::initializer_list<const char*> values)
{
    std::string text;
    for (const char* value : values)
    {
        text += "<p>" + std::string(value) + "</p>";
    }
    return text;
}

/// A layer of each generator in turn.
static std::string Layer(uint32_t number)
{
    static const std::string kLayers[6] = {
        Params({"0.2", "0.4", "0.6"}),
        Params({"1", "0.7", "0.4", "2.3", "1.7"}),
        Params({"1", "0.9", "0.2", "0", "0.1", "0.5", "1.2", "20"}),
        Params({"0.9", "0.5", "0.7", "3", "1234", "0.5"}),
        Params({"0.7", "0.3", "0.2", "0.6", "0.6", "0.55", "9", "5", "2", "3", "26"}),
        Params({"1", "0.8", "0.6", "4711"}),
    };
    return "<l type=\"" + std::to_string(number % 6) + "\">" + kLayers[number % 6] + "</l>\n";
}

/// Six steps, of all kinds in turn.
static std::string Texture(uint32_t number, uint32_t layers)
{
    static const std::pair<int, std::string> kSteps[] = {
        {101, Params({"0.7", "0.5"})},
        {204, Params({"0.05", "0.03", "3", "2"})},
        {102, Params({"0.005"})},
        {205, ""},
        {103, Params({"0.9", "0.6"})},
        {207, Params({"0.1", "0.1", "0.1", "0.1", "0.3", "0.1", "0.1", "0.1", "0.1"})},
        {104, Params({"1.5", "1.2"})},
        {206, Params({"2"})},
        {201, ""},
        {202, Params({"1.1"})},
        {203, Params({"17", "40"})},
    };
    std::string text = "<t>";
    for (uint32_t i = 0; i < 6; ++i)
    {
        const uint32_t step = 6 * number + i;
        const auto& [type, params] = kSteps[step % std::size(kSteps)];
        const bool isCombiner = type < 200;
        text += (isCombiner ? "<layer id=\"" + std::to_string(step % layers) + "\"" : "<filter") +
                std::string(" type=\"") + std::to_string(type) + "\">" + params +
                (isCombiner ? "</layer>" : "</filter>");
    }
    return text + "</t>\n";
}

static std::string Envelope(uint32_t number)
{
    std::string text = "<envelope type=\"0\" loop_type=\"1\" loop_begin=\"0\" loop_end=\"" +
                       std::to_string(100 + number) + "\">\n";
    for (int piece = 0; piece < 3; ++piece)
    {
        text += "  <piece type=\"3\" length=\"400\">\n    " +
                Params({"0.5", "0.01", "-12.75", "1.25"}) + "\n  </piece>\n";
    }
    return text + "</envelope>\n";
}

std::string MakeBigPiece(const PieceSize& size)
{
    DocumentSource demo = SmallDocument();
    std::vector<PackageEntry> entries;
    for (uint32_t i = 0; i < size.layers; ++i)
    {
        demo.sections[0] += Layer(i);
    }
    for (uint32_t i = 0; i < size.textures; ++i)
    {
        demo.sections[1] += Texture(i, size.layers + 3);
    }
    for (uint32_t i = 0; i < size.models; ++i)
    {
        const std::string name = "model-" + std::to_string(i);
        demo.sections[2] += "<m filename=\"" + name + "\"/>\n";
        entries.push_back({name, MakeSheet(size.modelVertices)});
    }
    for (uint32_t i = 0; i < size.envelopes; ++i)
    {
        demo.sections[3] += Envelope(i);
    }
    for (uint32_t i = 0; i < size.effects; ++i)
    {
        demo.sections[5] += "<e name=\"\" type=\"" + std::string(i % 2 == 0 ? "1" : "3") +
                            "\" resolution=\"512x512\" bpp=\"24\"><p>5</p></e>\n";
    }
    for (uint32_t i = 0; i < size.bitmaps; ++i)
    {
        const std::string name = "bitmap-" + std::to_string(i);
        demo.sections[6] += "<b filename=\"" + name + "\"/>\n";
        entries.push_back({name, MakePng(i)});
    }
    return SmallPieceOf(SmallDocument(), demo, entries);
}

// SPDX-License-Identifier: MIT
#include "engine/stage/stage_documents.h"

#include "record/random_numbers.h"

/// @param element   its name, which no reader looks at
static std::string Animated(const char* element, const Value& value)
{
    const bool dynamic = !value.empty() && value[0] == '#';
    return std::string("<") + element + (dynamic ? " type=\"dynamic\"" : " type=\"static\"") +
           " value=\"" + (dynamic ? value.substr(1) : value) + "\"/>";
}

std::string Object(const ObjectSource& source)
{
    std::string text = "<o type=\"" + std::to_string(source.kind) + "\" object=\"" +
                       std::to_string(source.id) + "\" material=\"" +
                       std::to_string(source.material) + "\">";
    for (const Value& value : {source.x, source.y, source.z, Value("0"), Value("0"), source.angle,
                               source.width, source.height, Value("1")})
    {
        text += Animated("v", value);
    }
    return text + "<v value=\"0\"/><v value=\"0\"/></o>";
}

std::string SceneOf(const std::vector<ObjectSource>& objects)
{
    std::string text = "<s>";
    for (const ObjectSource& object : objects)
    {
        text += Object(object);
    }
    return text + "</s>";
}

static std::string Clip(const ClipSource& source)
{
    std::string text = "<c id=\"" + std::to_string(source.scene) + "\" space_before=\"" +
                       std::to_string(source.before) + "\" length=\"" +
                       std::to_string(source.length) + "\" offset=\"0\" type=\"" +
                       std::to_string(source.pass) + "\" rtex=\"" + std::to_string(source.target) +
                       "\">";
    // In perspective the camera stands back and looks a little to the side.
    for (const Value& value : source.perspective
                                  ? std::vector<Value>{"-0.4", "-0.5", "-2.5", "20", "30", "0"}
                                  : std::vector<Value>(6, "0"))
    {
        text += Animated("v", value);
    }
    text += source.perspective ? Animated("f", "50") : "<f type=\"ortographic\"/>";
    return text + "<f type=\"0\"/></c>";
}

std::string RowOf(const std::vector<ClipSource>& clips)
{
    std::string text = "<row>";
    for (const ClipSource& clip : clips)
    {
        text += Clip(clip);
    }
    return text + "</row>";
}

std::string MaterialOf(int type, const std::vector<Value>& color,
                       const std::vector<int>& references, int effect)
{
    std::string text = "<m type=\"" + std::to_string(type) + "\">";
    for (const Value& value : color)
    {
        text += Animated("p", value);
    }
    for (const int reference : references)
    {
        text += "<texture value=\"" + std::to_string(reference) + "\"/>";
    }
    if (effect != 0)
    {
        text += "<effect2d value=\"" + std::to_string(effect) + "\"/>";
    }
    return text + "</m>";
}

std::string LinearEnvelope(const std::string& a, const std::string& b, int length)
{
    return "<e type=\"0\" loop_type=\"0\" loop_begin=\"0\" loop_end=\"0\"><piece type=\"1\" "
           "length=\"" +
           std::to_string(length) + "\"><p>" + a + "</p><p>" + b + "</p></piece></e>";
}

/// An uncompressed image of random pixels in the Targa format.
static std::string Image(int width, int height, int components)
{
    std::string file(18, '\0');
    file[2] = components == 1 ? 3 : 2;
    file[12] = static_cast<char>(width);
    file[14] = static_cast<char>(height);
    file[16] = static_cast<char>(8 * components);
    file[17] = 0x20; // from the top
    Random random = {7};
    for (int i = 0; i < width * height * components; ++i)
    {
        file += static_cast<char>(NextBits(&random) >> 24);
    }
    return file;
}

std::string PackageOf(const DocumentSource& demo, const DocumentSource* loading)
{
    std::vector<PackageEntry> entries;
    if (loading != nullptr)
    {
        entries.push_back({"loading.xmlz", MakeDocument(*loading)});
    }
    entries.push_back({"demo.xmlz", MakeDocument(demo)});
    const ModelSource square = {{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0},
                                {{0, 0, 1, 0, 1, 1, 0, 1}, {0, 0, 2, 0, 2, 2, 0, 2}},
                                {0, 0, 1, 0, 0.6f, 0.8f, 0.6f, 0, 0.8f, 0, 0, 1},
                                {0, 1, 2, 0, 2, 3}};
    entries.push_back({"square", MakeModel(square)});
    entries.push_back({"noise.tga", Image(64, 64, 3)});
    entries.push_back({"wide.tga", Image(128, 32, 4)});
    entries.push_back({"gray.tga", Image(32, 32, 1)});
    return MakePackage(entries);
}

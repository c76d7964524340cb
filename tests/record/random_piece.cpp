// SPDX-License-Identifier: MIT
#include "record/random_piece.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "record/random_bitmap.h"

/// A document that is being written, and what its references may name.
struct Writer
{
    Random* random;    // borrowed
    bool dangles;      // at times a reference names nothing
    bool isLoading;    // the loading document: small, and 100 ticks long
    int32_t layers;    // counts of records
    int32_t textures;  //
    int32_t models;    //
    int32_t envelopes; //
    int32_t lights;    //
    int32_t effects;   //
    int32_t bitmaps;   //
    int32_t materials; // the first is of type 0
    int32_t genMeshes; //
    int32_t scenes;    //
    int32_t ticks;     // length of the longest row
};

static int32_t Count(Writer* writer, int32_t least, int32_t most)
{
    return Between(writer->random, least, writer->isLoading ? std::min(least + 2, most) : most);
}

/// @return the id of one of `count` records, 0 if there are none
static std::string Id(Writer* writer, int32_t count)
{
    if (writer->dangles && Chance(writer->random, 4))
    {
        static constexpr int32_t kNobody[] = {0, -1, 4096, 4097, 1000000};
        int32_t pick = Between(writer->random, 0, static_cast<int32_t>(std::size(kNobody)));
        return std::to_string(pick == std::size(kNobody) ? count + 1 : kNobody[pick]);
    }
    return std::to_string(count == 0 ? 0 : Between(writer->random, 1, count));
}

/// Put together in this order, and made in it too: the operands of + may be made in any.
static std::string Join(std::initializer_list<std::string> parts)
{
    std::string text;
    for (const std::string& part : parts)
    {
        text += part;
    }
    return text;
}

static std::string Param(const std::string& text)
{
    return "<p>" + text + "</p>";
}

static std::string Params(Writer* writer, int32_t count, int32_t low, int32_t high)
{
    std::string text;
    for (int32_t i = 0; i < count; ++i)
    {
        text += Param(Decimal(writer->random, low, high));
    }
    return text;
}

static std::string Integer(Writer* writer, int32_t low, int32_t high)
{
    return Param(std::to_string(Between(writer->random, low, high)));
}

static std::string Static(const std::string& name, const std::string& value)
{
    std::string text = "<" + name;
    text += R"( type="static" value=")";
    text += value;
    return text + "\"/>";
}

/// @param dynamic   percent of values that an envelope gives
static std::string Animated(Writer* writer, const std::string& name, int32_t low, int32_t high,
                            int32_t dynamic)
{
    if (writer->envelopes == 0 || !Chance(writer->random, dynamic))
    {
        return Static(name, Decimal(writer->random, low, high));
    }
    std::string text = "<" + name;
    text += R"( type="dynamic" value=")";
    text += Id(writer, writer->envelopes);
    return text + "\"/>";
}

static std::string Layers(Writer* writer)
{
    std::string text;
    for (int32_t i = 0; i < writer->layers; ++i)
    {
        int32_t type = Between(writer->random, 0, 5);
        text += "<layer type=\"" + std::to_string(type) + "\">";
        text += Params(writer, 3, 0, Chance(writer->random, 20) ? 3 : 1);
        switch (type)
        {
        case 1:
            text += Params(writer, 2, 0, 8);
            break;
        case 2:
            text +=
                Join({Params(writer, 3, 0, 1), Params(writer, 1, 0, 4), Integer(writer, 0, 127)});
            break;
        case 3:
            text +=
                Join({Integer(writer, 1, 7), Integer(writer, 0, 1000), Params(writer, 1, 0, 1)});
            break;
        case 4:
            text += Join({Params(writer, 3, 0, 1), Integer(writer, 1, 12), Integer(writer, 1, 12)});
            text += Join({Integer(writer, 0, 5), Integer(writer, 0, 5), Integer(writer, 0, 64)});
            break;
        case 5:
            text += Integer(writer, 0, 100000);
            break;
        default:
            break;
        }
        text += "</layer>";
    }
    return text;
}

static std::string StepParams(Writer* writer, int32_t type)
{
    Random* random = writer->random;
    if (Chance(random, 8))
    {
        return Params(writer, Between(random, 0, 9), -2, 3);
    }
    switch (type)
    {
    case 102:
        return Param(Chance(random, 70) ? "0.00392157" : Decimal(random, 0, 1));
    case 203:
        return Join({Integer(writer, -255, 255), Integer(writer, -255, 255)});
    case 204:
        return Join({Params(writer, 1, 0, 1), Params(writer, 1, -1, 1), Integer(writer, -4, 9),
                     Integer(writer, 0, 9)});
    case 205:
        return "";
    case 206:
        return Integer(writer, -1, 6);
    case 207:
        return Params(writer, 9, -2, 2);
    case 201:
        return "";
    default:
        return Params(writer, 2, Chance(random, 15) ? -1 : 0, 2);
    }
}

static std::string Textures(Writer* writer)
{
    static constexpr int32_t kTypes[] = {101, 102, 103, 104, 201, 202, 203, 204, 205, 206, 207};
    Random* random = writer->random;
    std::string text;
    for (int32_t i = 0; i < writer->textures; ++i)
    {
        text += "<texture>";
        int32_t steps = Between(random, 0, 7);
        for (int32_t step = 0; step < steps; ++step)
        {
            // The first takes a layer, so that the others have something to work on.
            int32_t pick = step == 0 ? 0 : Between(random, 0, std::size(kTypes) - 1);
            int32_t type = Chance(random, 3) ? Between(random, 0, 300) : kTypes[pick];
            bool takesLayer = type < 200 && !Chance(random, 5);
            std::string name = takesLayer ? "layer" : "filter";
            text += "<" + name;
            text += " type=\"" + std::to_string(type) + "\"";
            if (takesLayer)
            {
                int32_t past = writer->dangles && Chance(random, 5) ? 1 : 0;
                int32_t layer = Between(random, 0, writer->layers - 1 + past);
                text += " id=\"" + std::to_string(layer) + "\"";
            }
            text += ">" + StepParams(writer, type);
            text += "</" + name + ">";
        }
        text += "</texture>";
    }
    return text;
}

static std::string Models(Writer* writer)
{
    std::string text;
    for (int32_t i = 1; i <= writer->models; ++i)
    {
        text += "<model filename=\"m" + std::to_string(i) + ".model\"/>";
    }
    return text;
}

/// An envelope function's parameters, so that values stay in a range where something is seen.
static std::string FunctionParams(Writer* writer, int32_t type, int32_t length)
{
    Random* random = writer->random;
    switch (type)
    {
    case 1:
        return Join({Param(Chance(random, 50) ? "0.01" : "-0.0125"), Params(writer, 1, -3, 3)});
    case 2:
        return Join({Param("0.0001"), Integer(writer, 0, length), Params(writer, 1, -2, 2)});
    case 3:
        return Join({Params(writer, 1, -3, 3),
                     Param("0.0" + std::to_string(Between(random, 1, 99))),
                     Params(writer, 2, -3, 3)});
    case 4:
    {
        int32_t points = Between(random, 1, 12);
        int32_t x = 0;
        std::string text;
        for (int32_t point = 0; point < 12; ++point)
        {
            bool used = point < points;
            text += Param(std::to_string(used ? x : 0));
            text += used ? Params(writer, 1, -4, 4) : Param("0");
            x += Between(random, Chance(random, 5) ? 0 : 5, 60);
        }
        return text;
    }
    case 5:
        return Join({Param("0.00" + std::to_string(Between(random, 1, 99))),
                     Param("0.0" + std::to_string(Between(random, 1, 99))),
                     Params(writer, 3, -3, 3)});
    default:
        return Params(writer, 1, -3, 4);
    }
}

static std::string Envelopes(Writer* writer)
{
    Random* random = writer->random;
    std::string text;
    for (int32_t i = 0; i < writer->envelopes; ++i)
    {
        int32_t pieces = Chance(random, 3) ? 16 : Between(random, Chance(random, 10) ? 0 : 1, 5);
        int32_t loopType = Chance(random, 2) ? 3 : Between(random, 0, 2);
        int32_t begin = Chance(random, 50) ? 0 : Between(random, 0, 200);
        int32_t end = begin + Between(random, Chance(random, 3) ? 0 : 1, 400);
        text += R"(<envelope type="0" loop_type=")" + std::to_string(loopType);
        text += R"(" loop_begin=")" + std::to_string(begin);
        text += R"(" loop_end=")" + std::to_string(end) + "\">";
        for (int32_t piece = 0; piece < pieces; ++piece)
        {
            int32_t type = Chance(random, 1) ? 6 : Between(random, 0, 5);
            int32_t length = Between(random, 1, 300);
            text += R"(<piece type=")" + std::to_string(type);
            text += R"(" length=")" + std::to_string(length) + "\">";
            text += FunctionParams(writer, type, length) + "</piece>";
        }
        text += "</envelope>";
    }
    return text;
}

static std::string ThreeValues(Writer* writer, const std::string& name, int32_t low, int32_t high)
{
    std::string text = "<" + name + ">";
    for (int32_t i = 0; i < 3; ++i)
    {
        text += Animated(writer, "v", low, high, 35);
    }
    return text + "</" + name + ">";
}

static std::string Lights(Writer* writer)
{
    std::string text;
    for (int32_t i = 0; i < writer->lights; ++i)
    {
        text += "<light>" + ThreeValues(writer, "ambient", 0, 1);
        text += ThreeValues(writer, "diffuse", 0, 1);
        text += ThreeValues(writer, "position", -20, 20) + "</light>";
    }
    return text;
}

static std::string Effects(Writer* writer)
{
    static constexpr const char* kSizes[] = {"64x64", "64x64", "128x128", "256x256", "512x512"};
    Random* random = writer->random;
    std::string text;
    for (int32_t i = 0; i < writer->effects; ++i)
    {
        int32_t type = Chance(random, 2) ? 4 : Between(random, 0, 3);
        text += "<effect name=\"e" + std::to_string(i) + "\" type=\"" + std::to_string(type);
        text += R"(" resolution=")";
        text += kSizes[Between(random, 0, Chance(random, 15) ? 4 : 2)];
        text += R"(" bpp=")";
        text += Chance(random, 50) ? "8\">" : "24\">";
        int32_t params = Chance(random, 30) ? 1 : 2;
        for (int32_t param = 0; param < params; ++param)
        {
            text += Param(Id(writer, writer->envelopes));
        }
        text += "</effect>";
    }
    return text;
}

static std::string Bitmaps(Writer* writer)
{
    std::string text;
    for (int32_t i = 1; i <= writer->bitmaps; ++i)
    {
        text += "<bitmap filename=\"b" + std::to_string(i) + ".png\"/>";
    }
    return text;
}

/// The references of a recipe: a light, a procedural texture, a bitmap, an effect.
static constexpr const char* kReferences[] = {
    "",   "l", "p",   "lp", "p", "lp", "e", "b", "bb", "lb", "b",  "b",
    "lb", "b", "lbb", "b",  "b", "b",  "p", "",  "p",  "",   "bb", "",
};
static constexpr int32_t kRecipes = std::size(kReferences);

static bool HasFifthValue(int32_t type)
{
    return type == 11 || type == 12 || type == 16 || type == 23;
}

static std::string Reference(Writer* writer, char kind)
{
    switch (kind)
    {
    case 'l':
        return "<light value=\"" + Id(writer, writer->lights) + "\"/>";
    case 'p':
        return "<texture value=\"" + Id(writer, writer->textures) + "\"/>";
    case 'b':
        return "<texture value=\"" + Id(writer, writer->bitmaps) + "\"/>";
    default:
        return "<effect2d value=\"" + Id(writer, writer->effects) + "\"/>";
    }
}

/// @return whether a valid reference can be made
static bool HasRecords(const Writer* writer, const char* references)
{
    for (const char* kind = references; *kind != '\0'; ++kind)
    {
        int32_t count = *kind == 'l'   ? writer->lights
                        : *kind == 'p' ? writer->textures
                        : *kind == 'b' ? writer->bitmaps
                                       : writer->effects;
        if (count == 0)
        {
            return false;
        }
    }
    return true;
}

static std::string Materials(Writer* writer)
{
    Random* random = writer->random;
    std::string text;
    for (int32_t i = 0; i < writer->materials; ++i)
    {
        int32_t type = i == 0 ? 0 : Between(random, 0, kRecipes - 1);
        const char* references = kReferences[type];
        if (!HasRecords(writer, references) && !writer->dangles)
        {
            type = 19;
            references = "";
        }
        text += "<material type=\"" + std::to_string(type) + "\">";
        for (int32_t param = 0; param < 4; ++param)
        {
            text += Animated(writer, "p", 0, 1, 25);
        }
        if (HasFifthValue(type))
        {
            text += type == 23 ? Animated(writer, "p", 1, 5, 20)
                               : Static("p", Chance(random, 50) ? "1" : "0");
        }
        bool left = Chance(random, 4); // without references
        for (const char* kind = references; *kind != '\0' && !left; ++kind)
        {
            text += Reference(writer, *kind);
        }
        text += "</material>";
    }
    return text;
}

static std::string GenMeshes(Writer* writer)
{
    std::string text;
    for (int32_t i = 0; i < writer->genMeshes; ++i)
    {
        text += Chance(writer->random, 50) ? "<genmesh type=\"0\">" : "<genmesh type=\"1\">";
        bool still = Chance(writer->random, 25);
        text += Param(still ? "0" : Id(writer, writer->envelopes)) + "</genmesh>";
    }
    return text;
}

/// @param alone   it is the object's only manipulator, and may make many instances
static std::string Manipulator(Writer* writer, bool alone)
{
    Random* random = writer->random;
    int32_t type = Chance(random, 2) ? 4 : Between(random, 0, 3);
    std::string text = "<manipulator type=\"" + std::to_string(type) + "\">";
    switch (type)
    {
    case 0:
        for (int32_t i = 0; i < 3; ++i)
        {
            text += Static("p", std::to_string(Between(random, Chance(random, 5) ? 0 : 1, 3)));
        }
        for (int32_t i = 0; i < 9; ++i)
        {
            text += Animated(writer, "p", -3, 3, 15);
        }
        break;
    case 1:
        text += Static("p", Decimal(random, 0, 5));
        for (int32_t i = 0; i < 9; ++i)
        {
            text += Animated(writer, "p", -3, 3, 15);
        }
        break;
    case 2:
        text += Animated(writer, "p", 0, 10, 70);
        text += Animated(writer, "p", -2, 2, 20);
        text += Animated(writer, "p", 0, 3, 20);
        break;
    default:
    {
        bool onGenMesh = alone && writer->genMeshes > 0 && Chance(random, 8);
        text += onGenMesh ? R"(<manipulator type="1" model=")" : R"(<manipulator type="0" model=")";
        text += Id(writer, onGenMesh ? writer->genMeshes : writer->models) + "\"/>";
        for (int32_t i = 0; i < 9; ++i)
        {
            text += Animated(writer, "p", i < 3 ? -5 : i < 6 ? -180 : 0, i < 6 ? 5 : 2, 20);
        }
    }
    }
    return text + "</manipulator>";
}

static std::string Object(Writer* writer)
{
    Random* random = writer->random;
    bool isGenMesh = writer->genMeshes > 0 && (writer->models == 0 || Chance(random, 30));
    int32_t type = isGenMesh ? 1 : writer->dangles && Chance(random, 3) ? 2 : 0;
    std::string text = "<object type=\"" + std::to_string(type);
    text += "\" object=\"" + Id(writer, isGenMesh ? writer->genMeshes : writer->models);
    text += "\" material=\"" + Id(writer, writer->materials) + "\">";
    for (int32_t i = 0; i < 9; ++i)
    {
        int32_t reach = i < 3 ? 10 : i < 6 ? 180 : 3;
        text += Animated(writer, "v", i < 6 ? -reach : 0, reach, 25);
    }
    bool hides = Chance(random, 20);
    text += "<visible value=\"" + (hides ? Id(writer, writer->envelopes) : std::string("0"));
    text += "\"/><shift value=\"";
    text += Chance(random, 25) ? std::to_string(Between(random, -50, 300)) : "0";
    text += "\"/>";

    int32_t manipulators = Chance(random, 60) ? 0 : Between(random, 1, 2);
    for (int32_t i = 0; i < manipulators; ++i)
    {
        text += Manipulator(writer, manipulators == 1 && !isGenMesh);
    }
    return text + "</object>";
}

static std::string Scenes(Writer* writer)
{
    std::string text;
    for (int32_t i = 0; i < writer->scenes; ++i)
    {
        text += "<scene>";
        int32_t objects = Count(writer, 1, 7);
        for (int32_t object = 0; object < objects; ++object)
        {
            text += Object(writer);
        }
        text += "</scene>";
    }
    return text;
}

static std::string FieldOfView(Writer* writer)
{
    if (Chance(writer->random, 25))
    {
        return "<fov type=\"ortographic\"/>";
    }
    return Animated(writer, "fov", 20, 120, 25);
}

static std::string Fog(Writer* writer)
{
    Random* random = writer->random;
    if (Chance(random, 70))
    {
        return "<fog type=\"0\"/>";
    }
    std::string text = "<fog type=\"" + std::to_string(Between(random, 1, 3)) + "\">";
    text += Animated(writer, "density", 0, 1, 20);
    text += Animated(writer, "start", 0, 10, 20);
    text += Animated(writer, "end", 10, 60, 20);
    text += Chance(random, 50) ? R"(<colour value="0"/>)" : R"(<colour value="1"/>)";
    return text + "</fog>";
}

static std::string Clip(Writer* writer, int32_t before, int32_t length)
{
    Random* random = writer->random;
    int32_t type = Chance(random, 50) ? Between(random, 1, 5) : 0;
    bool hasTarget = type == 1 || type == 4 || type == 5;
    if (hasTarget && writer->bitmaps == 0)
    {
        type = 3;
        hasTarget = false;
    }
    std::string text = "<clip id=\"";
    text += Chance(random, 4) ? std::string("0") : Id(writer, writer->scenes);
    text += "\" space_before=\"" + std::to_string(before);
    text += "\" length=\"" + std::to_string(length);
    text += "\" offset=\"" + std::to_string(Chance(random, 25) ? Between(random, 0, 300) : 0);
    text += "\" type=\"" + std::to_string(type) + "\"";
    if (hasTarget)
    {
        text += " rtex=\"" + Id(writer, writer->bitmaps) + "\"";
    }
    text += ">";
    for (int32_t i = 0; i < 6; ++i)
    {
        text += Animated(writer, "v", i < 3 ? -15 : -180, i < 3 ? 5 : 180, 25);
    }
    return Join({text, FieldOfView(writer), Fog(writer), "</clip>"});
}

static std::string TimelineRows(Writer* writer)
{
    Random* random = writer->random;
    int32_t rows = Chance(random, 3) ? 32 : Count(writer, 1, 5);
    std::string text;
    for (int32_t row = 0; row < rows; ++row)
    {
        text += "<row>";
        int32_t clips = writer->isLoading ? 1 : Between(random, row == 0 ? 1 : 0, 4);
        int32_t end = 0;
        for (int32_t clip = 0; clip < clips; ++clip)
        {
            int32_t before = Chance(random, 70) ? 0 : Between(random, 0, 250);
            int32_t length = writer->isLoading ? 101 : Between(random, 30, 400);
            text += Clip(writer, before, length);
            end += before + length;
        }
        writer->ticks = std::max(writer->ticks, end);
        text += "</row>";
    }
    return text;
}

static Writer MakeWriter(Random* random, bool isLoading, bool dangles)
{
    Writer writer = {};
    writer.random = random;
    writer.dangles = dangles;
    writer.isLoading = isLoading;
    writer.layers = Count(&writer, 1, 4);
    writer.textures = Count(&writer, isLoading ? 0 : 1, isLoading ? 1 : 3);
    writer.models = Count(&writer, 0, 4);
    writer.envelopes = Count(&writer, 1, 10);
    writer.lights = Count(&writer, 0, 3);
    writer.effects = Count(&writer, 0, 2);
    writer.bitmaps = Count(&writer, 0, 5);
    writer.materials = Count(&writer, 1, 16);
    writer.genMeshes = Count(&writer, 1, 3);
    writer.scenes = Count(&writer, 1, 4);
    return writer;
}

static DocumentSource WriteDocument(Writer* writer)
{
    DocumentSource source;
    source.sections = {Layers(writer),    Textures(writer), Models(writer),      Envelopes(writer),
                       Lights(writer),    Effects(writer),  Bitmaps(writer),     Materials(writer),
                       GenMeshes(writer), Scenes(writer),   TimelineRows(writer)};
    source.music = R"(<music file="a.xm"/>)";
    return source;
}

/// A closed mesh of no shape.
static ModelSource RandomModel(Random* random)
{
    int32_t vertices = Between(random, 3, 24);
    ModelSource model;
    model.texCoords.resize(static_cast<size_t>(Between(random, 1, 2)));
    auto number = [random](int32_t reach)
    {
        return static_cast<float>(Between(random, -reach * 64, reach * 64)) / 64.0f;
    };
    for (int32_t i = 0; i < vertices; ++i)
    {
        for (int32_t axis = 0; axis < 3; ++axis)
        {
            model.vertices.push_back(number(4));
            model.normals.push_back(number(1));
        }
        for (std::vector<float>& set : model.texCoords)
        {
            set.push_back(number(2));
            set.push_back(number(2));
        }
    }
    int32_t triangles = Between(random, 1, 30);
    for (int32_t i = 0; i < 3 * triangles; ++i)
    {
        model.indices.push_back(static_cast<uint32_t>(Between(random, 0, vertices - 1)));
    }
    return model;
}

/// Spoils one attribute or takes out one child.
static std::string Spoil(Random* random, const std::string& text)
{
    static constexpr const char* kValues[] = {"0", "-1", "99",  "x",   "",       "5000",
                                              "3", "7",  "nan", "1.5", "static", "dynamic"};
    bool attribute = Chance(random, 75);
    const std::string mark = attribute ? "=\"" : "/>";
    std::vector<size_t> places;
    // The first line is the declaration.
    for (size_t at = text.find(mark, text.find('\n')); at != std::string::npos;
         at = text.find(mark, at + 1))
    {
        places.push_back(at);
    }
    int32_t last = static_cast<int32_t>(places.size()) - 1;
    size_t at = places[static_cast<size_t>(Between(random, 0, last))];
    std::string spoilt = text;
    if (!attribute)
    {
        size_t begin = text.rfind('<', at);
        return spoilt.erase(begin, at + 2 - begin);
    }
    if (Chance(random, 25))
    {
        spoilt[at - 1] = '_'; // the attribute has another name
        return spoilt;
    }
    size_t end = text.find('"', at + 2);
    int32_t pick = Between(random, 0, static_cast<int32_t>(std::size(kValues)) - 1);
    return spoilt.replace(at + 2, end - at - 2, kValues[pick]);
}

/// Damages the bytes of a file, or cuts it short.
static void Damage(Random* random, std::string* bytes)
{
    // The size in a container's first word stays: how much memory there is depends on the machine.
    int32_t last = static_cast<int32_t>(bytes->size()) - 1;
    size_t at = static_cast<size_t>(Between(random, 4, last));
    if (Chance(random, 40))
    {
        bytes->resize(at);
        return;
    }
    (*bytes)[at] = static_cast<char>((*bytes)[at] ^ (1 << Between(random, 0, 7)));
}

RandomPiece MakeRandomPiece(Random* random, PieceEdit edit)
{
    bool dangles = Chance(random, 10);
    bool spoilt = Chance(random, 15);
    bool damaged = Chance(random, 5);

    std::vector<PackageEntry> entries;
    int32_t ticks = 0;
    for (const char* name : {"loading.xmlz", "demo.xmlz"})
    {
        bool isLoading = ticks == 0;
        Writer writer = MakeWriter(random, isLoading, dangles);
        std::string text = MakeDocumentText(WriteDocument(&writer));
        if (spoilt && (!isLoading || Chance(random, 25)))
        {
            text = Spoil(random, text);
        }
        entries.push_back({name, text});
        ticks = writer.ticks;
    }
    for (int32_t i = 1; i <= 5; ++i)
    {
        std::string number = std::to_string(i);
        entries.push_back({"m" + number + ".model", MakeModel(RandomModel(random))});
        entries.push_back({"b" + number + ".png", MakeRandomBitmap(random)});
    }
    if (edit != nullptr && !damaged)
    {
        edit(&entries);
    }
    for (size_t i = 0; i < 2; ++i)
    {
        entries[i].bytes = MakeContainer(entries[i].bytes);
    }
    if (damaged)
    {
        int32_t last = static_cast<int32_t>(entries.size()) - 1;
        Damage(random, &entries[static_cast<size_t>(Between(random, 0, last))].bytes);
    }
    return {MakePackage(entries), ticks};
}

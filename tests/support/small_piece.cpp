// SPDX-License-Identifier: MIT
#include "support/small_piece.h"

static std::string Static(const std::string& value)
{
    return "<v type=\"static\" value=\"" + value + "\"/>";
}

static std::string Dynamic(int envelope)
{
    return "<v type=\"dynamic\" value=\"" + std::to_string(envelope) + "\"/>";
}

static std::string Repeat(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
    {
        all += text;
    }
    return all;
}

static std::string Envelope(int type, const std::string& params)
{
    return "<e type=\"0\" loop_type=\"1\" loop_begin=\"0\" loop_end=\"400\"><piece type=\"" +
           std::to_string(type) + "\" length=\"400\">" + params + "</piece></e>";
}

static std::string Param(const std::string& value)
{
    return "<p>" + value + "</p>";
}

static std::string Material(int type, const std::string& params, const std::string& references)
{
    return "<m type=\"" + std::to_string(type) + "\">" + params + references + "</m>";
}

static std::string MaterialParam(const std::string& value)
{
    return "<p type=\"static\" value=\"" + value + "\"/>";
}

static std::string Effect(int type, int bpp, const std::string& params)
{
    return "<e name=\"effect\" type=\"" + std::to_string(type) + "\" resolution=\"64x64\" bpp=\"" +
           std::to_string(bpp) + "\">" + params + "</e>";
}

/// @param kind   0 for a model, 1 for a generated mesh
static std::string Object(int kind, int id, int material, const std::string& manipulators)
{
    return "<o type=\"" + std::to_string(kind) + "\" object=\"" + std::to_string(id) +
           "\" material=\"" + std::to_string(material) + "\">" + Dynamic(2) +
           Repeat(Static("0"), 5) + Repeat(Static("1"), 3) + "<v value=\"0\"/><v value=\"3.5\"/>" +
           manipulators + "</o>";
}

static std::string Manipulator(int type, const std::string& head, const std::string& params)
{
    return "<m type=\"" + std::to_string(type) + "\">" + head + params + "</m>";
}

static std::string Clip(const std::string& attributes, const std::string& projection,
                        const std::string& fog)
{
    return "<c space_before=\"0\" length=\"400\" offset=\"0\" " + attributes + ">" +
           Repeat(Static("0"), 2) + Static("-5") + Dynamic(1) + Repeat(Static("0"), 2) +
           projection + fog + "</c>";
}

static std::string Scenes()
{
    const std::string copies = Manipulator(0, "", Repeat(Static("2"), 3) + Repeat(Static("1"), 9));
    const std::string row = Manipulator(1, "", Dynamic(1) + Repeat(Static("0.5"), 9));
    const std::string ripple = Manipulator(2, "", Dynamic(2) + Static("0.1") + Static("2"));
    const std::string steady = Repeat(Static("0"), 6) + Repeat(Static("1"), 3);
    const std::string onModel = Manipulator(3, "<manipulator type=\"0\" model=\"1\"/>", steady);
    const std::string onMesh = Manipulator(3, "<manipulator type=\"1\" model=\"2\"/>", steady);
    return "<s>" + Object(0, 1, 1, copies) + Object(0, 2, 2, row + onModel) +
           Object(1, 1, 3, ripple) + "</s><s>" + Object(1, 2, 4, "") + Object(0, 1, 5, onMesh) +
           Object(0, 2, 6, ripple + ripple) + "</s><s>" + Object(0, 1, 7, "") + "</s>";
}

static std::string Timeline()
{
    const std::string wide = Static("60");
    const std::string noFog = "<f type=\"0\"/>";
    const std::string fog =
        "<f type=\"1\">" + Static("0.5") + Static("1") + Dynamic(2) + "<v value=\"1\"/></f>";
    return "<row>" + Clip("id=\"1\" type=\"1\" rtex=\"1\"", wide, noFog) +
           Clip("id=\"3\" type=\"0\"", "<v type=\"ortographic\"/>", noFog) + "</row><row>" +
           Clip("id=\"2\" type=\"3\"", Dynamic(3), fog) + "</row>";
}

DocumentSource SmallDocument()
{
    DocumentSource source;
    source.sections[0] = "<l type=\"0\"><p>1</p><p>0.5</p><p>0</p></l>"
                         "<l type=\"1\"><p>1</p><p>1</p><p>1</p><p>2</p><p>3</p></l>"
                         "<l type=\"5\"><p>0.2</p><p>0.3</p><p>0.4</p><p>7</p></l>";
    source.sections[1] = "<t><layer type=\"101\" id=\"0\"/><layer type=\"102\" id=\"1\"/>"
                         "<filter type=\"201\"/><filter type=\"202\"/></t>"
                         "<t><layer type=\"103\" id=\"2\"/><filter type=\"203\"/></t>";
    source.sections[2] = "<m filename=\"triangle\"/><m filename=\"square\"/>";
    source.sections[3] = Envelope(0, Param("30")) + Envelope(1, Param("0.01") + Param("0.5")) +
                         Envelope(3, Param("5") + Param("0.1") + Param("0") + Param("60")) +
                         Envelope(4, Repeat(Param("1") + Param("2"), 12)) +
                         Envelope(1, Param("0.5") + Param("0"));
    source.sections[4] =
        "<l>" + Repeat("<g>" + Repeat(Static("1"), 2) + Dynamic(2) + "</g>", 3) + "</l>";
    source.sections[5] = Effect(0, 8, "<p>1</p><p>2</p>") + Effect(1, 24, "<p>5</p>") +
                         Effect(2, 8, "<p>5</p>") + Effect(3, 24, "<p>2</p>");
    source.sections[6] = "<b filename=\"rgb.tga\"/><b filename=\"rgba.tga\"/>";
    const std::string color = Repeat(MaterialParam("0.5"), 4);
    source.sections[7] = Material(0, color, "") + Material(1, color, "<light value=\"1\"/>") +
                         Material(2, color, "<texture value=\"1\"/>") +
                         Material(6, color, "<effect2d value=\"3\"/>") +
                         Material(6, color, "<effect2d value=\"4\"/>") +
                         Material(2, color, "<texture value=\"2\"/>") +
                         Material(7, color, "<texture value=\"1\"/>");
    source.sections[8] = "<g type=\"0\"><p>5</p></g><g type=\"1\"><p>2</p></g>"
                         "<g type=\"9\"><p>0</p></g>";
    source.sections[9] = Scenes();
    source.sections[10] = Timeline();
    source.music = "<m file=\"none.xm\"/>";
    return source;
}

/// An uncompressed image of 4 by 4 pixels in the Targa format.
static std::string Image(int components)
{
    std::string file(18, '\0');
    file[2] = 2;
    file[12] = 4;
    file[14] = 4;
    file[16] = static_cast<char>(8 * components);
    file[17] = 0x20; // from the top
    for (int i = 0; i < 16 * components; ++i)
    {
        file += static_cast<char>(i * 5);
    }
    return file;
}

static std::string MakePiece(const std::string& loading, const std::string& demo,
                             const std::vector<PackageEntry>& more)
{
    const ModelSource triangle = {
        {0, 0, 0, 1, 0, 0, 0, 1, 0}, {{0, 0, 1, 0, 0, 1}}, {0, 0, 1, 0, 0, 1, 0, 0, 1}, {0, 1, 2}};
    const ModelSource square = {{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0},
                                {{0, 0, 1, 0, 1, 1, 0, 1}, {0, 0, 2, 0, 2, 2, 0, 2}},
                                {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                                {0, 1, 2, 0, 2, 3}};
    std::vector<PackageEntry> entries = {{"loading.xmlz", MakeContainer(loading)},
                                         {"demo.xmlz", MakeContainer(demo)},
                                         {"triangle", MakeModel(triangle)},
                                         {"square", MakeModel(square)},
                                         {"rgb.tga", Image(3)},
                                         {"rgba.tga", Image(4)}};
    entries.insert(entries.end(), more.begin(), more.end());
    return MakePackage(entries);
}

std::string SmallPieceOf(const std::string& loading, const std::string& demo)
{
    return MakePiece(loading, demo, {});
}

std::string SmallPieceOf(const DocumentSource& loading, const DocumentSource& demo)
{
    return SmallPieceOf(loading, demo, {});
}

std::string SmallPieceOf(const DocumentSource& loading, const DocumentSource& demo,
                         const std::vector<PackageEntry>& more)
{
    return MakePiece(MakeDocumentText(loading), MakeDocumentText(demo), more);
}

std::string SmallPiece()
{
    return SmallPieceOf(SmallDocument(), SmallDocument());
}

DocumentSource QuickDocument()
{
    static constexpr char kSlow[] = "length=\"400\"";
    static constexpr char kQuick[] = "length=\"110\"";
    DocumentSource source = SmallDocument();
    source.sections[0] = "<l type=\"0\"><p>1</p><p>0.5</p><p>0</p></l>";
    source.sections[1] = "<t><layer type=\"101\" id=\"0\"/></t><t><filter type=\"201\"/></t>";
    std::string& timeline = source.sections[10];
    for (size_t at = timeline.find(kSlow); at != std::string::npos; at = timeline.find(kSlow, at))
    {
        timeline.replace(at, sizeof(kSlow) - 1, kQuick);
    }
    return source;
}

std::string QuickPiece()
{
    return SmallPieceOf(QuickDocument(), QuickDocument());
}

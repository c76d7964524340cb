// SPDX-License-Identifier: MIT
#include "studio/try_values.h"

#include <GL/glew.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/data/document_values.h"
#include "engine/piece/piece_sections.h"
#include "engine/render/build_mipmaps.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"
#include "studio/build/literal.h"
#include "studio/logic/follow_items.h"
#include "studio/logic/source_edit.h"
#include "studio/studio.h"
#include "tools/files.h"

static constexpr uint64_t kMostSource = uint64_t{64} << 20; // bytes

bool CanTry(const Field& field)
{
    const bool isNumber = field.kind == FieldKind::kNumber || field.kind == FieldKind::kInteger ||
                          field.kind == FieldKind::kTicks;
    switch (field.place.section)
    {
    case Section::kTimeline:
        return field.kind == FieldKind::kNumber;
    case Section::kLayers:
    case Section::kTextures:
    case Section::kEnvelopes:
    case Section::kLights:
    case Section::kMaterials:
    case Section::kScenes:
        return isNumber;
    default:
        return false;
    }
}

// ---- Records of changed items

static ReadContext MakeContext(DemoDocument* document, FaultList* faults)
{
    ReadContext context = {};
    context.document = document;
    context.isDemo = true;
    context.faults = faults;
    return context;
}

/// Reads a record without blocks anew.
static bool RereadRecord(DemoDocument* document, Section section, uint32_t item, FaultList* faults)
{
    const SectionReader& reader = PieceSections[static_cast<size_t>(section)];
    ObjectTable* table = reader.table == nullptr ? nullptr : document->*reader.table;
    void* record = table == nullptr ? nullptr : GetObject(item, table);
    void* fresh = calloc(1, reader.recordSize);
    ReadContext context = MakeContext(document, faults);
    const bool isRead =
        record != nullptr && fresh != nullptr &&
        reader.readItem(FindItem(document, section, item), fresh, item - 1, &context);
    if (isRead)
    {
        memcpy(record, fresh, reader.recordSize);
    }
    free(fresh);
    return isRead;
}

static bool RereadTimeline(DemoDocument* document, FaultList* faults)
{
    DemoDocument other = *document;
    other.timeline = CreateTimeline(faults);
    if (other.timeline == nullptr)
    {
        return false;
    }
    InitializeTimeline(other.timeline);
    ReadContext context = MakeContext(&other, faults);
    const uint32_t rows = CountSectionItems(document, Section::kTimeline);
    bool isRead = true;
    for (uint32_t row = 0; isRead && row < rows && row < kTimelineRows; ++row)
    {
        const TiXmlElement* item = FindItem(document, Section::kTimeline, row + 1);
        isRead = item != nullptr && ReadTimelineRow(item, nullptr, row, &context);
    }
    if (isRead)
    {
        memcpy(document->timeline, other.timeline, sizeof(Timeline));
    }
    free(other.timeline);
    return isRead;
}

/// Computes a texture anew, into the name that it has in OpenGL.
static bool RecomputeTexture(Studio* studio, uint32_t id, ReadContext* context)
{
    StageSlot* slot = &studio->window.slots[studio->active];
    const TiXmlElement* item = FindItem(context->document, Section::kTextures, id);
    const uint32_t name = GetTextureUpload(&slot->stage->run.demo, id);
    ProceduralTexture texture = {};
    bool isMade =
        item != nullptr && name != 0 && ReadProceduralTextureItem(item, &texture, id - 1, context);
    if (isMade)
    {
        UseSlot(slot);
        GLint bound = 0;
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
        glBindTexture(GL_TEXTURE_2D, name);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, kTextureSize, kTextureSize, GL_RGB,
                        GL_UNSIGNED_BYTE, texture.pixels);
        isMade =
            BuildMipmaps(kTextureSize, kTextureSize, texture.pixels, 3, nullptr, context->faults);
        glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(bound));
        UseWindow(&studio->window);
    }
    FreeProceduralTexture(&texture);
    return isMade;
}

/// Whether an item names another.
static bool Names(const DemoDocument* document, const ItemRef& ref, const ItemRef& named)
{
    const std::vector<ItemRef> references = ListReferences(document, ref);
    return std::find(references.begin(), references.end(), named) != references.end();
}

/// Computes a texture anew, or all those that take a layer.
static bool RecomputeTextures(Studio* studio, Section section, uint32_t item, FaultList* faults)
{
    DemoDocument* document = PlayedDocument(studio);
    ReadContext context = MakeContext(document, faults);
    context.computePixels = true;
    const uint32_t layers = CountSectionItems(document, Section::kLayers);
    bool isMade = true;
    for (uint32_t i = 0; isMade && i < layers; ++i)
    {
        const TiXmlElement* layer = FindItem(document, Section::kLayers, i + 1);
        isMade = layer != nullptr && ReadLayerItem(layer, nullptr, i, &context);
    }
    if (section == Section::kTextures)
    {
        isMade = isMade && RecomputeTexture(studio, item, &context);
    }
    else
    {
        const uint32_t textures = CountSectionItems(document, Section::kTextures);
        for (uint32_t id = 1; id <= textures; ++id)
        {
            if (Names(document, {Section::kTextures, id, 0}, {section, item, 0}))
            {
                isMade = isMade && RecomputeTexture(studio, id, &context);
            }
        }
    }
    FreeLayers(&context);
    return isMade;
}

static bool RereadItem(Studio* studio, Section section, uint32_t item)
{
    DemoDocument* document = PlayedDocument(studio);
    FaultList faults;
    StartFaults(&faults);
    bool isRead = false;
    switch (section)
    {
    case Section::kLayers:
    case Section::kTextures:
        isRead = RecomputeTextures(studio, section, item, &faults);
        studio->look.hasOldPictures = true;
        break;
    case Section::kTimeline:
        isRead = RereadTimeline(document, &faults);
        break;
    default:
        isRead = RereadRecord(document, section, item, &faults);
        break;
    }
    FreeFaults(&faults);
    if (isRead && (studio->rowMask.hidden != 0 || studio->rowMask.solo != 0))
    {
        ApplyRows(studio);
    }
    return isRead;
}

/// Sets a text of the piece that plays.
/// @return false if the piece can't be so: it is as before then
static bool SetValue(Studio* studio, const FieldPlace& place, const std::string& text)
{
    DemoDocument* document = PlayedDocument(studio);
    const std::string before = TextAt(document, place);
    if (!SetTextAt(document, place, text))
    {
        return false;
    }
    if (!RereadItem(studio, place.section, place.item))
    {
        SetTextAt(document, place, before);
        RereadItem(studio, place.section, place.item);
        ShowMessage(studio, "the piece can't be played with " + text);
        return false;
    }
    studio->mustShow = true;
    studio->tried.mustSettle = true;
    return true;
}

// ---- Trying

/// @return "light 1, diffuse, r"
static std::string LabelOf(Studio* studio, const Field& field)
{
    const bool hasParts =
        field.place.section == Section::kScenes || field.place.section == Section::kTimeline;
    const ItemRef item = {field.place.section, field.place.item, hasParts ? field.part : 0};
    const std::string group = field.group.empty() || hasParts ? "" : ", " + field.group;
    return LookTitle(studio, item) + group + ", " + field.name;
}

void TryValue(Studio* studio, const Field& field, const std::string& text)
{
    const DemoDocument* document = PlayedDocument(studio);
    const ValueChange change = {
        field.place, field.part, LabelOf(studio, field), TextAt(document, field.place), text, 0};
    if (change.was != text && SetValue(studio, field.place, text))
    {
        NoteChange(change, &studio->tried.edits);
    }
}

void SettleValues(Studio* studio)
{
    EndChange(&studio->tried.edits);
    if (studio->tried.mustSettle && studio->active >= 0)
    {
        studio->tried.mustSettle = false;
        studio->window.slots[studio->active].stage->stride = 0; // it knows the run of other values
        RestartCost(studio, true);
        studio->mustShow = true;
    }
}

/// Undoes a step of the list, or does it again, and tells it.
static void StepThrough(Studio* studio, bool isUndone)
{
    if (studio->active < 0)
    {
        return;
    }
    ValueEdits* edits = &studio->tried.edits;
    for (const ValueChange& step : isUndone ? UndoChange(edits) : RedoChange(edits))
    {
        SetValue(studio, step.place, isUndone ? step.was : step.is);
        ShowMessage(studio, (isUndone ? "undone: " : "done again: ") + step.label);
    }
    SettleValues(studio);
}

void UndoValue(Studio* studio)
{
    StepThrough(studio, true);
}

void RedoValue(Studio* studio)
{
    StepThrough(studio, false);
}

void RevertValue(Studio* studio, const ValueChange& change)
{
    ValueChange back = change;
    back.was = change.is;
    back.is = change.was;
    if (SetValue(studio, change.place, change.was))
    {
        EndChange(&studio->tried.edits);
        NoteChange(back, &studio->tried.edits);
        SettleValues(studio);
    }
}

/// Names changes after the places that they have in the piece that plays.
static void NameChanges(Studio* studio, std::vector<ValueChange>* changes)
{
    const DemoDocument* document = PlayedDocument(studio);
    for (ValueChange& change : *changes)
    {
        for (const Field& field :
             ListFields(document, {change.place.section, change.place.item, change.part}))
        {
            if (field.place == change.place)
            {
                change.label = LabelOf(studio, field);
            }
        }
    }
}

/// A literal in a loop, or in a function, is that of several values: tells how many have changed
/// with the one that was written.
/// @param before   the piece before, with the texts that were written
static void TellOthers(Studio* studio, const DemoDocument* before)
{
    TriedValues* tried = &studio->tried;
    if (tried->written.empty())
    {
        return;
    }
    size_t others = 0;
    for (const FieldPlace& place : ListDifferences(before, PlayedDocument(studio)))
    {
        others +=
            std::none_of(tried->written.begin(), tried->written.end(),
                         [&place](const ValueChange& change) { return change.place == place; })
                ? 1
                : 0;
    }
    if (others != 0)
    {
        tried->lastWritten += others == 1 ? "; another value of the piece has changed with it"
                                          : "; " + std::to_string(others) +
                                                " other values of the piece have changed with it";
        ShowMessage(studio, "written to " + tried->lastWritten);
    }
}

/// Takes what was tried and written from a piece to the one that plays.
/// @param before   the piece before; its texts are set back to those of its sources
static void FollowTried(Studio* studio, const DemoDocument* before)
{
    TriedValues* tried = &studio->tried;
    for (const ValueChange& change : ListChanges(tried->edits))
    {
        SetTextAt(before, change.place, change.was);
    }
    for (const ValueChange& change : tried->written)
    {
        SetTextAt(before, change.place, change.is);
    }
    TellOthers(studio, before);
    std::vector<ValueChange> lost;
    FollowChanges(before, PlayedDocument(studio), &tried->written, &lost);
    lost.clear(); // what is written is in the sources
    RebaseChanges(before, PlayedDocument(studio), &tried->edits, &lost);
    NameChanges(studio, &tried->written);
    NameChanges(studio, &tried->edits.steps);
    if (!lost.empty())
    {
        ShowMessage(
            studio,
            lost[0].label + " is not tried any more: it can't be told which item " +
                "of the saved piece that is" +
                (lost.size() == 1 ? "" : "; " + std::to_string(lost.size() - 1) + " more alike"));
    }
}

void KeepTrying(Studio* studio, bool isOther)
{
    if (isOther || studio->replaced < 0)
    {
        studio->tried = {};
        return;
    }
    FollowTried(studio, &studio->window.slots[studio->replaced].stage->run.piece.demo);
    // A program may compute something else from the number that was written.
    for (const ValueChange& change : studio->tried.written)
    {
        const std::string text = TextAt(PlayedDocument(studio), change.place);
        if (ParseFloat(text.c_str()) != ParseFloat(change.is.c_str()))
        {
            ShowMessage(studio, change.label + " is " + text + " now, although " + change.is +
                                    " was written");
        }
    }
    studio->tried.written.clear();
    for (const ValueChange& change : ListChanges(studio->tried.edits))
    {
        SetValue(studio, change.place, change.is);
    }
    SettleValues(studio);
}

// ---- Into the sources

/// The author's line of a change; an empty path where none is known.
static SourceLine LineOf(const Studio* studio, const ValueChange& change)
{
    return FindSource(studio, {change.place.section, change.place.item, change.part});
}

void CopyChanges(Studio* studio, const std::vector<ValueChange>& changes)
{
    std::vector<std::string> lines;
    for (const ValueChange& change : changes)
    {
        const SourceLine line = LineOf(studio, change);
        lines.push_back(line.path.empty() ? ""
                                          : line.path.substr(line.path.rfind('/') + 1) + ":" +
                                                std::to_string(line.line));
    }
    SDL_SetClipboardText(ChangesText(changes, lines).c_str());
    ShowMessage(studio, std::to_string(changes.size()) + " copied");
}

/// Writes other bytes in the place of a range, if a file is as it was.
static std::string WriteRange(const std::string& path, const TextRange& range,
                              const std::string& text, const std::string& with)
{
    const std::string changed = ReplaceRange(text, range, with);
    return ReplaceFile(path, reinterpret_cast<const unsigned char*>(changed.data()), changed.size())
               ? ""
               : path + " can't be written";
}

/// @return the line of a byte, from 1
static uint32_t LineAt(const std::string& text, size_t place)
{
    const auto end = text.begin() + static_cast<ptrdiff_t>(std::min(place, text.size()));
    return static_cast<uint32_t>(std::count(text.begin(), end, '\n')) + 1;
}

static std::string ReadText(const std::string& path)
{
    Bytes bytes;
    return ReadWholeFile(path, kMostSource, &bytes) ? std::string(bytes.begin(), bytes.end()) : "";
}

/// A label ends with the group and the name of a value: "light 1, diffuse, r".
static LiteralHint LabelHint(const std::string& label)
{
    const size_t last = label.rfind(", ");
    const size_t before = last == 0 ? last : label.rfind(", ", last - 1);
    const std::string group =
        before == std::string::npos ? "" : label.substr(before + 2, last - before - 2);
    return HintOf(group, label.substr(last + 2));
}

static std::string ToldPath(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

/// @return an empty text if the lines of a source are those of the piece that plays
static std::string WhyOutdated(const Studio* studio, const std::string& path)
{
    return IsAsPlayed(&studio->folder, path)
               ? ""
               : ToldPath(path) + " is not the file that this picture was made from: let it build "
                                  "without mistakes, then write";
}

/// @param written   receives the line of the number, which may stand below that of its statement
/// @return an empty text, or why the change can't be written
static std::string WriteIntoProgram(const Studio* studio, const ValueChange& change,
                                    SourceLine* written)
{
    const SourceLine line = LineOf(studio, change);
    if (line.path.empty() || line.path.find(".py") == std::string::npos)
    {
        return "no line of the author's is known for it";
    }
    std::string outdated = WhyOutdated(studio, line.path);
    if (!outdated.empty())
    {
        return outdated;
    }
    const std::string text = ReadText(line.path);
    LiteralEdit edit = {};
    std::string wrong =
        FindLiteral({line.path, line.line, change.was, change.is, LabelHint(change.label)}, &edit);
    if (!wrong.empty())
    {
        return ToldPath(line.path) + ":" + std::to_string(line.line) + ": " + wrong;
    }
    if (ReadText(line.path) != text)
    {
        return ToldPath(line.path) + " was saved in this moment; write again";
    }
    *written = {line.path, LineAt(text, edit.range.begin)};
    return WriteRange(line.path, edit.range, text, edit.text);
}

static std::string WriteIntoDocument(const Studio* studio, const std::string& path,
                                     const ValueChange& change, SourceLine* written)
{
    std::string outdated = WhyOutdated(studio, path);
    if (!outdated.empty())
    {
        return outdated;
    }
    const std::string text = ReadText(path);
    const TextRange range = FindXmlValue(text, change.place);
    if (range.end == 0 || text.substr(range.begin, range.end - range.begin) != change.was)
    {
        return path + " does not say " + change.was + " there";
    }
    *written = {path, LineAt(text, range.begin)};
    return WriteRange(path, range, text, change.is);
}

void WriteChange(Studio* studio, const ValueChange& change)
{
    const std::string& folder = studio->folder.watcher.folder;
    SourceLine line = {"", 0};
    const std::string wrong = folder.empty() ? "a package has no sources; open its folder"
                              : HasScript(folder)
                                  ? WriteIntoProgram(studio, change, &line)
                                  : WriteIntoDocument(studio, folder + "/demo.xml", change, &line);
    if (!wrong.empty())
    {
        ShowMessage(studio, wrong);
        return;
    }
    NoteWritten(&studio->folder, line.path);
    TriedValues* tried = &studio->tried;
    tried->written.push_back(change);
    tried->lastLine = line;
    tried->lastWritten = line.path.substr(line.path.rfind('/') + 1) + ":" +
                         std::to_string(line.line) + ": " + change.label + " is " + change.is;
    ShowMessage(studio, "written to " + tried->lastWritten);
}

// SPDX-License-Identifier: MIT
#include "studio/state_line.h"

#include <GL/glew.h>
#include <cstdio>
#include <zlib.h>

#include "engine/data/numeric.h"

static std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text)
    {
        if (c == '"' || c == '\\')
        {
            quoted += '\\';
        }
        if (static_cast<unsigned char>(c) >= 0x20)
        {
            quoted += c;
            continue;
        }
        char escaped[8];
        snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
        quoted += escaped;
    }
    return quoted + "\"";
}

static std::string Member(const char* name, const std::string& value)
{
    return Quoted(name) + ": " + value;
}

static std::string Number(uint64_t number)
{
    return std::to_string(number);
}

static std::string Truth(bool truth)
{
    return truth ? "true" : "false";
}

static std::string Texts(const std::vector<std::string>& texts)
{
    std::string list;
    for (const std::string& text : texts)
    {
        list += (list.empty() ? "" : ", ") + Quoted(text);
    }
    return "[" + list + "]";
}

/// First and last tick of the clip that was clicked.
static std::string ChosenTicks(const Studio* studio)
{
    if (studio->chosenBar < 0)
    {
        return "null";
    }
    const ClipBar& bar = studio->bars[static_cast<size_t>(studio->chosenBar)];
    return "[" + Number(bar.begin) + ", " + Number(bar.end) + "]";
}

/// The findings of a kind, as editors know them.
static std::string Findings(const Studio* studio, FindingKind kind)
{
    std::string list;
    for (const FindingLine& finding : studio->findings)
    {
        if (finding.kind == kind)
        {
            const std::string place =
                finding.line == 0 ? "" : finding.path + ":" + std::to_string(finding.line) + ": ";
            list += (list.empty() ? "" : ", ") + Quoted(place + finding.text);
        }
    }
    return "[" + list + "]";
}

/// The camera that is flown.
static std::string Fly(const Studio* studio)
{
    const FlyCamera& camera = studio->flight.camera;
    char text[160];
    snprintf(text, sizeof(text), "[%.6g, %.6g, %.6g, %.6g, %.6g, %.6g]",
             static_cast<double>(camera.x), static_cast<double>(camera.y),
             static_cast<double>(camera.z), static_cast<double>(camera.rotX),
             static_cast<double>(camera.rotY), static_cast<double>(camera.rotZ));
    return studio->flight.isOn ? text : "null";
}

static std::string Changes(const Studio* studio)
{
    std::vector<std::string> texts;
    for (const ValueChange& change : ListChanges(studio->tried.edits))
    {
        texts.push_back(change.label + ": " + change.was + " -> " + change.is);
    }
    return Texts(texts);
}

/// The item that is looked at.
static std::string Inside(const Studio* studio)
{
    const Look& look = studio->look;
    if (studio->active < 0 || look.ref.item == 0)
    {
        return "null";
    }
    const DemoDocument* document = PlayedDocument(studio);
    std::vector<std::string> values;
    const uint32_t time = LookTime(studio, look.context);
    for (const Field& field : ListFields(document, look.ref))
    {
        char number[48];
        snprintf(number, sizeof(number), "%.6g",
                 static_cast<double>(FieldValue(document, field, time)));
        const bool isNumber = field.kind != FieldKind::kItem && field.kind != FieldKind::kWord;
        values.push_back(field.group + (field.group.empty() ? "" : " ") + field.name + " " +
                         (isNumber ? number : field.text));
    }
    std::vector<std::string> users;
    for (const ItemRef& user : look.users)
    {
        users.push_back(ItemTitle(document, user));
    }
    std::vector<std::string> pictures;
    for (const LookPicture& picture : look.pictures)
    {
        pictures.push_back(picture.title);
    }
    const SourceLine source = FindSource(studio, look.ref);
    return "{" + Member("title", Quoted(ItemTitle(document, look.ref))) + ", " +
           Member("time", Number(time)) + ", " + Member("values", Texts(values)) + ", " +
           Member("users", Texts(users)) + ", " + Member("pictures", Texts(pictures)) + ", " +
           Member("pixel", Quoted(look.pixel)) + ", " +
           Member("curves", Number(ListCurves(studio, look.ref).size())) + ", " +
           Member("source", Quoted(source.path + ":" + std::to_string(source.line))) + ", " +
           Member("yaw", std::to_string(TruncateToInt(look.wire.yaw))) + ", " +
           Member("zoom_percent", std::to_string(TruncateToInt(look.wire.zoom * 100.0f))) + "}";
}

/// The picture that was swapped last, and how much of the piece's graph is counted.
static std::string Cost(const Studio* studio)
{
    const StudioCost& cost = studio->cost;
    const FrameCost* frame = LastCost(&cost.history);
    if (frame == nullptr)
    {
        return "null";
    }
    const ClipCost sum = SumClips(*frame);
    const size_t place = frame->tick / cost.piece.step;
    const bool isCounted = place < cost.piece.draws.size();
    uint64_t clips = 0;
    uint64_t clipTextureBytes = 0;
    for (const ClipCost& clip : frame->clips)
    {
        clips += clip.row == kNoClip ? 0 : 1;
        clipTextureBytes += clip.row == kNoClip ? 0 : clip.textureBytes;
    }
    return "{" + Member("tick", Number(frame->tick)) + ", " +
           Member("evaluation_ns", Number(frame->evaluationNs)) + ", " +
           Member("simulation_ns", Number(frame->simulationNs)) + ", " +
           Member("call_ns", Number(frame->callNs)) + ", " +
           Member("swap_ns", Number(frame->swapNs)) + ", " + Member("parts", Number(frame->parts)) +
           ", " + Member("draws", Number(sum.draws)) + ", " +
           Member("triangles", Number(sum.triangles)) + ", " +
           Member("state_calls", Number(sum.stateCalls)) + ", " +
           Member("texture_bytes", Number(sum.textureBytes)) + ", " +
           Member("clips", Number(clips)) + ", " +
           Member("clip_texture_bytes", Number(clipTextureBytes)) + ", " +
           Member("pictures", Number(cost.history.frames.size())) + ", " +
           Member("counted", Number(cost.piece.draws.size())) + ", " +
           Member("values", Number(cost.piece.shownUs.size())) + ", " +
           Member("shown_us",
                  Number(place < cost.piece.shownUs.size() ? cost.piece.shownUs[place] : 0)) +
           ", " + Member("counted_draws", Number(isCounted ? cost.piece.draws[place] : 0)) + ", " +
           Member("clip_state_calls", Number(ClipStateCalls(*frame))) + ", " +
           Member("state_values", Number(cost.piece.stateCalls.size())) + ", " +
           Member("counted_state_calls",
                  Number(place < cost.piece.stateCalls.size() ? cost.piece.stateCalls[place] : 0)) +
           ", " +
           Member("counted_texture_bytes", Number(isCounted ? cost.piece.textureBytes[place] : 0)) +
           "}";
}

static std::string Rects(const Studio* studio)
{
    std::string list;
    for (const auto& [name, rect] : studio->rects)
    {
        char numbers[128];
        snprintf(numbers, sizeof(numbers), "[%d, %d, %d, %d]", static_cast<int>(rect.left),
                 static_cast<int>(rect.top), static_cast<int>(rect.width),
                 static_cast<int>(rect.height));
        list += (list.empty() ? "" : ", ") + Member(name.c_str(), numbers);
    }
    return "{" + list + "}";
}

static std::string State(const Studio* studio)
{
    const Transport& transport = studio->transport;
    int x = 0;
    int y = 0;
    SDL_GetWindowPosition(studio->window.window, &x, &y);
    const std::string members[] = {
        Member("window", "[" + std::to_string(x) + ", " + std::to_string(y) + "]"),
        Member("scale", std::to_string(studio->scale)),
        Member("redraws", Number(studio->redraws)),
        Member("piece", Quoted(studio->loadedPath)),
        Member("tick", Number(TransportTick(&transport))),
        Member("shown", Number(studio->shownTick)),
        Member("sought", Quoted(studio->soughtText)),
        Member("held", Truth(transport.isHeld)),
        Member("end", Number(transport.endTick)),
        Member("plays", Truth(transport.plays)),
        Member("speed", Number(transport.speed)),
        Member("range", transport.hasRange ? "[" + Number(transport.rangeBegin) + ", " +
                                                 Number(transport.rangeEnd) + "]"
                                           : "null"),
        Member("frames", Number(studio->frames)),
        Member("loads", Number(studio->loads)),
        Member("loading", Truth(studio->loader.isRunning)),
        Member("load_us", Number(studio->loadUs)),
        Member("seek_us", Number(studio->seekUs)),
        Member("items_made", Number(studio->made)),
        Member("items_kept", Number(studio->kept)),
        Member("errors", Findings(studio, FindingKind::kError)),
        Member("warnings", Findings(studio, FindingKind::kWarning)),
        Member("selected", Number(studio->selectedFinding)),
        Member("builds", Number(studio->folder.builds)),
        Member("building", Truth(studio->folder.builder.isBuilding)),
        Member("made", Number(studio->folder.made)),
        Member("script_us", Number(studio->folder.scriptUs)),
        Member("pack_us", Number(studio->folder.packUs)),
        Member("check_us", Number(studio->folder.checkUs)),
        Member("reload_ms", Number(studio->folder.reloadMs)),
        Member("reloads", Number(studio->folder.reloads)),
        Member("sound", studio->sound.device == 0 ? "\"none\""
                        : studio->sound.isPlaying ? "\"plays\""
                                                  : "\"waits\""),
        Member("sound_ms", Number(studio->soundMs)),
        Member("muted", Truth(studio->sound.isMuted)),
        Member("volume", Number(static_cast<uint64_t>(studio->settings.volume))),
        Member("samples",
               Number(studio->track.samples == nullptr ? 0 : studio->track.samples->size() / 2)),
        Member("rows", Number(studio->track.rows.size())),
        Member("chosen", std::to_string(studio->chosenBar)),
        Member("chosen_ticks", ChosenTicks(studio)),
        Member("chosen_text", Texts(ChosenClipLines(studio))),
        Member("hidden", Number(studio->rowMask.hidden)),
        Member("solo", Number(studio->rowMask.solo)),
        Member("first", Number(static_cast<uint64_t>(studio->timelineView.firstTick))),
        Member("panels", Truth(studio->showsPanels)),
        Member("panel_bits", Number(studio->panels)),
        Member("reaches", Truth(studio->reachesPanels)),
        Member("keys", Truth(studio->showsKeys)),
        Member("fly", Fly(studio)),
        Member("changes", Changes(studio)),
        Member("inside", Inside(studio)),
        Member("cost", Cost(studio)),
        Member("message", Quoted(studio->message)),
        Member("rects", Rects(studio)),
    };
    std::string line;
    for (const std::string& member : members)
    {
        line += (line.empty() ? "" : ", ") + member;
    }
    return "{" + line + "}";
}

/// How many names of OpenGL are in use, of all pieces that were ever open.
static std::string Names()
{
    // Names are given from 1 on. Some drivers never give one of a buffer again: this is far more
    // than a thousand reloads take.
    static constexpr GLuint kLastName = 1u << 18;
    uint64_t textures = 0;
    uint64_t buffers = 0;
    for (GLuint name = 1; name <= kLastName; ++name)
    {
        textures += glIsTexture(name) != 0 ? 1 : 0;
        buffers += glIsBuffer(name) != 0 ? 1 : 0;
    }
    return "{" + Member("textures", Number(textures)) + ", " + Member("buffers", Number(buffers)) +
           "}";
}

std::string Answer(const Studio* studio, const std::string& question)
{
    if (question == "state")
    {
        return State(studio);
    }
    if (question == "names")
    {
        return Names();
    }
    if (question == "picture")
    {
        const std::vector<uint8_t> pixels = ReadShownPicture(&studio->window);
        const uLong sum = crc32(0, pixels.data(), static_cast<uInt>(pixels.size()));
        return "{" + Member("crc32", Number(sum)) + "}";
    }
    return "{" + Member("error", Quoted("the questions are \"state\", \"picture\" and \"names\"")) +
           "}";
}

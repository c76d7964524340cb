// SPDX-License-Identifier: MIT

// The wishes for `dpk render`, and the plan that comes of them: every picture with its time, the
// sound, and where all of it goes. A plan holds nothing of OpenGL, so it can be made once and be
// carried out by several processes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "music/module_sound.h"
#include "tools/files.h"
#include "tools/render_time.h"

/// The words of the command line.
struct RenderOptions
{
    std::string out;  // empty where nothing is written
    std::string size; // empty for the size that fits the kind of output
    std::string aspect;
    std::string fps = "60";
    std::string from;
    std::string to;
    std::string at;
    std::string sheet;
    std::string ffmpeg;
    std::string part;
    std::string compare;
    std::string progress;
    double tolerance = 10.0; // of 255, the mean difference of a picture's channels
    double loading = 0.0;    // seconds
    int32_t samples = 2;
    int32_t supersample = 1;
    int32_t thumbnail = 0; // pixels, the longer side; 0 for none
    int32_t jobs = 1;
    bool noSound = false;
    bool noVbo = false;
    bool onlyHash = false;
    bool resumes = false;
    bool keeps = false;
    bool joins = false;
    bool isForced = false;
    bool isQuiet = false;
};

enum class RenderKind : uint8_t
{
    kHash,     // nothing is written
    kFilm,     // by ffmpeg
    kPictures, // a file each, numbered
    kRaw,      // RGB to standard output
    kWave,     // the sound alone
    kStill,    // one picture
    kSheet,
    kThumbnail,
};

/// One picture that is drawn.
struct PictureRequest
{
    uint32_t time;  // ticks; of the loading screen 0 to 99
    bool isLoading; // of the loading screen
};

struct RenderPlan
{
    RenderKind kind;
    std::string out;    // the path; of pictures the part before the number
    std::string outEnd; // of pictures the part after the number, ".png" or ".ppm"
    int32_t outDigits;  // of pictures, at least so many
    int rawOutput;      // descriptor that raw pictures go to

    int32_t width;       // pixels of the pictures
    int32_t height;      // pixels
    int32_t samples;     // of each pixel that is drawn
    int32_t supersample; // pixels that are drawn for one, in each direction
    float aspect;
    bool usesVbo;

    PictureRate rate;
    uint32_t fromTick;
    uint32_t toTick;
    uint32_t loadingCount;                // pictures of the loading screen, in front
    std::vector<PictureRequest> pictures; // all, also those of other parts
    uint32_t part;                        // counted from 1
    uint32_t partCount;                   // 1 for the whole
    uint32_t first;                       // picture of the part, and the one after its last
    uint32_t end;

    std::vector<std::string> codec;      // ffmpeg's arguments for pictures
    std::vector<std::string> soundCodec; // and for sound
    std::string muxer;                   // ffmpeg's name of the container
    int32_t columns;                     // of a contact sheet
    int32_t rows;
};

/// A piece that is read, packed and checked.
struct RenderSource
{
    std::string path;
    Bytes package;
    std::string musicFolder; // that its module is looked for from
    ModuleSound sound;       // zeros where there is none
    bool hasSound;
    uint32_t endTick; // the first that shows nothing, which ends a piece
    bool hasEnd;
};

/// Pictures of a film that are encoded together, and so can't be parted.
inline constexpr uint32_t kFilmChunk = 240;
inline constexpr uint32_t kMostPictures = 1u << 24;

/// Works out what does not depend on the piece.
/// @return the exit code, after an error line unless it is kExitDone
int ReadRenderOptions(const RenderOptions& options, RenderPlan* plan);

/// Works out times and pictures.
/// @return false after an error line
bool PlanPictures(const RenderOptions& options, const RenderSource& source, RenderPlan* plan);

/// Opens a package, or packs a folder; checks it, and makes its sound.
/// @param wantsSound   else there is none
/// @return false after an error line or findings
bool OpenRenderSource(const std::string& path, bool wantsSound, RenderSource* source);

/// @return the file of a picture
std::string PictureFile(const RenderPlan& plan, uint32_t index);

/// @return the pictures that are drawn together: a part begins with the first of such a row
uint32_t PicturesTogether(const RenderPlan& plan);

/// @return the sound of pictures [first, end) of a film, with silence where the module has none:
///         left and right by turns
std::vector<int16_t> SoundOfPictures(const RenderPlan& plan, const ModuleSound& sound,
                                     uint32_t first, uint32_t end);

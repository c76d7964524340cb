// SPDX-License-Identifier: MIT

// The item of the piece that is looked at: its values, its pictures, who uses it and where it was
// made.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/check/origins.h"
#include "studio/logic/curve_names.h"
#include "studio/logic/piece_fields.h"
#include "studio/logic/wire_mesh.h"

struct Studio;

/// The way by which an item was come to: it tells the time that its curves are at.
struct LookContext
{
    bool hasClip;
    uint32_t row, clip; // counted from 0
    ItemRef object;     // of a scene; item 0 for none
};

/// A picture in a texture that the window's OpenGL can show.
struct LookPicture
{
    std::string title;
    uint32_t texture;      // OpenGL name
    bool isOwned;          // and not the piece's
    bool isUpsideDown;     // its first row is the lowest
    int32_t width, height; // pixels
};

struct Look
{
    ItemRef ref;      // item 0 for none
    ItemRef drawnRef; // the one in the panel: another one is shown from its top
    LookContext context;
    std::vector<ItemRef> users;        // of the item
    std::vector<LookPicture> pictures; // of the item
    size_t shownPicture;               // place in pictures
    std::string pixel;                 // under the mouse; empty for none
    WireView wire;
    WireView drawnWire;    // of the picture of a mesh
    uint32_t drawnTick;    // the same
    bool isOld;            // users and pictures are of another item or piece
    bool hasOldPictures;   // pictures are of other values
    bool isZooming;        // the mouse is on a mesh: its wheel is the mesh's
    CurveNames curveNames; // of the demo; none before the first is asked for
    OriginList origins;    // of the demo, where its author's program told them
};

/// Looks at an item from now on.
void LookAt(Studio* studio, const ItemRef& ref, const LookContext& context);

/// Brings pictures and users up to date. Relies on: the window used.
void RefreshLook(Studio* studio);

/// Reads the table of the author's lines, if the piece is a folder that has one.
void ReadLines(Studio* studio);

/// Another piece took over: the item may be another one.
void ForgetLook(Studio* studio);

/// Gives pictures back. Relies on: the window used.
void CloseLook(Studio* studio);

/// @return the time that curves are evaluated at for the item, in ticks
uint32_t LookTime(const Studio* studio, const LookContext& context);

/// @return ItemTitle of the piece that plays, with what a curve is used for
std::string LookTitle(Studio* studio, const ItemRef& ref);

/// The author's line of an item.
struct SourceLine
{
    std::string path; // empty where none is known
    uint32_t line;
};

SourceLine FindSource(const Studio* studio, const ItemRef& ref);

/// Reads a pixel of a picture. Relies on: the window used.
/// @param x, y   as the picture is shown
/// @return "x 3, y 7: 255 128 0 255"; empty outside, and where OpenGL has no such picture yet
std::string ReadPixel(const LookPicture& picture, int32_t x, int32_t y);

/// Where a scene's object takes its values from: its own curves and those of its material.
struct NamedCurve
{
    std::string name;
    uint32_t id;
};

/// @return the curves of the item, the material of an object included; an envelope is its own
std::vector<NamedCurve> ListCurves(const Studio* studio, const ItemRef& ref);

// SPDX-License-Identifier: MIT

// Curves named by what they move: documents only number them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "studio/logic/piece_fields.h"

/// [curve's id - 1]: "rotation y of scene 1, object 3 "ring.obj" and 2 more", after the first value
/// in the document's order that is this curve; empty where none is.
using CurveNames = std::vector<std::string>;

/// Walks through the whole document.
CurveNames NameCurves(const DemoDocument* document);

/// @return as ItemTitle; a curve with its name: "curve 4: rotation y of ..."
std::string TitleWithUse(const DemoDocument* document, const CurveNames& names, const ItemRef& ref);

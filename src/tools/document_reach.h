// SPDX-License-Identifier: MIT

// Which items of a document its clips show, themselves or through what they show.
#pragma once

#include <cstdint>
#include <tinyxml.h>
#include <vector>

#include "engine/data/section.h"

/// The items of a document, section by section. A layer stands in the place that steps name it by,
/// any other item in that of its id less 1. Where ids are doubtful, all that they may mean counts
/// as reached.
struct DocumentReach
{
    std::vector<TiXmlElement*> items[kSectionCount]; // borrowed
    std::vector<uint8_t> isReached[kSectionCount];   // parallel to items; of the timeline all 0
};

/// Walks from the clips. Effects and generated meshes count as reached, all of them: their first
/// pixels and points are made while they load, with the values of their envelopes.
/// @return false if the document lacks a section or has an item that is no element
bool FindReach(TiXmlDocument* document, DocumentReach* reach);

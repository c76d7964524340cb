// SPDX-License-Identifier: MIT

// How each section of a piece's documents is read.
#pragma once

#include "engine/data/demo_document.h"

/// A row's place is the section's number.
extern const SectionReader PieceSections[kSectionCount];

// SPDX-License-Identifier: MIT

// The sources that every routine of a frame needs, as one record.
#pragma once

#include <cstdint>

#include "engine/animation/animated_value.h"
#include "engine/data/arena.h"
#include "engine/data/demo_document.h"
#include "engine/data/fault.h"
#include "engine/data/gl_features.h"
#include "engine/data/random_sequence.h"
#include "engine/piece/piece_state.h"
#include "engine/render/gl_context.h"
#include "engine/render/upload.h"

/// One document ready to be drawn. All pointers are borrowed.
struct FrameSources
{
    const DemoDocument* document; // its records; drawing changes none of them
    DocumentState* state;         // what changes while the document plays
    DocumentUpload* upload;       // its OpenGL names; passes may resize their target
    RandomSequence* random;       // one for both documents of a piece
    GlContext* gl;
    Arena* arena; // memory of one object; given back after each
    GlFeatures features;
    FaultList* faults; // its place tells where drawing stands
};

/// The values that the document's envelopes drive.
inline Animation FrameAnimation(const FrameSources* sources)
{
    return {sources->document->envelopes, sources->state->envelopes, sources->faults};
}

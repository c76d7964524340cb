// SPDX-License-Identifier: MIT

// Values that are tried out: each change with its texts before and after, to undo and redo, and
// all that differs from the sources.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "studio/logic/piece_fields.h"

struct ValueChange
{
    FieldPlace place;
    uint32_t part;     // of the item, for the author's line; 0 for none
    std::string label; // "light 1, diffuse red"
    std::string was, is;
    uint32_t drag; // steps of one drag have one number: a color's three are undone together
};

struct ValueEdits
{
    std::vector<ValueChange> steps;
    size_t applied; // steps that were not undone
    bool isOpen;    // the last drag goes on, as long as the mouse is down
    uint32_t drags; // so far
};

/// Notes a change, whose drag is not looked at. One of a place of the open drag goes on with its
/// step; else it is a step of its own. Steps that were undone are gone.
void NoteChange(const ValueChange& change, ValueEdits* edits);

/// The mouse was let go: the next change is another step.
void EndChange(ValueEdits* edits);

/// @return the steps of the drag that was undone, which have to be set to `was`; none for none
std::vector<ValueChange> UndoChange(ValueEdits* edits);

/// @return the steps of the drag that was done again, which have to be set to `is`; none for none
std::vector<ValueChange> RedoChange(ValueEdits* edits);

/// @return all places that differ from the sources, in the order of their first change: with the
///         source's text and the one now
std::vector<ValueChange> ListChanges(const ValueEdits& edits);

/// @return whether a place differs from the sources
bool IsChanged(const ValueEdits& edits, const FieldPlace& place);

/// The sources were read anew: what they say now is no change any more, and what they say otherwise
/// than before is theirs. One step stays for each other change, at the place that its value has
/// now; its label may tell of the place before.
/// @param before     the document that the changes were made in, with the texts of its sources
/// @param document   as the sources have it now
/// @param lost       receives changes whose items are gone
/// @return the changes that stay, to be set again
std::vector<ValueChange> RebaseChanges(const DemoDocument* before, const DemoDocument* document,
                                       ValueEdits* edits, std::vector<ValueChange>* lost);

/// Takes changes along to the places that their values have now.
/// @param lost   receives those whose items are gone; they are taken from `changes`
void FollowChanges(const DemoDocument* before, const DemoDocument* document,
                   std::vector<ValueChange>* changes, std::vector<ValueChange>* lost);

/// @return a line for each change: "piece.py:39  scene 1, object 1, x: 0 -> 0.5"
/// @param lines   the author's lines of the changes, or empty texts
std::string ChangesText(const std::vector<ValueChange>& changes,
                        const std::vector<std::string>& lines);

/// @return a number in as few digits as give the same float
std::string NumberText(float value);

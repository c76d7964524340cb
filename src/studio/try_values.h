// SPDX-License-Identifier: MIT

// Values of the piece that plays, changed and seen at once, and written back into the sources.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "studio/logic/value_edits.h"
#include "studio/look.h"

struct Studio;

struct TriedValues
{
    ValueEdits edits;
    std::vector<ValueChange> written; // that the next piece should say
    std::string lastWritten;          // where and what was written last, and what changed with it;
                                      // empty for nothing
    SourceLine lastLine;              // the same
    bool
        mustSettle; // the run up to the tick is of other values: it is played anew at the next rest
};

/// Whether a value can be tried: a number of the piece, and no time of a clip.
bool CanTry(const Field& field);

/// Sets a value of the piece that plays, and notes the change.
void TryValue(Studio* studio, const Field& field, const std::string& text);

/// The mouse was let go: the run up to the tick is played with the new values.
void SettleValues(Studio* studio);

void UndoValue(Studio* studio);
void RedoValue(Studio* studio);

/// Sets a value back to what the sources say.
void RevertValue(Studio* studio, const ValueChange& change);

/// Another piece took over: what was changed in this one is changed in it as well, if the items are
/// there still. Relies on: the piece before not closed yet.
/// @param isOther   it is no other state of the same piece
void KeepTrying(Studio* studio, bool isOther);

/// Copies changes as text.
void CopyChanges(Studio* studio, const std::vector<ValueChange>& changes);

/// Writes a change into the sources, where the value is a plain literal. A message tells what was
/// done, or why it can't be.
void WriteChange(Studio* studio, const ValueChange& change);

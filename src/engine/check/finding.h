// SPDX-License-Identifier: MIT

// Findings: what is wrong with a piece, or worth knowing of it, with its place and its cure.
//
// A finding belongs to a rule. Rules have names that stay, so that scripts and authors can count on
// them; docs/rules.md has a paragraph on each.
//
// The rooms below tell a fault and stop. A check tells all that it finds, so findings are kept in
// lists that grow; a program that runs out of memory here ends.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/data/fault.h"

enum class Rule : uint8_t
{
    // The text and its form
    kUnreadablePackage,
    kMissingDocument,
    kUnreadableText,
    kMissingSection,
    kMovedSection,
    kExtraNode,
    kNotAnElement,
    kMissingAttribute,
    kMissingChild,
    kMissingText,
    kTooMany,
    kIgnoredRows,
    kUnknownElement,
    kUnknownAttribute,
    // Numbers and words
    kNotANumber,
    kRubbishAfterNumber,
    kCommaDecimal,
    kHexNumber,
    kNotFinite,
    kNumberOutOfRange,
    kNegativeTicks,
    kUnknownWord,
    kUnknownType,
    kParameterCount,
    kParameterOutOfRange,
    // References
    kDanglingReference,
    kMissingReference,
    kWrongReference,
    kUnusedItem,
    kMissingEntry,
    kDamagedEntry,
    kDoubledEntry,
    kUnreachableEntry,
    kUnnamedEntry,
    kMissingMusic,
    kNotAModule,
    kMusicLength,
    // Recipes and pictures
    kIgnoredAlpha,
    kBitmapWithoutAlpha,
    kGreyBitmap,
    kOddSides,
    kNoCoordinates,
    kOneCoordinateSet,
    kNoNormals,
    kFlatTriangles,
    kInsideOut,
    kNoScale,
    kTargetNotShown,
    kTargetNotDrawn,
    kTargetFeedsItself,
    kOpenTarget,
    kLargeTarget,
    kBlankPicture,
    // Time
    kEmptyTimeline,
    kEarlyEnd,
    kHiddenClip,
    kPastIndex,
    kEmptyLoop,
    kLateSpline,
    kLoadingLength,
    kShortFirstRow,
    kEmptyClip,
    kNeverSeen,
    // Cost
    kTooManyInstances,
    kTooLarge,
    kNearLimit,
    kDearestTick,
    kSize,
};

inline constexpr uint32_t kRuleCount = static_cast<uint32_t>(Rule::kSize) + 1;

/// @return its stable name, lent for ever: "dangling-reference"
const char* RuleName(Rule rule);

/// @return whether there is such a rule
bool FindRule(const char* name, Rule* rule);

struct Finding
{
    Severity severity;
    Rule rule;
    Place place;                 // document null for the package itself
    std::string name;            // of the item, as the document gives it; empty for none
    std::string text;            // what is wrong, without the place
    std::string cure;            // what helps; empty where that is plain
    std::string pythonCure = {}; // the same for a piece in Python; empty where cure does for both
};

using FindingList = std::vector<Finding>;

/// @return a text made by a printf format
[[gnu::format(printf, 1, 2)]] std::string FormatText(const char* format, ...);

uint32_t CountFindings(const FindingList& findings, Severity severity);

/// Puts findings into the order of the documents: the loading document first, then by line and
/// column. Those of the package come last.
void SortFindings(FindingList* findings);

/// @return "error", "warning" or "note"
const char* SeverityWord(Severity severity);

/// The candidate that a mistyped word was probably meant to be.
/// @return null if none is near
const char* FindNearest(const std::string& word, const std::vector<const char*>& candidates);

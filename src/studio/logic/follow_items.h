// SPDX-License-Identifier: MIT

// Items have no names of their own, but places: when another one is put before them, all that come
// after it have other numbers. What was known of an item is known of the same item of the next
// state of the piece, which is found by what the items say.
#pragma once

#include <string>
#include <vector>

#include "studio/logic/piece_fields.h"

/// Pairs two states of a list, whose elements may repeat. Elements that stay the same keep their
/// order; as many others between them as before are taken for the same ones, changed.
/// @return for each of `before` its place in `after`, counted from 1; 0 for one that is gone, and
///         where equal ones have become more or fewer, so that none can tell which is which
std::vector<uint32_t> PairElements(const std::vector<std::string>& before,
                                   const std::vector<std::string>& after);

/// Finds values of one state of a piece in the next. Ids that items name are not looked at, as they
/// change with the places of others.
/// @return for each place where the value stands now; item 0 where its item is gone
std::vector<FieldPlace> FollowPlaces(const DemoDocument* before, const DemoDocument* after,
                                     const std::vector<FieldPlace>& places);

/// Compares two states of a piece place by place, as long as their items have the same numbers.
/// @return the numbers in them that differ; none of sections with more or fewer items than before
std::vector<FieldPlace> ListDifferences(const DemoDocument* before, const DemoDocument* after);

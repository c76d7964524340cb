// SPDX-License-Identifier: MIT

// Records of a document that no clip reaches, made as small as they go.
#pragma once

#include <cstdint>
#include <string>

/// Empties what no clip reaches, neither itself nor through anything that it shows: envelopes lose
/// their pieces and scenes their objects. The records stay where they are, so that every id means
/// what it meant and loading takes as many steps: a piece plays the same, call by call.
/// @param text   a document; it stays as it is where it does not parse, lacks a section or has an
///               item that is no element
/// @return the number of records that were emptied
uint32_t EmptyUnreachedRecords(std::string* text);

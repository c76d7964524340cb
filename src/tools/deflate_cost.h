// SPDX-License-Identifier: MIT

// How many bits of a container each byte of what it holds takes.
#pragma once

#include <vector>

#include "tools/files.h"

/// Reads a container's stream symbol by symbol. A byte that stands for itself takes its own bits,
/// and those of a repetition share its bits. The tables at the head of a block count for none.
/// @param bits   receives bits for each byte of the data
/// @return false if the stream is damaged, or holds more than kLargestInflatedSize
bool MeasureContainer(const Bytes& container, std::vector<float>* bits);

// SPDX-License-Identifier: MIT

// Bytes as text.
#pragma once

#include <string>

#include "tools/files.h"

/// @return the bytes in Base64, padded with "="
std::string Base64(const Bytes& bytes);

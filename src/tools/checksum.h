// SPDX-License-Identifier: MIT

// SHA-256, by which a keeper knows a file again.
#pragma once

#include <string>

#include "tools/files.h"

/// @return 64 digits, as sha256sum prints them
std::string Sha256(const Bytes& bytes);

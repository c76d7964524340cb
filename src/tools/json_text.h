// SPDX-License-Identifier: MIT

// JSON, written as text.
#pragma once

#include <string>

/// A text in quotes. Control characters and bytes that are no UTF-8 become \xNN first, as
/// everywhere in what dpk prints.
std::string JsonQuoted(const std::string& text);

/// The shortest number that reads back as the same float; null for one that is not finite.
std::string JsonNumber(float number);

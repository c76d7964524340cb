// SPDX-License-Identifier: MIT

// The vocabulary of documents, for people and for programs.
#pragma once

enum class VocabularyForm
{
    Text, // a line a row and a line a parameter
    Json, // one object: catalogues, traits, sections, limits
};

/// Prints the whole vocabulary on standard output.
/// @return false after an error line: what is printed could not be written
bool PrintVocabulary(VocabularyForm form);

// SPDX-License-Identifier: MIT

// Parts of a render that were made apart, perhaps on other machines, and what joins them.
//
// Each part leaves a record beside its pictures, "part-3-of-8.txt":
//
//   quorvale-part 1
//   settings film 1280x720 2 1 1.77777779 vbo 60/1 0 9600 0 PACKAGE-HASH
//   part 3 8
//   pictures 1440 2160 5760          first, after the last, of all
//   sound HASH                       of part 1, where there is sound
//   picture HASH                     one line a picture
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/render_output.h"

struct PartRecord
{
    std::string settings;
    uint32_t part; // counted from 1
    uint32_t partCount;
    uint32_t first;                    // picture
    uint32_t end;                      // after its last
    uint32_t total;                    // pictures of the whole
    std::string sound;                 // its hash; empty where there is none
    std::vector<std::string> pictures; // their hashes
};

/// @return the line that two parts of one render have in common
std::string SettingsText(const RenderPlan& plan, const RenderSource& source);

/// @return the folder that records lie in
std::string RecordFolder(const RenderPlan& plan);

/// @return false after an error line
bool WritePartRecord(const RenderPlan& plan, const PartRecord& record);

/// Reads all records, and checks that they are of one render and complete.
/// @param records   receives them in order
/// @return false after an error line for each part that is missing
bool ReadPartRecords(const RenderPlan& plan, std::vector<PartRecord>* records);

void RemovePartRecords(const RenderPlan& plan, const std::vector<PartRecord>& records);

/// Joins the pieces of a film and its sound, without encoding pictures again. The film takes its
/// place when it is whole, and the folder of its pieces goes.
/// @param count   pictures from the first on
/// @param sound   path of the sound; empty for none
/// @return false after an error line
bool JoinFilm(const RenderPlan& plan, uint32_t count, const std::string& sound, bool keepsParts);

/// @return the path of a film's sound
std::string FilmSoundFile(const RenderPlan& plan);

/// Removes the folder of a film's pieces.
void RemoveFilmFolder(const RenderPlan& plan);

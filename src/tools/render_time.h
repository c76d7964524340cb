// SPDX-License-Identifier: MIT

// Times of a film: which tick a picture shows, which sample frames of the module belong to it, and
// how users write times.
//
//   picture n shows tick   from + floor(n * 100 / rate)
//   and begins with sample floor(n * 44100 / rate)  of the film's sound
//
// All of it is in whole numbers, so any stretch of a film has the times of the whole.
#pragma once

#include <cstdint>
#include <string>

/// Pictures a second: 60, 30000/1001, 1/4.
struct PictureRate
{
    uint32_t numerator;   // 1 to kMostOfARate
    uint32_t denominator; // 1 to kMostOfARate
};

inline constexpr uint32_t kMostOfARate = 1000000;
inline constexpr uint32_t kMostTicks = 0x7FFFFFFF; // some 248 days

/// @return the ticks from the first picture to picture n
uint64_t PictureTicks(const PictureRate& rate, uint64_t n);

/// @return the number of pictures that show ticks before the end of a stretch
uint64_t CountPictures(const PictureRate& rate, uint32_t ticks);

/// @return the sample frames before picture n
uint64_t PictureFrames(const PictureRate& rate, uint64_t n);

/// Reads "60" or "30000/1001".
/// @return false if it is no rate
bool ParseRate(const std::string& text, PictureRate* rate);

/// Reads "1280x720".
/// @return false if it is no size
bool ParseSize(const std::string& text, int32_t* width, int32_t* height);

/// Reads "4:3", "16:9", "16:10" or a number above 0. The three are the player's own numbers.
/// @return false if it is no aspect
bool ParseAspect(const std::string& text, float* aspect);

enum class TimeForm : uint8_t
{
    kWrong,
    kTick, // "1250t", "12.5", "12.5s", "0:12.5": a tick; parts of a tick are dropped
    kRow,  // "3:16": order and row of the module
};

/// A time as a user writes it. Seconds behind minutes have a point, "1:05.0", and rows have none.
struct WrittenTime
{
    TimeForm form;
    uint32_t tick;
    int32_t order; // of the module, from 0
    int32_t row;   // the same
};

WrittenTime ParseTime(const std::string& text);

/// Writes "1:02.50".
std::string TimeText(uint64_t ticks);

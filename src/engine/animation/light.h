// SPDX-License-Identifier: MIT

// Lights: positional, colored, animated.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"

// The dynamic bits of a light: value i of a group has its group's bit shifted right by i.
inline constexpr uint32_t kAmbientDynamic = 0x80;  // in flagsA
inline constexpr uint32_t kDiffuseDynamic = 0x10;  // in flagsA
inline constexpr uint32_t kPositionDynamic = 0x80; // in flagsB

// The part that a fault names for value i of a group is its group's part plus i.
inline constexpr uint32_t kAmbientPart = 1;
inline constexpr uint32_t kDiffusePart = 4;
inline constexpr uint32_t kPositionPart = 7;

struct Light
{
    uint32_t ambient[3];  // red, green, blue; animated slots
    uint32_t diffuse[3];  // red, green, blue
    uint32_t position[3]; // x, y, z in the world of the scene
    uint8_t flagsA;       // dynamic bits of ambient and diffuse
    uint8_t flagsB;       // dynamic bits of position: it begins a new byte
};

/// Reads one item of section 4. Faults: fewer than three groups of three values, a missing
/// attribute.
/// @param record   a Light
bool ReadLightItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);

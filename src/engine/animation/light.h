// Lights: positional, coloured, animated. All share the one OpenGL light GL_LIGHT1, and a light
// shines only while a material that names it is set.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"

struct Light
{
    uint32_t ambient[3];  // red, green, blue; animated slots
    uint32_t diffuse[3];  // red, green, blue
    uint32_t position[3]; // x, y, z in the world of the scene
    uint8_t flagsA;       // dynamic bits of ambient (0x80 on) and diffuse (0x10 on)
    uint8_t flagsB;       // dynamic bits of position (0x80 on): it begins a new byte
};

/// Section 4: one light. Fatal: fewer than three groups of three values, a missing attribute.
void ReadLightItem(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context);

/// Lights what is drawn next. Sets: GL_LIGHTING and GL_LIGHT1 on; position, ambient and diffuse of
/// GL_LIGHT1, in this order, at `time` ticks. The position goes through the current modelview
/// matrix. Fatal: no such light, at CurrentPlace; a dynamic value without its envelope, at the
/// light.
void ApplyLight(uint32_t id, const ObjectTable* lights, const ObjectTable* envelopes,
                uint32_t time);

/// Makes GL_LIGHT1 a direction: the z axis of what the current modelview matrix transforms. Under a
/// clip's camera that is the scene's. Sets: GL_POSITION of GL_LIGHT1.
void SetLightAlongZ();

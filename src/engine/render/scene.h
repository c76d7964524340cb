// Scenes: lists of placed objects, each with its mesh, material, placement, visibility, time shift
// and manipulators.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"
#include "engine/geometry/manipulator.h"

/// A placement value of all objects: slots, and a mask with the bit of object n in byte n / 8 at
/// 0x80 >> (n % 8).
struct ObjectValues
{
    uint32_t slot[kSceneObjects];
    uint8_t dynamicMask[kSceneObjects / 8];
};

struct Scene
{
    uint32_t objectCount;
    uint8_t objectKind[kSceneObjects];
    uint32_t objectId[kSceneObjects]; // in the table that objectKind selects
    uint32_t materialId[kSceneObjects];
    ObjectValues positionX, positionY, positionZ;
    ObjectValues rotationX, rotationY, rotationZ; // degrees
    ObjectValues scaleX, scaleY, scaleZ;
    uint32_t visibilityEnvelope[kSceneObjects]; // 0: always visible
    float timeShift[kSceneObjects];             // ticks added to the clip's animation time
    uint8_t manipulatorCount[kSceneObjects];
    Manipulator manipulators[kSceneObjects][kSceneManipulators];
};

/// Section 9: one scene. Fatal: more than 512 objects, more than 7 manipulators of one, a missing
/// attribute or child.
void ReadSceneItem(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context);

/// Draws all objects of a scene in order, under the current projection and modelview matrix. The
/// generated meshes that they draw or place on, and the 2D effects that they wear, move to their
/// object's time.
/// Relies on: matrix mode GL_MODELVIEW. Leaves: vertex and normal arrays off, buffer bindings as
/// the last object set them, and the state of the last material.
/// @param time         animation time of the clip in ticks
/// @param cameraRotY   degrees, handed on to SetMaterial
/// Fatal: an envelope, light or texture that its table lacks. A missing mesh skips the object.
void DrawSceneObjects(const Scene* scene, ObjectTable* materials, ObjectTable* lights,
                      ObjectTable* textures, ObjectTable* envelopes, ObjectTable* effects,
                      ObjectTable* models, ObjectTable* bitmaps, ObjectTable* genMeshes,
                      uint32_t time, int32_t vbo, int32_t pbo, int32_t dot3, float cameraRotY);

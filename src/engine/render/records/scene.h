// SPDX-License-Identifier: MIT

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

/// The nine placement values in the order of documents and instances.
inline constexpr ObjectValues Scene::*kPlacementValues[kInstanceFloats] = {
    &Scene::positionX, &Scene::positionY, &Scene::positionZ, &Scene::rotationX, &Scene::rotationY,
    &Scene::rotationZ, &Scene::scaleX,    &Scene::scaleY,    &Scene::scaleZ,
};

/// Section 9: one scene.
/// @return false after a fault: more than 512 objects, more than 7 manipulators of one, a missing
///         attribute or child
bool ReadSceneItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);

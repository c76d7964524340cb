// SPDX-License-Identifier: MIT

// Manipulators: what turns the one placement of an object into many, or bends its geometry.
#pragma once

#include <cstdint>
#include <tinyxml.h>

#include "engine/data/model_data.h"
#include "engine/data/vocabulary_numbers.h"
#include "engine/geometry/deformed_mesh.h"
#include "engine/geometry/instance_list.h"

struct Arena;
struct FaultList;

enum PlacementKind : uint8_t
{
    kPlaceOnModel = 0,
    kPlaceOnGenMesh = 1, // and any other number
};

/// The most parameters that a manipulator takes.
inline constexpr uint32_t kManipulatorUsedParams = 12;

struct Manipulator
{
    int32_t type;                        // ManipulatorType
    uint32_t placementId;                // mesh to place on; 0 for none
    uint8_t placementKind;               // PlacementKind
    uint8_t dynamicMask[7];              // bit 0x80 >> (k & 7) of byte k >> 3: param k is dynamic
    uint32_t params[kManipulatorParams]; // animated slots; 0.0 where the document gives none
};

/// Reads one manipulator of an object:
///   <x type="3"> <manipulator type="1" model="2"/> <p type="static" value="1.5"/> ... </x>
/// The names count for one thing: a first child called "manipulator" is the mesh to place on. All
/// others are parameters in order.
/// @return false after a fault: a missing attribute, more than 32 parameters
bool ReadManipulator(const TiXmlElement* element, Manipulator* manipulator, FaultList* faults);

/// @return how many parameters a type takes: 12, 10, 3 or 9; 0 for a type outside 0 to 3
uint32_t ManipulatorParamCount(int32_t type);

/// One manipulator at one moment.
struct ManipulatorCall
{
    int32_t type;           // ManipulatorType; any other leaves the list as it is
    const float* params;    // [ManipulatorParamCount(type)], resolved
    const Mesh* mesh;       // the object's own, which "Rippler" bends a copy of
    const float* placement; // [placementCount][3], the vertices that "Model placer" places on,
                            // already moved by its parameters; null leaves the list as it is
    uint32_t placementCount;
    DeformedMesh* deformed; // of the object; only "Rippler" changes it
    Arena* arena;           // of the frame: gives the new list and the bent geometry
    FaultList* faults;
};

/// Runs one manipulator on an object's instances.
/// @param list   replaced by the new list
/// @return false after a fault: more than kInstanceLimit instances, or no memory
bool ApplyManipulator(InstanceList* list, const ManipulatorCall* call);

// Manipulators: what turns the one placement of an object into many, or bends its geometry.
#pragma once

#include <cstdint>
#include <tinyxml.h>

#include "engine/data/model_data.h"
#include "engine/data/vocabulary_numbers.h"
#include "engine/geometry/instance_list.h"

/// The most parameters that a manipulator takes.
inline constexpr uint32_t kManipulatorUsedParams = 12;

struct Manipulator
{
    int32_t type;                        // ManipulatorType
    int32_t placementId;                 // mesh to place on; 0 for none
    uint8_t placementKind;               // 0: a model, anything else: a generated mesh
    uint8_t dynamicMask[7];              // bit 0x80 >> (k & 7) of byte k >> 3: param k is dynamic
    uint32_t params[kManipulatorParams]; // animated slots; 0.0 where the document gives none
};

/// Reads one manipulator of an object:
///   <x type="3"> <manipulator type="1" model="2"/> <p type="static" value="1.5"/> ... </x>
/// The names count for one thing: a first child called "manipulator" is the mesh to place on. All
/// others are parameters in order. Fatal: a missing attribute, more than 32 parameters.
void ReadManipulator(const TiXmlElement* element, Manipulator* manipulator);

/// @return how many parameters a type takes: 12, 10, 3 or 9; 0 for a type outside 0 to 3
uint32_t ManipulatorParamCount(int32_t type);

/// Runs one manipulator on an object's instances.
/// @param list        consumed: only the result may be used after the call
/// @param type        ManipulatorType; any other leaves the list as it is
/// @param params      [ManipulatorParamCount(type)], resolved
/// @param mesh        the object's own, which "Rippler" bends a copy of into CurrentDeformedMesh
/// @param vbo         0 or 1: the deformed arrays are uploaded to buffers as well
/// @param placement   the mesh that "Model placer" places on; null leaves the list as it is
/// @return the new list, for FreeInstanceList
/// "Model placer" builds its matrix on the modelview stack, which must be the selected one, and
/// takes it off again. With `vbo` "Rippler" leaves GL_ARRAY_BUFFER bound to the deformed normals.
/// Fatal at CurrentPlace: more than kInstanceLimit instances.
InstanceList* ApplyManipulator(InstanceList* list, int32_t type, const float* params,
                               const Mesh* mesh, int32_t vbo, const Mesh* placement);

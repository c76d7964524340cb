// SPDX-License-Identifier: MIT
#include "engine/piece/piece_state.h"

#include <cstdlib>
#include <cstring>

#include "engine/animation/envelope.h"
#include "engine/data/allocate.h"
#include "engine/geometry/gen_mesh.h"

/// Adds one element of zeros to an array that has room for the next power of two.
/// @return the element, lent; null after a fault if there is no memory, and then nothing has
///         changed
template <typename Element>
static Element* AppendElement(Element** array, uint32_t* count, FaultList* faults)
{
    if ((*count & (*count - 1)) == 0) // full: 0, 1, 2, 4 ...
    {
        const size_t room = *count == 0 ? 1 : size_t{*count} * 2;
        Element* larger = AllocateBlock<Element>(room, "the state of a document", faults);
        if (larger == nullptr)
        {
            return nullptr;
        }
        if (*count != 0)
        {
            memcpy(larger, *array, *count * sizeof(Element));
        }
        free(*array);
        *array = larger;
    }
    Element* added = *array + *count;
    *added = {};
    *count += 1;
    return added;
}

static bool StartEnvelope(DocumentState* state, FaultList* faults)
{
    EnvelopeCache* cache = AppendElement(&state->envelopes, &state->envelopeCount, faults);
    if (cache == nullptr)
    {
        return false;
    }
    *cache = kEmptyEnvelopeCache;
    return true;
}

static bool StartEffect(const Effect2D* effect, DocumentState* state, RandomSequence* random,
                        FaultList* faults)
{
    EffectState* started = AppendElement(&state->effects, &state->effectCount, faults);
    return started != nullptr && InitEffect2D(effect, started, random, faults);
}

static bool StartGenMesh(const GenMesh* genMesh, DocumentState* state, FaultList* faults)
{
    GenMeshState* started = AppendElement(&state->genMeshes, &state->genMeshCount, faults);
    return started != nullptr && StartGenMeshState(genMesh->type, &genMesh->mesh, started, faults);
}

static void FreeDocumentState(DocumentState* state)
{
    for (uint32_t i = 0; i < state->genMeshCount; ++i)
    {
        FreeGenMeshState(&state->genMeshes[i]);
    }
    for (uint32_t i = 0; i < state->effectCount; ++i)
    {
        ReleaseEffect2DState(&state->effects[i]);
    }
    free(state->envelopes);
    free(state->genMeshes);
    free(state->effects);
    *state = {};
}

/// Gives a state as many elements as another one has, all still empty.
static bool MakeLikeSized(const DocumentState* from, DocumentState* to, FaultList* faults)
{
    while (to->envelopeCount < from->envelopeCount)
    {
        if (AppendElement(&to->envelopes, &to->envelopeCount, faults) == nullptr)
        {
            return false;
        }
    }
    while (to->genMeshCount < from->genMeshCount)
    {
        if (AppendElement(&to->genMeshes, &to->genMeshCount, faults) == nullptr)
        {
            return false;
        }
    }
    while (to->effectCount < from->effectCount)
    {
        if (AppendElement(&to->effects, &to->effectCount, faults) == nullptr)
        {
            return false;
        }
    }
    return true;
}

static bool CopyDocumentState(const DocumentState* from, DocumentState* to, FaultList* faults)
{
    if (to->envelopeCount > from->envelopeCount || to->genMeshCount > from->genMeshCount ||
        to->effectCount > from->effectCount)
    {
        FreeDocumentState(to);
    }
    if (!MakeLikeSized(from, to, faults))
    {
        return false;
    }

    if (from->envelopeCount != 0)
    {
        memcpy(to->envelopes, from->envelopes, from->envelopeCount * sizeof(EnvelopeCache));
    }
    for (uint32_t i = 0; i < from->genMeshCount; ++i)
    {
        if (!CopyGenMeshState(&from->genMeshes[i], &to->genMeshes[i], faults))
        {
            return false;
        }
    }
    for (uint32_t i = 0; i < from->effectCount; ++i)
    {
        if (!CopyEffectState(&from->effects[i], &to->effects[i], faults))
        {
            return false;
        }
    }
    return true;
}

void StartPieceState(PieceState* state)
{
    *state = {};
    SeedRandom(&state->random, 1);
}

bool StartItemState(Section section, uint32_t id, const DemoDocument* document,
                    DocumentState* state, RandomSequence* random, FaultList* faults)
{
    switch (section)
    {
    case Section::kEnvelopes:
        return StartEnvelope(state, faults);
    case Section::kEffects:
        return StartEffect(GetRecord<Effect2D>(id, document->effects), state, random, faults);
    case Section::kGenMeshes:
        return StartGenMesh(GetRecord<GenMesh>(id, document->genMeshes), state, faults);
    default:
        return true;
    }
}

bool CopyPieceState(const PieceState* from, PieceState* to, FaultList* faults)
{
    to->random = from->random;
    return CopyDocumentState(&from->loading, &to->loading, faults) &&
           CopyDocumentState(&from->demo, &to->demo, faults);
}

static size_t DocumentStateBytes(const DocumentState* state)
{
    size_t bytes = state->envelopeCount * sizeof(EnvelopeCache) +
                   state->genMeshCount * sizeof(GenMeshState) +
                   state->effectCount * sizeof(EffectState);
    for (uint32_t i = 0; i < state->genMeshCount; ++i)
    {
        bytes += state->genMeshes[i].blockSize;
    }
    for (uint32_t i = 0; i < state->effectCount; ++i)
    {
        bytes += state->effects[i].stateSize;
    }
    return bytes;
}

size_t PieceStateBytes(const PieceState* state)
{
    return sizeof(PieceState) + DocumentStateBytes(&state->loading) +
           DocumentStateBytes(&state->demo);
}

void FreePieceState(PieceState* state)
{
    FreeDocumentState(&state->loading);
    FreeDocumentState(&state->demo);
    StartPieceState(state);
}

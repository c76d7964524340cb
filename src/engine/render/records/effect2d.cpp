// SPDX-License-Identifier: MIT
#include "engine/render/records/effect2d.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/allocate.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/data/random_sequence.h"
#include "engine/data/vocabulary.h"
#include "engine/textures/effect_kernels.h"

static constexpr size_t kTestStateSize = 8;
static constexpr uint32_t kAmobaSeed = 5; // so that every run grows the same

// ---- Reading

/// Anything but the three literals, and nothing at all, means 512.
static int32_t ReadResolution(const TiXmlElement* item)
{
    const char* resolution = item->Attribute("resolution");
    if (resolution != nullptr)
    {
        if (strcmp(resolution, "64x64") == 0)
        {
            return 64;
        }
        if (strcmp(resolution, "128x128") == 0)
        {
            return 128;
        }
        if (strcmp(resolution, "256x256") == 0)
        {
            return 256;
        }
    }
    return 512;
}

static bool ReadEffectParams(const TiXmlElement* item, uint32_t* paramEnvelope, FaultList* faults)
{
    uint32_t count = 0;
    const TiXmlElement* child = RequireElement(item->FirstChild(), "a parameter", faults);
    while (child != nullptr && strcmp(child->Value(), "p") == 0)
    {
        faults->place.part = count + 1;
        if (count == kEffectParams)
        {
            AddFaultAt(faults, child, "more than %u parameters", kEffectParams);
            return false;
        }
        const char* text = RequireText(child, faults);
        if (text == nullptr)
        {
            return false;
        }
        paramEnvelope[count] = static_cast<uint32_t>(ParseInt(text));
        ++count;

        const TiXmlNode* next = child->NextSibling();
        child = next == nullptr ? nullptr : next->ToElement();
    }
    faults->place.part = 0;
    return !HasFailed(faults);
}

bool ReadEffect2DItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                      ReadContext* context)
{
    Effect2D* effect = static_cast<Effect2D*>(record);
    FaultList* faults = context->faults;
    *effect = {};
    const char* name = RequireAttribute(item, "name", faults);
    if (name == nullptr)
    {
        return false;
    }
    snprintf(effect->name, sizeof(effect->name), "%s", name);
    effect->type = ReadIntAttribute(item, "type", faults);
    if (HasFailed(faults))
    {
        return false;
    }
    effect->width = ReadResolution(item);
    effect->height = effect->width;
    const char* bpp = RequireAttribute(item, "bpp", faults);
    if (bpp == nullptr)
    {
        return false;
    }
    effect->bpp = strcmp(bpp, "8") == 0 ? 8 : 24;
    return ReadEffectParams(item, effect->paramEnvelope, faults);
}

// ---- State

/// @return the bytes of state that an effect has
static size_t StateSize(const Effect2D* effect)
{
    switch (effect->type)
    {
    case kEffectTest:
        return kTestStateSize;
    case kEffectAmoba:
        return sizeof(AmobaState) + EffectImageBytes(effect);
    default:
        return 0;
    }
}

bool InitEffect2D(const Effect2D* effect, EffectState* state, RandomSequence* random,
                  FaultList* faults)
{
    *state = {nullptr, 0, kEffectNeverUpdated, {}};
    const size_t size = StateSize(effect);
    if (size == 0)
    {
        return true;
    }
    state->state = AllocateZeroed<unsigned char>(size, "a 2D effect", faults);
    if (state->state == nullptr)
    {
        return false;
    }
    state->stateSize = size;

    if (effect->type == kEffectAmoba)
    {
        assert(effect->width == effect->height);
        SeedRandom(random, kAmobaSeed);
        SeedAmoba(effect->width, effect->bpp, AmobaCells(static_cast<AmobaState*>(state->state)),
                  random);
    }
    return true;
}

bool CopyEffectState(const EffectState* from, EffectState* to, FaultList* faults)
{
    if (to->stateSize != from->stateSize)
    {
        ReleaseEffect2DState(to);
        if (from->state != nullptr)
        {
            to->state = AllocateBlock<unsigned char>(from->stateSize, "a 2D effect", faults);
            if (to->state == nullptr)
            {
                return false;
            }
            to->stateSize = from->stateSize;
        }
    }
    if (from->state != nullptr)
    {
        memcpy(to->state, from->state, from->stateSize);
    }
    to->lastUpdate = from->lastUpdate;
    std::copy_n(from->imageParams, kEffectImageParams, to->imageParams);
    return true;
}

void ReleaseEffect2DState(EffectState* state)
{
    free(state->state);
    *state = {nullptr, 0, kEffectNeverUpdated, {}};
}

// ---- Images

/// One step when the whole part of "Update" has changed, either way and however far.
static void StepAmoba(const Effect2D* effect, float update, AmobaState* amoba,
                      RandomSequence* random)
{
    const int32_t step = TruncateToInt(update);
    if (TruncateToInt(amoba->lastStep) != step)
    {
        amoba->lastStep = static_cast<float>(step);
        GrowAmoba(effect->width, effect->bpp, AmobaCells(amoba), random);
    }
}

void StepEffect2D(const Effect2D* effect, const float* params, EffectState* state,
                  RandomSequence* random)
{
    std::copy_n(params, kEffectImageParams, state->imageParams);
    if (effect->type == kEffectAmoba)
    {
        StepAmoba(effect, params[0], static_cast<AmobaState*>(state->state), random);
    }
}

void RenderEffect2D(const Effect2D* effect, const float* params, EffectState* state,
                    RandomSequence* random, uint8_t* out)
{
    assert(effect->width == effect->height);
    const int32_t side = effect->width;
    StepEffect2D(effect, params, state, random);
    switch (effect->type)
    {
    case kEffectTest:
        *static_cast<uint8_t*>(state->state) += 1; // a count of calls that nothing reads
        RenderTestEffect(side, effect->bpp, params, out);
        break;
    case kEffectPlasma:
        RenderEffect1(side, effect->bpp, params[0], out);
        break;
    case kEffectAmoba:
        memcpy(out, AmobaCells(static_cast<AmobaState*>(state->state)), EffectImageBytes(effect));
        break;
    case kEffectRotate:
        RenderRotate(side, effect->bpp, params[0], out);
        break;
    default:
        break;
    }
}

// ---- Parameters

bool EvaluateFirstParams(const Effect2D* effect, const Animation* animation, float* params)
{
    std::fill_n(params, kEffectParams, 0.0f);
    if (!IsEffectType(effect->type))
    {
        return true;
    }
    FaultList* faults = animation->faults;
    const uint32_t count = CountParamNumbers(FindVocabularyRow(kCatalogueEffects, effect->type));
    for (uint32_t i = 0; i < count && effect->paramEnvelope[i] != 0; ++i)
    {
        faults->place.part = i + 1;
        params[i] = EvaluateEnvelopeId(effect->paramEnvelope[i], animation, 0);
        if (HasFailed(faults))
        {
            return false;
        }
    }
    faults->place.part = 0;
    return true;
}

/// Parameters that play evaluates, by type.
static constexpr uint32_t kPlayedParams[] = {2, 1, 1, 1};

bool EvaluateEffectParams(uint32_t id, const Effect2D* effect, const Animation* animation,
                          uint32_t time, float* params)
{
    std::fill_n(params, kEffectParams, 0.0f);
    FaultList* faults = animation->faults;
    const Place caller = faults->place;
    faults->place.section = Section::kEffects;
    faults->place.item = id;

    // By way of a float: above 2^24 ticks the low bits are lost.
    const uint32_t rounded = TruncateToUnsigned(static_cast<float>(time));
    for (uint32_t i = 0; i < kPlayedParams[effect->type] && !HasFailed(faults); ++i)
    {
        faults->place.part = i + 1;
        if (effect->paramEnvelope[i] != 0)
        {
            params[i] = EvaluateEnvelopeId(effect->paramEnvelope[i], animation, rounded);
        }
    }
    faults->place = caller;
    return !HasFailed(faults);
}

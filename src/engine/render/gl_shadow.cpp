// SPDX-License-Identifier: MIT
#include "engine/render/gl_shadow.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "engine/data/allocate.h"
#include "engine/data/numeric.h"
#include "engine/render/records/timeline.h"
#include "engine/render/render_target.h"

static constexpr const char* kWhat = "the state of OpenGL";

/// A setting of a texture combiner, and what a fresh context has there.
struct CombinerRow
{
    GLenum name;
    GLint fresh;
};

static constexpr CombinerRow kCombiner[] = {
    {GL_TEXTURE_ENV_MODE, GL_MODULATE}, {GL_COMBINE_RGB, GL_MODULATE},
    {GL_COMBINE_ALPHA, GL_MODULATE},    {GL_SOURCE0_RGB, GL_TEXTURE},
    {GL_SOURCE1_RGB, GL_PREVIOUS},      {GL_SOURCE2_RGB, GL_CONSTANT},
    {GL_OPERAND0_RGB, GL_SRC_COLOR},    {GL_OPERAND1_RGB, GL_SRC_COLOR},
    {GL_OPERAND2_RGB, GL_SRC_ALPHA},    {GL_SOURCE0_ALPHA, GL_TEXTURE},
    {GL_SOURCE1_ALPHA, GL_PREVIOUS},    {GL_OPERAND0_ALPHA, GL_SRC_ALPHA},
    {GL_OPERAND1_ALPHA, GL_SRC_ALPHA},
};
static_assert(std::size(kCombiner) == kCombinerSettings);

static constexpr TextureSettings kMipChainSettings = {GL_REPEAT, GL_REPEAT, GL_LINEAR_MIPMAP_LINEAR,
                                                      GL_LINEAR};
static constexpr TextureSettings kPlainSettings = {GL_REPEAT, GL_REPEAT, GL_LINEAR, GL_LINEAR};

// ---- Making and giving back

/// The state of a fresh context after SetBaselineState, as far as it outlives frames.
static void StartState(const ShadowView* view, ShadowState* state)
{
    for (ShadowUnit& unit : state->units)
    {
        for (uint32_t i = 0; i < kCombinerSettings; ++i)
        {
            unit.combiner[i] = kCombiner[i].fresh;
        }
    }
    state->matrixMode = GL_MODELVIEW;
    std::fill(std::begin(state->color), std::end(state->color), 1.0f);
    state->blendSource = GL_ONE;
    state->blendDestination = GL_ZERO;
    state->polygonMode = GL_FILL;
    state->lineWidth = 1.0f;
    state->viewportWidth = view->width;
    state->viewportHeight = view->height;
    state->light.position[2] = 1.0f;
    state->light.ambient[3] = 1.0f;
    state->light.diffuse[3] = 1.0f;
}

static bool AllocateArrays(const DocumentUpload* upload, GlShadow* shadow, FaultList* faults)
{
    // A bitmap may have two textures. None at all gives a block too.
    const uint32_t bitmaps = upload->bitmapCount;
    const uint32_t most = upload->textureCount + 2 * bitmaps + upload->effectCount;
    ShadowState* state = &shadow->state;
    state->textures = AllocateZeroed<TextureSettings>(most, kWhat, faults);
    state->resized = AllocateZeroed<bool>(bitmaps, kWhat, faults);
    shadow->names = AllocateZeroed<ShadowTexture>(most, kWhat, faults);
    shadow->inOpenGl = AllocateZeroed<TextureSettings>(most, kWhat, faults);
    shadow->originals = AllocateZeroed<BitmapUpload>(bitmaps, kWhat, faults);
    shadow->resized = AllocateZeroed<BitmapUpload>(bitmaps, kWhat, faults);
    shadow->uses = AllocateZeroed<BitmapUse>(bitmaps, kWhat, faults);
    shadow->useOf = AllocateZeroed<uint32_t>(bitmaps, kWhat, faults);
    if (HasFailed(faults))
    {
        return false;
    }
    std::copy(upload->bitmaps, upload->bitmaps + bitmaps, shadow->originals);
    state->bitmapCount = bitmaps; // from here on FreeShadow gives the originals back
    return true;
}

/// Makes the texture of a resized target, black, like the one that a run that only plays makes.
static bool CreateResized(TargetSize size, BitmapUpload* resized, FaultList* faults)
{
    *resized = {0, size.width, size.height, 3};
    glGenTextures(1, &resized->glTexture);
    return SpecifyBlackTarget(resized, faults);
}

/// Makes the second textures of all bitmaps that a pass of the document may resize.
static bool CreateAllResized(const Timeline* timeline, const ShadowView* view, GlShadow* shadow,
                             FaultList* faults)
{
    const TargetSize size = QuarterTargetSize(view->width >> 1, view->height >> 1, view->npot);
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            if (timeline->passKind[row][clip] != kPassTextureQuarter)
            {
                continue;
            }
            const uint32_t id =
                static_cast<uint32_t>(TruncateToInt(timeline->passParams[row][clip][0]));
            const BitmapUpload* bitmap = GetBitmapUpload(shadow->upload, id);
            if (bitmap == nullptr || (bitmap->width == size.width && bitmap->height == size.height))
            {
                continue;
            }
            BitmapUpload* resized = &shadow->resized[id - 1];
            if (resized->glTexture == 0 && !CreateResized(size, resized, faults))
            {
                return false;
            }
        }
    }
    return true;
}

static void AddTexture(uint32_t name, uint32_t bitmapId, GlShadow* shadow)
{
    if (name != 0)
    {
        shadow->names[shadow->state.textureCount] = {name, bitmapId};
        shadow->state.textureCount += 1;
    }
}

/// @return the place of a texture in GlShadow::names; textureCount if it is none of the document's
static uint32_t FindTexture(const GlShadow* shadow, uint32_t name)
{
    const ShadowTexture* end = shadow->names + shadow->state.textureCount;
    const ShadowTexture* found =
        std::lower_bound(static_cast<const ShadowTexture*>(shadow->names), end, name,
                         [](const ShadowTexture& a, uint32_t b) { return a.name < b; });
    return found != end && found->name == name ? static_cast<uint32_t>(found - shadow->names)
                                               : shadow->state.textureCount;
}

/// Lists all textures with the settings that loading gave them.
static void ListTextures(bool mipChains, GlShadow* shadow)
{
    const DocumentUpload* upload = shadow->upload;
    for (uint32_t i = 0; i < upload->textureCount; ++i)
    {
        AddTexture(upload->textures[i], 0, shadow);
    }
    for (uint32_t i = 0; i < upload->bitmapCount; ++i)
    {
        AddTexture(shadow->originals[i].glTexture, i + 1, shadow);
        AddTexture(shadow->resized[i].glTexture, i + 1, shadow);
    }
    for (uint32_t i = 0; i < upload->effectCount; ++i)
    {
        AddTexture(upload->effects[i].glTexture, 0, shadow);
    }
    ShadowState* state = &shadow->state;
    std::sort(shadow->names, shadow->names + state->textureCount,
              [](const ShadowTexture& a, const ShadowTexture& b) { return a.name < b.name; });

    std::fill(state->textures, state->textures + state->textureCount, kPlainSettings);
    if (mipChains)
    {
        for (uint32_t i = 0; i < upload->textureCount; ++i)
        {
            state->textures[FindTexture(shadow, upload->textures[i])] = kMipChainSettings;
        }
    }
    for (uint32_t i = 0; i < upload->bitmapCount; ++i)
    {
        state->textures[FindTexture(shadow, shadow->originals[i].glTexture)] = kMipChainSettings;
    }
    std::copy(state->textures, state->textures + state->textureCount, shadow->inOpenGl);
}

bool StartShadow(const DemoDocument* document, DocumentUpload* upload, const ShadowView* view,
                 GlShadow* shadow, FaultList* faults)
{
    shadow->upload = upload;
    StartState(view, &shadow->state);
    if (!AllocateArrays(upload, shadow, faults) ||
        !CreateAllResized(document->timeline, view, shadow, faults))
    {
        return false;
    }
    ListTextures(view->mipChains, shadow);
    return true;
}

/// Puts each bitmap's entry of the upload to the texture that the state says.
static void ChooseBitmaps(const GlShadow* shadow)
{
    for (uint32_t i = 0; i < shadow->state.bitmapCount; ++i)
    {
        shadow->upload->bitmaps[i] =
            shadow->state.resized[i] ? shadow->resized[i] : shadow->originals[i];
    }
}

void FreeShadow(GlShadow* shadow)
{
    for (uint32_t i = 0; i < shadow->state.bitmapCount; ++i)
    {
        shadow->upload->bitmaps[i] = shadow->originals[i];
        if (shadow->resized[i].glTexture != 0)
        {
            glDeleteTextures(1, &shadow->resized[i].glTexture);
        }
    }
    free(shadow->names);
    free(shadow->inOpenGl);
    free(shadow->originals);
    free(shadow->resized);
    free(shadow->uses);
    free(shadow->useOf);
    FreeShadowState(&shadow->state);
    *shadow = {};
}

// ---- Keeping and going back

bool KeepShadowState(const GlContext* gl, ShadowState* to, FaultList* faults)
{
    const ShadowState* from = &gl->shadow->state;
    TextureSettings* textures = to->textures;
    bool* resized = to->resized;
    if (textures == nullptr)
    {
        textures = AllocateBlock<TextureSettings>(from->textureCount, kWhat, faults);
    }
    if (resized == nullptr && textures != nullptr)
    {
        resized = AllocateBlock<bool>(from->bitmapCount, kWhat, faults);
    }
    *to = *from;
    to->textures = textures;
    to->resized = resized;
    if (textures == nullptr || resized == nullptr)
    {
        return false;
    }
    to->texCoords = gl->texCoords;
    std::copy(from->textures, from->textures + from->textureCount, textures);
    std::copy(from->resized, from->resized + from->bitmapCount, resized);
    return true;
}

void FreeShadowState(ShadowState* state)
{
    free(state->textures);
    free(state->resized);
    *state = {};
}

size_t ShadowStateBytes(const ShadowState* state)
{
    return sizeof(ShadowState) + state->textureCount * sizeof(TextureSettings) +
           state->bitmapCount * sizeof(bool);
}

void SetShadowState(GlContext* gl, const ShadowState* state)
{
    ShadowState* own = &gl->shadow->state;
    assert(own->textureCount == state->textureCount && own->bitmapCount == state->bitmapCount);
    TextureSettings* const textures = own->textures;
    bool* const resized = own->resized;
    *own = *state;
    own->textures = textures;
    own->resized = resized;
    std::copy(state->textures, state->textures + state->textureCount, textures);
    std::copy(state->resized, state->resized + state->bitmapCount, resized);
    gl->texCoords = state->texCoords;
    ChooseBitmaps(gl->shadow);
}

static void SetEnabled(GLenum capability, bool enabled)
{
    if (enabled)
    {
        glEnable(capability);
    }
    else
    {
        glDisable(capability);
    }
}

/// Sets: the selected matrix to the product of the calls.
static void RestoreMatrix(const CallMatrix* matrix)
{
    glLoadIdentity();
    for (uint32_t i = 0; i < matrix->callCount; ++i)
    {
        const MatrixCall& call = matrix->calls[i];
        if (call.kind == MatrixCallKind::kTranslate)
        {
            glTranslatef(call.x, call.y, call.z);
        }
        else
        {
            glRotatef(call.angle, call.x, call.y, call.z);
        }
    }
}

/// Sets: the settings of all textures that frames which were not drawn have changed.
static void RestoreTextures(GlShadow* shadow)
{
    for (uint32_t i = 0; i < shadow->state.textureCount; ++i)
    {
        const TextureSettings& wanted = shadow->state.textures[i];
        if (memcmp(&wanted, &shadow->inOpenGl[i], sizeof(wanted)) == 0)
        {
            continue;
        }
        glBindTexture(GL_TEXTURE_2D, shadow->names[i].name);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, static_cast<GLint>(wanted.wrapS));
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, static_cast<GLint>(wanted.wrapT));
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(wanted.minFilter));
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(wanted.magFilter));
        shadow->inOpenGl[i] = wanted;
    }
}

/// Relies on: the unit selected.
static void RestoreUnit(const ShadowUnit* unit, bool texCoordArray)
{
    SetEnabled(GL_TEXTURE_2D, unit->texture2d);
    SetEnabled(GL_TEXTURE_GEN_S, unit->texGenS);
    SetEnabled(GL_TEXTURE_GEN_T, unit->texGenT);
    SetEnabled(GL_TEXTURE_GEN_R, unit->texGenR);
    glBindTexture(GL_TEXTURE_2D, unit->texture);
    for (uint32_t i = 0; i < kCombinerSettings; ++i)
    {
        glTexEnvi(GL_TEXTURE_ENV, kCombiner[i].name, unit->combiner[i]);
    }
    glMatrixMode(GL_TEXTURE);
    RestoreMatrix(&unit->matrix);

    glBindBufferARB(GL_ARRAY_BUFFER, unit->texCoordBuffer);
    glTexCoordPointer(2, GL_FLOAT, 0, unit->texCoordPointer);
    if (texCoordArray)
    {
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    }
    else
    {
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    }
}

/// Sets: GL_LIGHT1, then the modelview matrix. Leaves: GL_MODELVIEW current.
static void RestoreLight(const ShadowState* state)
{
    glMatrixMode(GL_MODELVIEW);
    RestoreMatrix(&state->light.matrix);
    glLightfv(GL_LIGHT1, GL_POSITION, state->light.position);
    glLightfv(GL_LIGHT1, GL_AMBIENT, state->light.ambient);
    glLightfv(GL_LIGHT1, GL_DIFFUSE, state->light.diffuse);
    RestoreMatrix(&state->modelview);
}

void RestoreShadow(GlContext* gl)
{
    const ShadowState* state = &gl->shadow->state;
    RestoreTextures(gl->shadow);
    for (uint32_t i = 0; i < kTextureUnits; ++i)
    {
        // The selected unit comes last and stays.
        const uint32_t unit = (gl->texCoords.unit + 1 + i) % kTextureUnits;
        glActiveTextureARB(GL_TEXTURE0 + unit);
        glClientActiveTextureARB(GL_TEXTURE0 + unit);
        RestoreUnit(&state->units[unit], gl->texCoords.enabled[unit]);
    }
    RestoreLight(state);
    SetEnabled(GL_LIGHTING, state->lighting);
    SetEnabled(GL_LIGHT1, state->light1);
    SetEnabled(GL_NORMALIZE, state->normalize);
    glColor4f(state->color[0], state->color[1], state->color[2], state->color[3]);
    glBlendFunc(state->blendSource, state->blendDestination);
    glPolygonMode(GL_FRONT_AND_BACK, state->polygonMode);
    glLineWidth(state->lineWidth);
    glViewport(0, 0, state->viewportWidth, state->viewportHeight);

    // Each object binds the buffers that it needs. Its arrays are off afterwards, unless a fault
    // ended it.
    glBindBufferARB(GL_ARRAY_BUFFER, 0);
    glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER, 0);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}

// ---- Writing down

static ShadowUnit* SelectedUnit(GlContext* gl)
{
    return &gl->shadow->state.units[gl->texCoords.unit];
}

void ShadowSetEnabled(GlContext* gl, GLenum capability, bool enabled)
{
    ShadowState* state = &gl->shadow->state;
    ShadowUnit* unit = SelectedUnit(gl);
    switch (capability)
    {
    case GL_TEXTURE_2D:
        unit->texture2d = enabled;
        break;
    case GL_TEXTURE_GEN_S:
        unit->texGenS = enabled;
        break;
    case GL_TEXTURE_GEN_T:
        unit->texGenT = enabled;
        break;
    case GL_TEXTURE_GEN_R:
        unit->texGenR = enabled;
        break;
    case GL_LIGHTING:
        state->lighting = enabled;
        break;
    case GL_LIGHT1:
        state->light1 = enabled;
        break;
    case GL_NORMALIZE:
        state->normalize = enabled;
        break;
    default: // the depth test and fog, which every clip sets
        assert(capability == GL_DEPTH_TEST || capability == GL_FOG);
        break;
    }
}

void ShadowBindTexture(GlContext* gl, GLuint texture)
{
    SelectedUnit(gl)->texture = texture;
}

static void SetTextureValue(TextureSettings* settings, GLenum name, GLenum value)
{
    switch (name)
    {
    case GL_TEXTURE_WRAP_S:
        settings->wrapS = value;
        break;
    case GL_TEXTURE_WRAP_T:
        settings->wrapT = value;
        break;
    case GL_TEXTURE_MIN_FILTER:
        settings->minFilter = value;
        break;
    default:
        assert(name == GL_TEXTURE_MAG_FILTER);
        settings->magFilter = value;
        break;
    }
}

void ShadowSetTexParameter(GlContext* gl, GLenum name, GLint value)
{
    GlShadow* shadow = gl->shadow;
    const uint32_t i = FindTexture(shadow, SelectedUnit(gl)->texture);
    assert(i < shadow->state.textureCount);
    SetTextureValue(&shadow->state.textures[i], name, static_cast<GLenum>(value));
    if (!SkipsCalls(gl))
    {
        SetTextureValue(&shadow->inOpenGl[i], name, static_cast<GLenum>(value));
    }
}

void ShadowSetTexEnv(GlContext* gl, GLenum name, GLint value)
{
    const CombinerRow* row = std::find_if(std::begin(kCombiner), std::end(kCombiner),
                                          [name](const CombinerRow& r) { return r.name == name; });
    assert(row != std::end(kCombiner));
    SelectedUnit(gl)->combiner[row - kCombiner] = value;
}

void ShadowSetBlend(GlContext* gl, GLenum source, GLenum destination)
{
    gl->shadow->state.blendSource = source;
    gl->shadow->state.blendDestination = destination;
}

void ShadowSetPolygonMode(GlContext* gl, GLenum mode)
{
    gl->shadow->state.polygonMode = mode;
}

void ShadowSetLineWidth(GlContext* gl, GLfloat width)
{
    // OpenGL refuses the others and keeps what it has.
    if (!(width <= 0.0f))
    {
        gl->shadow->state.lineWidth = width;
    }
}

void ShadowSetColor(GlContext* gl, const GLfloat (&color)[4])
{
    std::copy(std::begin(color), std::end(color), gl->shadow->state.color);
}

void ShadowSetViewport(GlContext* gl, GLsizei width, GLsizei height)
{
    gl->shadow->state.viewportWidth = width;
    gl->shadow->state.viewportHeight = height;
}

void ShadowSetLight(GlContext* gl, GLenum name, const GLfloat* values)
{
    ShadowLight* light = &gl->shadow->state.light;
    switch (name)
    {
    case GL_POSITION:
        memcpy(light->position, values, sizeof(light->position));
        light->matrix = gl->shadow->state.modelview;
        break;
    case GL_AMBIENT:
        memcpy(light->ambient, values, sizeof(light->ambient));
        break;
    default:
        assert(name == GL_DIFFUSE);
        memcpy(light->diffuse, values, sizeof(light->diffuse));
        break;
    }
}

void ShadowSetMatrixMode(GlContext* gl, GLenum mode)
{
    gl->shadow->state.matrixMode = mode;
}

/// @return the selected matrix; null for the projection, which every clip sets
static CallMatrix* SelectedMatrix(GlContext* gl)
{
    switch (gl->shadow->state.matrixMode)
    {
    case GL_TEXTURE:
        return &SelectedUnit(gl)->matrix;
    case GL_MODELVIEW:
        return &gl->shadow->state.modelview;
    default:
        return nullptr;
    }
}

void ShadowStartMatrix(GlContext* gl)
{
    CallMatrix* matrix = SelectedMatrix(gl);
    if (matrix != nullptr)
    {
        matrix->callCount = 0;
    }
}

void ShadowAddMatrixCall(GlContext* gl, const MatrixCall& call)
{
    CallMatrix* matrix = SelectedMatrix(gl);
    if (matrix != nullptr)
    {
        assert(matrix->callCount < kMatrixCalls);
        matrix->calls[matrix->callCount] = call;
        matrix->callCount += 1;
    }
}

void ShadowBindBuffer(GlContext* gl, GLenum target, GLuint buffer)
{
    if (target == GL_ARRAY_BUFFER)
    {
        gl->shadow->state.arrayBuffer = buffer;
    }
}

void ShadowSetTexCoordPointer(GlContext* gl, const void* pointer)
{
    ShadowUnit* unit = SelectedUnit(gl);
    unit->texCoordPointer = pointer;
    unit->texCoordBuffer = gl->shadow->state.arrayBuffer;
}

// ---- Notes on a frame

void StartFrameNotes(GlShadow* shadow)
{
    for (uint32_t i = 0; i < shadow->useCount; ++i)
    {
        shadow->useOf[shadow->uses[i].id - 1] = 0;
    }
    shadow->useCount = 0;
}

/// @return what the frame has done with a bitmap until now
static BitmapUse* UseOf(GlShadow* shadow, uint32_t id)
{
    uint32_t* place = &shadow->useOf[id - 1];
    if (*place == 0)
    {
        shadow->uses[shadow->useCount] = {id, false, false};
        shadow->useCount += 1;
        *place = shadow->useCount;
    }
    return &shadow->uses[*place - 1];
}

void ShadowNoteDraw(GlContext* gl)
{
    GlShadow* shadow = gl->shadow;
    for (const ShadowUnit& unit : shadow->state.units)
    {
        const uint32_t i =
            unit.texture2d ? FindTexture(shadow, unit.texture) : shadow->state.textureCount;
        if (i < shadow->state.textureCount && shadow->names[i].bitmapId != 0)
        {
            BitmapUse* use = UseOf(shadow, shadow->names[i].bitmapId);
            use->shownFirst = use->shownFirst || !use->written;
        }
    }
}

void ShadowNoteCopy(GlContext* gl, uint32_t bitmapId)
{
    // Texels outside the window are not copied, and keep the values that they had: no copy of any
    // frame reaches them. So each copy writes all that can differ.
    UseOf(gl->shadow, bitmapId)->written = true;
}

/// Unbinds a texture wherever it is bound, as deleting it does.
static void Unbind(GlContext* gl, uint32_t texture)
{
    for (uint32_t i = 0; i < kTextureUnits; ++i)
    {
        ShadowUnit* unit = &gl->shadow->state.units[i];
        if (unit->texture != texture)
        {
            continue;
        }
        unit->texture = 0;
        if (!SkipsCalls(gl))
        {
            glActiveTextureARB(GL_TEXTURE0 + i);
            glBindTexture(GL_TEXTURE_2D, 0);
            glActiveTextureARB(GL_TEXTURE0 + gl->texCoords.unit);
        }
    }
}

bool ShadowResize(GlContext* gl, uint32_t bitmapId, FaultList* faults)
{
    GlShadow* shadow = gl->shadow;
    BitmapUpload* bitmap = &shadow->upload->bitmaps[bitmapId - 1];
    const BitmapUpload* resized = &shadow->resized[bitmapId - 1];
    assert(resized->glTexture != 0 && !shadow->state.resized[bitmapId - 1]);
    Unbind(gl, bitmap->glTexture);
    *bitmap = *resized;
    shadow->state.resized[bitmapId - 1] = true;
    UseOf(shadow, bitmapId)->written = true;

    const uint32_t i = FindTexture(shadow, resized->glTexture);
    shadow->state.textures[i] = kPlainSettings;
    ShadowBindTexture(gl, resized->glTexture);
    if (SkipsCalls(gl))
    {
        return true;
    }
    // The texture of an earlier visit has wraps of its own.
    shadow->inOpenGl[i] = kPlainSettings;
    if (!SpecifyBlackTarget(resized, faults))
    {
        return false;
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    return true;
}

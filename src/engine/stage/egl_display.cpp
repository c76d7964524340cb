// SPDX-License-Identifier: MIT
#include "engine/stage/egl_display.h"

#define EGL_NO_X11 // its headers name things None and Status
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glew.h>
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "engine/render/baseline_state.h"
#include "engine/stage/mixed_picture.h"

static constexpr EGLint kChannelBits = 8;
static constexpr EGLint kDepthBits = 24;
static constexpr EGLint kMaxConfigs = 256;
static constexpr EGLint kMaxDevices = 16;

/// Whether a list of words divided by spaces has the word.
static bool HasWord(const char* list, const char* word)
{
    const size_t length = strlen(word);
    for (const char* at = list; at != nullptr; at = strchr(at, ' '))
    {
        at += *at == ' ' ? 1 : 0;
        if (strncmp(at, word, length) == 0 && (at[length] == ' ' || at[length] == 0))
        {
            return true;
        }
    }
    return false;
}

static EGLint ConfigValue(EGLDisplay connection, EGLConfig config, EGLint name)
{
    EGLint value = 0;
    eglGetConfigAttrib(connection, config, name, &value);
    return value;
}

/// Whether all channels have exactly the bits that are asked for: EGL puts deeper ones first.
static bool HasPlainChannels(EGLDisplay connection, EGLConfig config, EGLint alphaBits)
{
    for (const EGLint name : {EGL_RED_SIZE, EGL_GREEN_SIZE, EGL_BLUE_SIZE})
    {
        if (ConfigValue(connection, config, name) != kChannelBits)
        {
            return false;
        }
    }
    return ConfigValue(connection, config, EGL_ALPHA_SIZE) == alphaBits;
}

/// Finds the configuration with the fewest samples that are enough, and then the least depth: the
/// order that EGL itself gives.
/// @return false if there is none
static bool ChooseConfig(EGLDisplay connection, const EglDisplayRequest* request, EGLConfig* chosen)
{
    const EGLint samples = request->samples;
    const EGLint alphaBits = request->isLikeWindow && samples == 0 ? 0 : kChannelBits;
    const EGLint wishes[] = {
        // clang-format off
        EGL_SURFACE_TYPE,    EGL_PBUFFER_BIT,
        EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
        EGL_RED_SIZE,        kChannelBits,
        EGL_GREEN_SIZE,      kChannelBits,
        EGL_BLUE_SIZE,       kChannelBits,
        EGL_ALPHA_SIZE,      alphaBits,
        EGL_DEPTH_SIZE,      kDepthBits,
        EGL_SAMPLE_BUFFERS,  samples > 0 ? 1 : 0,
        EGL_SAMPLES,         samples,
        EGL_NONE,
        // clang-format on
    };
    EGLConfig configs[kMaxConfigs];
    EGLint count = 0;
    if (eglChooseConfig(connection, wishes, configs, kMaxConfigs, &count) == EGL_FALSE)
    {
        return false;
    }
    EGLint deepest = -1;
    for (EGLint i = 0; i < count && (deepest < 0 || request->isLikeWindow); ++i)
    {
        const EGLint depth = ConfigValue(connection, configs[i], EGL_DEPTH_SIZE);
        if (HasPlainChannels(connection, configs[i], alphaBits) && depth > deepest)
        {
            deepest = depth;
            *chosen = configs[i];
        }
    }
    return deepest >= 0;
}

/// Makes surface and context on a connection.
/// @return false if the driver can't; what was made until then is in `display`
static bool CreateBuffers(const EglDisplayRequest* request, EglDisplay* display, FaultList* faults)
{
    EGLConfig config = nullptr;
    if (!ChooseConfig(display->connection, request, &config))
    {
        AddError(faults, "the driver has no picture of 8 bits a channel and %d samples a pixel",
                 request->samples);
        return false;
    }
    const EGLint size[] = {EGL_WIDTH, request->width, EGL_HEIGHT, request->height, EGL_NONE};
    display->surface = eglCreatePbufferSurface(display->connection, config, size);
    if (display->surface == EGL_NO_SURFACE)
    {
        AddError(faults, "the driver has no picture of %d x %d (EGL error 0x%04X)", request->width,
                 request->height, static_cast<unsigned int>(eglGetError()));
        return false;
    }
    eglBindAPI(EGL_OPENGL_API); // of this thread; EGL's first choice is OpenGL ES
    // Without attributes the profile is the compatibility one.
    display->context = eglCreateContext(display->connection, config, EGL_NO_CONTEXT, nullptr);
    if (display->context == EGL_NO_CONTEXT)
    {
        AddError(faults, "the driver has no OpenGL context (EGL error 0x%04X)",
                 static_cast<unsigned int>(eglGetError()));
        return false;
    }
    display->width = request->width;
    display->height = request->height;
    display->samples = ConfigValue(display->connection, config, EGL_SAMPLES);
    return true;
}

/// Loads the entry points. The library also looks for a display of X, which is not there, and
/// tells so when everything else is loaded.
static bool LoadEntryPoints(FaultList* faults)
{
    const GLenum result = glewInit();
    if (result != GLEW_OK && result != GLEW_ERROR_NO_GLX_DISPLAY)
    {
        AddError(faults, "the entry points of OpenGL can't be loaded: %s",
                 reinterpret_cast<const char*>(glewGetErrorString(result)));
        return false;
    }
    return true;
}

/// Whether the driver really draws the size that it has accepted: some cut it short, and memory is
/// first taken when something is drawn.
static bool ClearPicture(const EglDisplay* display, FaultList* faults)
{
    GLint limits[2] = {};
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, limits);
    if (display->width > limits[0] || display->height > limits[1])
    {
        AddError(faults, "the driver draws pictures up to %d x %d, and not %d x %d", limits[0],
                 limits[1], display->width, display->height);
        return false;
    }
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    if (display->samples > 0)
    {
        // Mesa's software renderer loses the memory of samples that were never mixed.
        const MixedPicture mixed = MixSamples(display);
        FreeMixedPicture(&mixed);
    }
    glFinish();
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR)
    {
        AddError(faults, "the driver has no memory for %d x %d (OpenGL error 0x%04X)",
                 display->width, display->height, error);
        return false;
    }
    return true;
}

/// Opens a display on a connection to a driver.
static bool OpenOnConnection(const EglDisplayRequest* request, EGLDisplay connection,
                             EglDisplay* display, FaultList* faults)
{
    if (eglInitialize(connection, nullptr, nullptr) == EGL_FALSE)
    {
        AddError(faults, "the driver does not start (EGL error 0x%04X)",
                 static_cast<unsigned int>(eglGetError()));
        return false;
    }
    display->connection = connection;
    if (CreateBuffers(request, display, faults) && MakeEglDisplayCurrent(display, faults) &&
        LoadEntryPoints(faults) && ClearPicture(display, faults))
    {
        display->features = DetectFeatures();
        SetBaselineState();
        return true;
    }
    CloseEglDisplay(display);
    return false;
}

/// Looks for drivers in the order that the header tells.
/// @param connections   receives at most 1 + kMaxDevices
/// @return their number
static EGLint FindConnections(EGLDisplay* connections)
{
    const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    EGLint found = 0;
    if (HasWord(extensions, "EGL_MESA_platform_surfaceless"))
    {
        connections[found++] =
            eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    }
    if (HasWord(extensions, "EGL_EXT_platform_device") &&
        (HasWord(extensions, "EGL_EXT_device_enumeration") ||
         HasWord(extensions, "EGL_EXT_device_base")))
    {
        const auto queryDevices =
            reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
        EGLDeviceEXT devices[kMaxDevices];
        EGLint count = 0;
        if (queryDevices == nullptr || queryDevices(kMaxDevices, devices, &count) == EGL_FALSE)
        {
            return found;
        }
        for (EGLint i = 0; i < count; ++i)
        {
            connections[found++] =
                eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr);
        }
    }
    return found;
}

bool OpenEglDisplay(const EglDisplayRequest* request, EglDisplay* display, FaultList* faults)
{
    if (request->width < 1 || request->height < 1 || request->samples < 0)
    {
        AddError(faults, "there are no pictures of %d x %d with %d samples a pixel", request->width,
                 request->height, request->samples);
        return false;
    }

    EGLDisplay connections[1 + kMaxDevices];
    const EGLint count = FindConnections(connections);
    if (count == 0)
    {
        AddError(faults, "EGL knows no driver that draws without a window");
        return false;
    }
    // All are tried, and the refusal of the first is told: it is the one that viewers mean to use.
    FaultList refusals;
    StartFaults(&refusals);
    bool opened = false;
    for (EGLint i = 0; i < count && !opened; ++i)
    {
        opened = OpenOnConnection(request, connections[i], display, &refusals);
    }
    if (!opened)
    {
        AddError(faults, "%s", GetFault(&refusals, 0)->text);
    }
    FreeFaults(&refusals);
    return opened;
}

bool MakeEglDisplayCurrent(const EglDisplay* display, FaultList* faults)
{
    if (eglMakeCurrent(display->connection, display->surface, display->surface, display->context) ==
        EGL_FALSE)
    {
        AddError(faults, "the driver does not make its OpenGL current (EGL error 0x%04X)",
                 static_cast<unsigned int>(eglGetError()));
        return false;
    }
    return true;
}

static void TurnUpsideDown(const EglDisplay* display, uint8_t* rgb)
{
    const size_t row = static_cast<size_t>(display->width) * 3;
    uint8_t* upper = rgb;
    uint8_t* lower = rgb + row * static_cast<size_t>(display->height - 1);
    for (; upper < lower; upper += row, lower -= row)
    {
        std::swap_ranges(upper, upper + row, lower);
    }
}

void ReadEglPicture(const EglDisplay* display, uint8_t* rgb)
{
    // Mesa's software renderer hands out the first sample of a pixel where the mean is due, so the
    // samples are mixed before they are read.
    MixedPicture mixed = {};
    if (display->samples > 0)
    {
        mixed = MixSamples(display);
    }
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, display->width, display->height, GL_RGB, GL_UNSIGNED_BYTE, rgb);
    if (display->samples > 0)
    {
        FreeMixedPicture(&mixed);
    }
    TurnUpsideDown(display, rgb); // OpenGL's rows come from the bottom
}

void CloseEglDisplay(EglDisplay* display)
{
    // The connection stays: EGL gives the same one to everybody in the process who asks for this
    // driver, and ending it would close their displays as well.
    if (display->context != nullptr)
    {
        eglBindAPI(EGL_OPENGL_API);
        if (eglGetCurrentContext() == display->context)
        {
            eglMakeCurrent(display->connection, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        }
        eglDestroyContext(display->connection, display->context);
    }
    if (display->surface != nullptr)
    {
        eglDestroySurface(display->connection, display->surface);
    }
    *display = {};
}

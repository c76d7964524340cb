// SPDX-License-Identifier: MIT
#include "support/recorded_gl.h"

#include <GL/glew.h>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

#include "support/content_hash.h"

namespace
{

constexpr uint32_t kUnits = 8;
constexpr size_t kModelviewDepth = 32; // what OpenGL promises at least
constexpr size_t kOtherDepth = 2;
constexpr uint8_t kUnwritten = 0xCD;

struct Matrix
{
    float m[16]; // column-major
};

struct MatrixStack
{
    Matrix levels[kModelviewDepth];
    size_t top; // index of the current one
    size_t depth;
};

struct Buffer
{
    std::vector<uint8_t> bytes; // empty if it was filled while muted
    size_t size;
    bool mapped;
};

/// An array of floats that drawing takes vertices from.
struct ClientArray
{
    bool enabled;
    GLint floats; // of a vertex
    GLsizei stride;
    GLuint buffer;
    const void* pointer;
};

struct Label
{
    const char* begin;
    size_t bytes;
    std::string name;
};

constexpr Matrix kIdentity = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};

struct Context
{
    std::string calls;
    std::vector<Label> labels;
    bool muted = false;
    bool contents = false;
    uint64_t callCount = 0;
    uint64_t refused = 0;

    MatrixStack modelview = {{kIdentity}, 0, kModelviewDepth};
    MatrixStack projection = {{kIdentity}, 0, kOtherDepth};
    MatrixStack texture[kUnits] = {};
    GLenum matrixMode = GL_MODELVIEW;

    uint32_t unit = 0;
    GLuint boundTexture[kUnits] = {};
    GLuint nextTexture = 1;
    std::map<GLuint, std::map<GLint, GlTextureImage>> textures; // by name, by level
    GLint unpackAlignment = 4;

    GLuint arrayBuffer = 0;
    GLuint elementBuffer = 0;
    GLuint unpackBuffer = 0;
    GLuint nextBuffer = 1;
    std::map<GLuint, Buffer> buffers;

    uint32_t clientUnit = 0;
    ClientArray vertices = {};
    ClientArray normals = {};
    ClientArray texCoords[kUnits] = {};
    uint8_t bytesRead = 0; // all together, so that no read is for nothing

    GlExtensions offer = {true, true, true, true, true};

    Context()
    {
        for (MatrixStack& stack : texture)
        {
            stack = {{kIdentity}, 0, kOtherDepth};
        }
    }
};

Context gl;

// How arguments are written.

struct EnumName
{
    GLenum value;
    const char* name;
};

// Values that stand for one thing only, among what the engine uses.
constexpr EnumName kNames[] = {
    // Capabilities
    {GL_ALPHA_TEST, "ALPHA_TEST"},
    {GL_BLEND, "BLEND"},
    {GL_COLOR_MATERIAL, "COLOR_MATERIAL"},
    {GL_CULL_FACE, "CULL_FACE"},
    {GL_DEPTH_TEST, "DEPTH_TEST"},
    {GL_DITHER, "DITHER"},
    {GL_FOG, "FOG"},
    {GL_LIGHTING, "LIGHTING"},
    {GL_LIGHT0, "LIGHT0"},
    {GL_LIGHT1, "LIGHT1"},
    {GL_LIGHT2, "LIGHT2"},
    {GL_LINE_SMOOTH, "LINE_SMOOTH"},
    {GL_MULTISAMPLE, "MULTISAMPLE"},
    {GL_NORMALIZE, "NORMALIZE"},
    {GL_RESCALE_NORMAL, "RESCALE_NORMAL"},
    {GL_SCISSOR_TEST, "SCISSOR_TEST"},
    {GL_STENCIL_TEST, "STENCIL_TEST"},
    {GL_TEXTURE_1D, "TEXTURE_1D"},
    {GL_TEXTURE_2D, "TEXTURE_2D"},
    {GL_TEXTURE_GEN_S, "TEXTURE_GEN_S"},
    {GL_TEXTURE_GEN_T, "TEXTURE_GEN_T"},
    {GL_TEXTURE_GEN_R, "TEXTURE_GEN_R"},
    {GL_TEXTURE_GEN_Q, "TEXTURE_GEN_Q"},
    // Client arrays
    {GL_VERTEX_ARRAY, "VERTEX_ARRAY"},
    {GL_NORMAL_ARRAY, "NORMAL_ARRAY"},
    {GL_COLOR_ARRAY, "COLOR_ARRAY"},
    {GL_INDEX_ARRAY, "INDEX_ARRAY"},
    {GL_TEXTURE_COORD_ARRAY, "TEXTURE_COORD_ARRAY"},
    // Faces and polygon modes
    {GL_FRONT, "FRONT"},
    {GL_BACK, "BACK"},
    {GL_FRONT_AND_BACK, "FRONT_AND_BACK"},
    {GL_POINT, "POINT"},
    {GL_LINE, "LINE"},
    {GL_FILL, "FILL"},
    // Sources of colours, and blend factors above one
    {GL_SRC_COLOR, "SRC_COLOR"},
    {GL_ONE_MINUS_SRC_COLOR, "ONE_MINUS_SRC_COLOR"},
    {GL_SRC_ALPHA, "SRC_ALPHA"},
    {GL_ONE_MINUS_SRC_ALPHA, "ONE_MINUS_SRC_ALPHA"},
    {GL_DST_ALPHA, "DST_ALPHA"},
    {GL_ONE_MINUS_DST_ALPHA, "ONE_MINUS_DST_ALPHA"},
    {GL_DST_COLOR, "DST_COLOR"},
    {GL_ONE_MINUS_DST_COLOR, "ONE_MINUS_DST_COLOR"},
    {GL_SRC_ALPHA_SATURATE, "SRC_ALPHA_SATURATE"},
    // Textures
    {GL_TEXTURE_MAG_FILTER, "TEXTURE_MAG_FILTER"},
    {GL_TEXTURE_MIN_FILTER, "TEXTURE_MIN_FILTER"},
    {GL_TEXTURE_WRAP_S, "TEXTURE_WRAP_S"},
    {GL_TEXTURE_WRAP_T, "TEXTURE_WRAP_T"},
    {GL_TEXTURE_WRAP_R, "TEXTURE_WRAP_R"},
    {GL_GENERATE_MIPMAP, "GENERATE_MIPMAP"},
    {GL_TEXTURE_BASE_LEVEL, "TEXTURE_BASE_LEVEL"},
    {GL_TEXTURE_MAX_LEVEL, "TEXTURE_MAX_LEVEL"},
    {GL_NEAREST, "NEAREST"},
    {GL_LINEAR, "LINEAR"},
    {GL_NEAREST_MIPMAP_NEAREST, "NEAREST_MIPMAP_NEAREST"},
    {GL_LINEAR_MIPMAP_NEAREST, "LINEAR_MIPMAP_NEAREST"},
    {GL_NEAREST_MIPMAP_LINEAR, "NEAREST_MIPMAP_LINEAR"},
    {GL_LINEAR_MIPMAP_LINEAR, "LINEAR_MIPMAP_LINEAR"},
    {GL_CLAMP, "CLAMP"},
    {GL_REPEAT, "REPEAT"},
    {GL_CLAMP_TO_EDGE, "CLAMP_TO_EDGE"},
    {GL_CLAMP_TO_BORDER, "CLAMP_TO_BORDER"},
    {GL_MIRRORED_REPEAT, "MIRRORED_REPEAT"},
    // Combiners
    {GL_TEXTURE_ENV, "TEXTURE_ENV"},
    {GL_TEXTURE_ENV_MODE, "TEXTURE_ENV_MODE"},
    {GL_TEXTURE_ENV_COLOR, "TEXTURE_ENV_COLOR"},
    {GL_COMBINE, "COMBINE"},
    {GL_COMBINE_RGB, "COMBINE_RGB"},
    {GL_COMBINE_ALPHA, "COMBINE_ALPHA"},
    {GL_SOURCE0_RGB, "SOURCE0_RGB"},
    {GL_SOURCE1_RGB, "SOURCE1_RGB"},
    {GL_SOURCE2_RGB, "SOURCE2_RGB"},
    {GL_SOURCE0_ALPHA, "SOURCE0_ALPHA"},
    {GL_SOURCE1_ALPHA, "SOURCE1_ALPHA"},
    {GL_SOURCE2_ALPHA, "SOURCE2_ALPHA"},
    {GL_OPERAND0_RGB, "OPERAND0_RGB"},
    {GL_OPERAND1_RGB, "OPERAND1_RGB"},
    {GL_OPERAND2_RGB, "OPERAND2_RGB"},
    {GL_OPERAND0_ALPHA, "OPERAND0_ALPHA"},
    {GL_OPERAND1_ALPHA, "OPERAND1_ALPHA"},
    {GL_OPERAND2_ALPHA, "OPERAND2_ALPHA"},
    {GL_RGB_SCALE, "RGB_SCALE"},
    {GL_ALPHA_SCALE, "ALPHA_SCALE"},
    {GL_ADD, "ADD"},
    {GL_ADD_SIGNED, "ADD_SIGNED"},
    {GL_SUBTRACT, "SUBTRACT"},
    {GL_INTERPOLATE, "INTERPOLATE"},
    {GL_MODULATE, "MODULATE"},
    {GL_DECAL, "DECAL"},
    {GL_REPLACE, "REPLACE"},
    {GL_DOT3_RGB, "DOT3_RGB"},
    {GL_DOT3_RGBA, "DOT3_RGBA"},
    {GL_PRIMARY_COLOR, "PRIMARY_COLOR"},
    {GL_PREVIOUS, "PREVIOUS"},
    {GL_CONSTANT, "CONSTANT"},
    // Texture units
    {GL_TEXTURE0, "TEXTURE0"},
    {GL_TEXTURE1, "TEXTURE1"},
    {GL_TEXTURE2, "TEXTURE2"},
    {GL_TEXTURE3, "TEXTURE3"},
    // Generated coordinates
    {GL_S, "S"},
    {GL_T, "T"},
    {GL_R, "R"},
    {GL_Q, "Q"},
    {GL_TEXTURE_GEN_MODE, "TEXTURE_GEN_MODE"},
    {GL_SPHERE_MAP, "SPHERE_MAP"},
    {GL_OBJECT_LINEAR, "OBJECT_LINEAR"},
    {GL_EYE_LINEAR, "EYE_LINEAR"},
    {GL_REFLECTION_MAP, "REFLECTION_MAP"},
    {GL_NORMAL_MAP, "NORMAL_MAP"},
    // Types and formats
    {GL_BYTE, "BYTE"},
    {GL_UNSIGNED_BYTE, "UNSIGNED_BYTE"},
    {GL_SHORT, "SHORT"},
    {GL_UNSIGNED_SHORT, "UNSIGNED_SHORT"},
    {GL_INT, "INT"},
    {GL_UNSIGNED_INT, "UNSIGNED_INT"},
    {GL_FLOAT, "FLOAT"},
    {GL_DOUBLE, "DOUBLE"},
    {GL_ALPHA, "ALPHA"},
    {GL_RGB, "RGB"},
    {GL_RGBA, "RGBA"},
    {GL_BGR, "BGR"},
    {GL_BGRA, "BGRA"},
    {GL_LUMINANCE, "LUMINANCE"},
    {GL_LUMINANCE_ALPHA, "LUMINANCE_ALPHA"},
    {GL_RGB8, "RGB8"},
    {GL_RGBA8, "RGBA8"},
    {GL_UNPACK_ALIGNMENT, "UNPACK_ALIGNMENT"},
    {GL_PACK_ALIGNMENT, "PACK_ALIGNMENT"},
    {GL_UNPACK_ROW_LENGTH, "UNPACK_ROW_LENGTH"},
    // Matrices
    {GL_MODELVIEW, "MODELVIEW"},
    {GL_PROJECTION, "PROJECTION"},
    {GL_TEXTURE, "TEXTURE"},
    {GL_MODELVIEW_MATRIX, "MODELVIEW_MATRIX"},
    {GL_PROJECTION_MATRIX, "PROJECTION_MATRIX"},
    {GL_TEXTURE_MATRIX, "TEXTURE_MATRIX"},
    // Light
    {GL_AMBIENT, "AMBIENT"},
    {GL_DIFFUSE, "DIFFUSE"},
    {GL_SPECULAR, "SPECULAR"},
    {GL_POSITION, "POSITION"},
    {GL_SPOT_DIRECTION, "SPOT_DIRECTION"},
    {GL_EMISSION, "EMISSION"},
    {GL_AMBIENT_AND_DIFFUSE, "AMBIENT_AND_DIFFUSE"},
    {GL_FLAT, "FLAT"},
    {GL_SMOOTH, "SMOOTH"},
    // Fog and hints
    {GL_FOG_MODE, "FOG_MODE"},
    {GL_FOG_DENSITY, "FOG_DENSITY"},
    {GL_FOG_START, "FOG_START"},
    {GL_FOG_END, "FOG_END"},
    {GL_FOG_COLOR, "FOG_COLOR"},
    {GL_EXP, "EXP"},
    {GL_EXP2, "EXP2"},
    {GL_FOG_HINT, "FOG_HINT"},
    {GL_PERSPECTIVE_CORRECTION_HINT, "PERSPECTIVE_CORRECTION_HINT"},
    {GL_LINE_SMOOTH_HINT, "LINE_SMOOTH_HINT"},
    {GL_DONT_CARE, "DONT_CARE"},
    {GL_FASTEST, "FASTEST"},
    {GL_NICEST, "NICEST"},
    // Depth functions
    {GL_NEVER, "NEVER"},
    {GL_LESS, "LESS"},
    {GL_EQUAL, "EQUAL"},
    {GL_LEQUAL, "LEQUAL"},
    {GL_GREATER, "GREATER"},
    {GL_NOTEQUAL, "NOTEQUAL"},
    {GL_GEQUAL, "GEQUAL"},
    {GL_ALWAYS, "ALWAYS"},
    // Buffers
    {GL_ARRAY_BUFFER, "ARRAY_BUFFER"},
    {GL_ELEMENT_ARRAY_BUFFER, "ELEMENT_ARRAY_BUFFER"},
    {GL_PIXEL_UNPACK_BUFFER, "PIXEL_UNPACK_BUFFER"},
    {GL_PIXEL_PACK_BUFFER, "PIXEL_PACK_BUFFER"},
    {GL_STREAM_DRAW, "STREAM_DRAW"},
    {GL_STATIC_DRAW, "STATIC_DRAW"},
    {GL_DYNAMIC_DRAW, "DYNAMIC_DRAW"},
    {GL_READ_ONLY, "READ_ONLY"},
    {GL_WRITE_ONLY, "WRITE_ONLY"},
    {GL_READ_WRITE, "READ_WRITE"},
};

constexpr bool NamesAreUnambiguous()
{
    for (const EnumName& name : kNames)
    {
        for (const EnumName& other : kNames)
        {
            if (&name != &other && name.value == other.value)
            {
                return false;
            }
        }
    }
    return true;
}
static_assert(NamesAreUnambiguous());

constexpr EnumName kBlendFactors[] = {{GL_ZERO, "ZERO"}, {GL_ONE, "ONE"}};

constexpr EnumName kPrimitives[] = {
    {GL_POINTS, "POINTS"},
    {GL_LINES, "LINES"},
    {GL_LINE_LOOP, "LINE_LOOP"},
    {GL_LINE_STRIP, "LINE_STRIP"},
    {GL_TRIANGLES, "TRIANGLES"},
    {GL_TRIANGLE_STRIP, "TRIANGLE_STRIP"},
    {GL_TRIANGLE_FAN, "TRIANGLE_FAN"},
    {GL_QUADS, "QUADS"},
    {GL_QUAD_STRIP, "QUAD_STRIP"},
    {GL_POLYGON, "POLYGON"},
};

// Bits share their values with enums: the colour buffer with GL_LIGHT0, the depth buffer with
// GL_ACCUM.
constexpr EnumName kClearBits[] = {
    {GL_COLOR_BUFFER_BIT, "COLOR_BUFFER_BIT"},
    {GL_DEPTH_BUFFER_BIT, "DEPTH_BUFFER_BIT"},
    {GL_ACCUM_BUFFER_BIT, "ACCUM_BUFFER_BIT"},
    {GL_STENCIL_BUFFER_BIT, "STENCIL_BUFFER_BIT"},
};

template <typename Value>
void AppendNumber(Value value)
{
    char text[64];
    gl.calls.append(text, std::to_chars(text, text + sizeof text, value).ptr);
}

/// Below this a value is a count or a number of components, and no enum that has a name.
constexpr GLenum kFirstNamedEnum = 0x100;

template <size_t count>
bool AppendName(const EnumName (&names)[count], GLenum value)
{
    for (const EnumName& name : names)
    {
        if (name.value == value)
        {
            gl.calls += name.name;
            return true;
        }
    }
    return false;
}

void AppendHexadecimal(GLenum value)
{
    char text[16];
    gl.calls += "0x";
    gl.calls.append(text, std::to_chars(text, text + sizeof text, value, 16).ptr);
}

struct Enum
{
    GLenum value;
};

struct BlendFactor
{
    GLenum value;
};

struct Primitive
{
    GLenum value;
};

struct ClearBits
{
    GLbitfield value;
};

template <typename Element>
struct Vector
{
    const Element* elements;
    size_t count;
};

void Append(GLint value)
{
    AppendNumber(value);
}

void Append(GLuint value)
{
    AppendNumber(value);
}

void Append(GLsizeiptr value)
{
    AppendNumber(value);
}

void Append(float value)
{
    AppendNumber(value);
}

void Append(double value)
{
    AppendNumber(value);
}

void Append(Enum value)
{
    if (value.value < kFirstNamedEnum)
    {
        AppendNumber(value.value);
    }
    else if (!AppendName(kNames, value.value))
    {
        AppendHexadecimal(value.value);
    }
}

void Append(BlendFactor value)
{
    if (!AppendName(kBlendFactors, value.value))
    {
        Append(Enum{value.value});
    }
}

void Append(Primitive value)
{
    if (!AppendName(kPrimitives, value.value))
    {
        AppendHexadecimal(value.value);
    }
}

void Append(ClearBits value)
{
    GLbitfield rest = value.value;
    const char* separator = "";
    for (const EnumName& bit : kClearBits)
    {
        if ((rest & bit.value) != 0)
        {
            gl.calls += separator;
            gl.calls += bit.name;
            separator = "|";
            rest &= ~bit.value;
        }
    }
    if (rest != 0 || value.value == 0)
    {
        gl.calls += separator;
        AppendHexadecimal(rest);
    }
}

void Append(const void* pointer)
{
    const char* address = static_cast<const char*>(pointer);
    uintptr_t number = reinterpret_cast<uintptr_t>(pointer);
    if (number < 4096)
    {
        AppendNumber(number);
        return;
    }
    for (size_t i = gl.labels.size(); i > 0; --i)
    {
        const Label& label = gl.labels[i - 1];
        uintptr_t begin = reinterpret_cast<uintptr_t>(label.begin);
        if (number >= begin && number - begin < label.bytes)
        {
            gl.calls += label.name;
            if (address != label.begin)
            {
                gl.calls += '+';
                AppendNumber(number - begin);
            }
            return;
        }
    }
    gl.calls += '?';
}

template <typename Element>
void Append(Vector<Element> vector)
{
    for (size_t i = 0; i < vector.count; ++i)
    {
        if (i > 0)
        {
            gl.calls += ' ';
        }
        Append(vector.elements[i]);
    }
}

/// Counts a call and, unless muted, writes it down.
template <typename... Arguments>
void Record(const char* function, const Arguments&... arguments)
{
    gl.callCount += 1;
    if (gl.muted)
    {
        return;
    }
    gl.calls += function;
    ((gl.calls += ' ', Append(arguments)), ...);
    gl.calls += '\n';
}

/// Writes down what a call read, if that is asked for.
void RecordContents(const char* what, const uint8_t* bytes, size_t size)
{
    if (!gl.contents || gl.muted)
    {
        return;
    }
    gl.calls += bytes == nullptr ? "  no " : "  ";
    gl.calls += what;
    if (bytes != nullptr)
    {
        gl.calls += ' ';
        gl.calls += HashText(HashBytes(bytes, size));
    }
    gl.calls += '\n';
}

void Refuse()
{
    if (gl.muted)
    {
        return;
    }
    gl.refused += 1;
    if (gl.contents)
    {
        gl.calls += "  refused\n";
    }
}

// Matrices.

MatrixStack* CurrentStack()
{
    switch (gl.matrixMode)
    {
    case GL_PROJECTION:
        return &gl.projection;
    case GL_TEXTURE:
        return &gl.texture[gl.unit];
    default:
        return &gl.modelview;
    }
}

Matrix* CurrentMatrix()
{
    MatrixStack* stack = CurrentStack();
    return &stack->levels[stack->top];
}

/// current = current * right.
void MultiplyMatrix(const Matrix& right)
{
    Matrix* current = CurrentMatrix();
    Matrix product;
    for (int column = 0; column < 4; ++column)
    {
        for (int row = 0; row < 4; ++row)
        {
            float sum = 0.0f;
            for (int k = 0; k < 4; ++k)
            {
                sum += current->m[k * 4 + row] * right.m[column * 4 + k];
            }
            product.m[column * 4 + row] = sum;
        }
    }
    *current = product;
}

/// Sine and cosine of an angle in degrees, exact at quarter turns.
void SineAndCosine(float degrees, double* sine, double* cosine)
{
    double turn = std::fmod(static_cast<double>(degrees), 360.0);
    double quarters = turn / 90.0;
    if (quarters == std::floor(quarters))
    {
        static constexpr double kSines[] = {0.0, 1.0, 0.0, -1.0};
        int quarter = (static_cast<int>(quarters) + 4) % 4;
        *sine = kSines[quarter];
        *cosine = kSines[(quarter + 1) % 4];
        return;
    }
    double radians = turn * 3.14159265358979323846 / 180.0;
    *sine = std::sin(radians);
    *cosine = std::cos(radians);
}

// Pixels.

/// Bytes of a pixel of unsigned bytes; 0 for a format that the engine does not use.
size_t PixelSize(GLenum format)
{
    switch (format)
    {
    case GL_LUMINANCE:
    case GL_ALPHA:
        return 1;
    case GL_RGB:
        return 3;
    case GL_RGBA:
        return 4;
    default:
        return 0;
    }
}

GLuint* BufferBinding(GLenum target)
{
    switch (target)
    {
    case GL_ARRAY_BUFFER:
        return &gl.arrayBuffer;
    case GL_ELEMENT_ARRAY_BUFFER:
        return &gl.elementBuffer;
    case GL_PIXEL_UNPACK_BUFFER:
        return &gl.unpackBuffer;
    default:
        return nullptr;
    }
}

/// Where the pixels of an upload lie: in memory, or in the bound unpack buffer.
/// @param readable   false if the call is to be refused
/// @return null where there are no pixels to take
const uint8_t* UploadSource(const void* pixels, size_t bytes, bool* readable)
{
    *readable = true;
    if (gl.unpackBuffer == 0)
    {
        return static_cast<const uint8_t*>(pixels);
    }

    const Buffer& buffer = gl.buffers[gl.unpackBuffer];
    uintptr_t offset = reinterpret_cast<uintptr_t>(pixels);
    if (buffer.mapped || offset > buffer.bytes.size() || bytes > buffer.bytes.size() - offset)
    {
        *readable = false;
        return nullptr;
    }
    return buffer.bytes.data() + offset;
}

/// Takes a rectangle of pixels into an image, as the unpack alignment says.
void CopyRows(GlTextureImage* image, GLint x, GLint y, GLsizei width, GLsizei height,
              const uint8_t* source, size_t sourceStride)
{
    size_t pixel = PixelSize(image->format);
    for (GLsizei row = 0; row < height; ++row)
    {
        size_t target = (static_cast<size_t>(y + row) * static_cast<size_t>(image->width) +
                         static_cast<size_t>(x)) *
                        pixel;
        memcpy(image->bytes.data() + target, source + static_cast<size_t>(row) * sourceStride,
               static_cast<size_t>(width) * pixel);
    }
}

size_t RowStride(GLsizei width, size_t pixel)
{
    size_t alignment = static_cast<size_t>(gl.unpackAlignment);
    return (static_cast<size_t>(width) * pixel + alignment - 1) / alignment * alignment;
}

/// Writes down the pixels of an upload, without the padding of their rows.
/// @param source   null where there are none
void RecordPixels(GLsizei width, GLsizei height, size_t pixel, const uint8_t* source)
{
    if (!gl.contents || source == nullptr)
    {
        RecordContents("pixels", nullptr, 0);
        return;
    }
    size_t row = static_cast<size_t>(width) * pixel;
    std::vector<uint8_t> packed(row * static_cast<size_t>(height) + 1);
    for (size_t y = 0; y < static_cast<size_t>(height); ++y)
    {
        memcpy(packed.data() + y * row, source + y * RowStride(width, pixel), row);
    }
    RecordContents("pixels", packed.data(), packed.size() - 1);
}

/// Bytes that an upload reads: the last row has no padding.
size_t UploadSize(GLsizei width, GLsizei height, size_t pixel)
{
    if (width == 0 || height == 0)
    {
        return 0;
    }
    return RowStride(width, pixel) * static_cast<size_t>(height - 1) +
           static_cast<size_t>(width) * pixel;
}

// Buffers.

void GenerateBuffers(GLsizei n, GLuint* buffers)
{
    for (GLsizei i = 0; i < n; ++i)
    {
        buffers[i] = gl.nextBuffer;
        gl.nextBuffer += 1;
        gl.buffers[buffers[i]] = {};
    }
}

void BindBufferTo(GLenum target, GLuint buffer)
{
    GLuint* binding = BufferBinding(target);
    if (binding == nullptr)
    {
        Refuse();
        return;
    }
    *binding = buffer;
}

/// @return null where none is bound
Buffer* BoundBuffer(GLenum target)
{
    GLuint* binding = BufferBinding(target);
    if (binding == nullptr || *binding == 0)
    {
        return nullptr;
    }
    return &gl.buffers[*binding];
}

void StoreBufferData(GLenum target, GLsizeiptr size, const void* data)
{
    Buffer* buffer = BoundBuffer(target);
    if (buffer == nullptr || size < 0)
    {
        Refuse();
        return;
    }
    size_t bytes = static_cast<size_t>(size);
    RecordContents("bytes", static_cast<const uint8_t*>(data), bytes);
    buffer->size = bytes;
    buffer->mapped = false;
    if (gl.muted)
    {
        buffer->bytes.resize(data == nullptr ? bytes : 0); // for the mapping that is to come
        return;
    }
    // A block of exactly this size: a sanitizer sees writes behind its end.
    std::vector<uint8_t> fresh(bytes, kUnwritten);
    if (data != nullptr && bytes > 0)
    {
        memcpy(fresh.data(), data, bytes);
    }
    buffer->bytes.swap(fresh);
}

// Vertices.

/// @return null for an array that the engine does not use
ClientArray* FindClientArray(GLenum array)
{
    switch (array)
    {
    case GL_VERTEX_ARRAY:
        return &gl.vertices;
    case GL_NORMAL_ARRAY:
        return &gl.normals;
    case GL_TEXTURE_COORD_ARRAY:
        return &gl.texCoords[gl.clientUnit];
    default:
        return nullptr;
    }
}

void EnableClientArray(GLenum name, bool enabled)
{
    ClientArray* array = FindClientArray(name);
    if (array != nullptr)
    {
        array->enabled = enabled;
    }
}

void PointClientArray(GLenum name, GLint floats, GLenum type, GLsizei stride, const void* pointer)
{
    if (type != GL_FLOAT || stride < 0)
    {
        Refuse(); // the stand-in knows no other
        return;
    }
    ClientArray* array = FindClientArray(name);
    array->floats = floats;
    array->stride = stride;
    array->buffer = gl.arrayBuffer;
    array->pointer = pointer;
}

/// Looks for a range of bytes in a buffer or, for buffer 0, in memory.
/// @param pointer   an offset if there is a buffer
/// @param bytes     receives where they lie; null if they are known to be there and nothing more
/// @return false if they are not there
bool FindDrawnBytes(GLuint buffer, const void* pointer, size_t size, const uint8_t** bytes)
{
    if (buffer == 0)
    {
        *bytes = static_cast<const uint8_t*>(pointer);
        return pointer != nullptr;
    }

    auto found = gl.buffers.find(buffer);
    uintptr_t offset = reinterpret_cast<uintptr_t>(pointer);
    if (found == gl.buffers.end() || found->second.mapped || offset > found->second.size ||
        size > found->second.size - offset)
    {
        return false;
    }
    *bytes = found->second.bytes.empty() ? nullptr : found->second.bytes.data() + offset;
    return true;
}

/// Reads the vertices of an array from the first to the `last`.
/// @param name   for the record of contents
/// @return false if they are not there
bool ReadClientArray(const ClientArray& array, uint32_t last, const char* name)
{
    size_t vertex = static_cast<size_t>(array.floats) * sizeof(float);
    size_t step = array.stride == 0 ? vertex : static_cast<size_t>(array.stride);
    size_t size = last * step + vertex;
    const uint8_t* bytes = nullptr;
    if (!FindDrawnBytes(array.buffer, array.pointer, size, &bytes))
    {
        return false;
    }
    for (size_t i = 0; bytes != nullptr && i < size; ++i)
    {
        gl.bytesRead = static_cast<uint8_t>(gl.bytesRead + bytes[i]);
    }
    RecordContents(name, bytes, size);
    return true;
}

/// Reads all that a draw reads.
/// @return false if something of it is not there
bool ReadDrawnArrays(size_t count, const void* indices)
{
    const uint8_t* bytes = nullptr;
    if (!FindDrawnBytes(gl.elementBuffer, indices, count * sizeof(uint32_t), &bytes))
    {
        return false;
    }
    if (bytes == nullptr)
    {
        return true;
    }
    uint32_t last = 0;
    for (size_t i = 0; i < count; ++i)
    {
        uint32_t index;
        memcpy(&index, bytes + i * sizeof index, sizeof index);
        last = index > last ? index : last;
    }
    RecordContents("indices", bytes, count * sizeof(uint32_t));

    bool whole = !gl.vertices.enabled || ReadClientArray(gl.vertices, last, "vertices");
    whole = (!gl.normals.enabled || ReadClientArray(gl.normals, last, "normals")) && whole;
    for (uint32_t unit = 0; unit < kUnits; ++unit)
    {
        static constexpr const char* kNamesOfUnits[kUnits] = {
            "texcoords 0", "texcoords 1", "texcoords 2", "texcoords 3",
            "texcoords 4", "texcoords 5", "texcoords 6", "texcoords 7"};
        const ClientArray& array = gl.texCoords[unit];
        whole = (!array.enabled || ReadClientArray(array, last, kNamesOfUnits[unit])) && whole;
    }
    return whole;
}

} // namespace

// Questions of tests.

std::string TakeGlCalls()
{
    std::string calls;
    calls.swap(gl.calls);
    return calls;
}

void RecordCall(const std::string& line)
{
    if (!gl.muted)
    {
        gl.calls += line + '\n';
    }
}

void ResetGl()
{
    gl = Context();
    __GLEW_ARB_vertex_buffer_object = GL_FALSE;
    __GLEW_ARB_pixel_buffer_object = GL_FALSE;
    __GLEW_ARB_texture_non_power_of_two = GL_FALSE;
    __GLEW_ARB_texture_env_dot3 = GL_FALSE;
    __GLEW_VERSION_2_1 = GL_FALSE;
}

void NameGlPointer(const void* pointer, const char* name, size_t bytes)
{
    gl.labels.push_back({static_cast<const char*>(pointer), bytes, name});
}

void RecordGlContents(bool on)
{
    gl.contents = on;
}

void MuteGl(bool muted)
{
    gl.muted = muted;
}

uint64_t GlCallCount()
{
    return gl.callCount;
}

uint64_t GlRefusedCalls()
{
    return gl.refused;
}

std::vector<uint8_t> GlBufferBytes(uint32_t buffer)
{
    auto found = gl.buffers.find(buffer);
    return found == gl.buffers.end() ? std::vector<uint8_t>() : found->second.bytes;
}

const GlTextureImage* GlTextureLevel(uint32_t texture, int32_t level)
{
    auto found = gl.textures.find(texture);
    if (found == gl.textures.end())
    {
        return nullptr;
    }
    auto image = found->second.find(level);
    return image == found->second.end() ? nullptr : &image->second;
}

size_t GlLiveTextures()
{
    return gl.textures.size() - gl.textures.count(0);
}

size_t GlLiveBuffers()
{
    return gl.buffers.size();
}

const float* GlModelviewMatrix()
{
    return gl.modelview.levels[gl.modelview.top].m;
}

const float* GlProjectionMatrix()
{
    return gl.projection.levels[gl.projection.top].m;
}

const float* GlTextureMatrix(uint32_t unit)
{
    return gl.texture[unit].levels[gl.texture[unit].top].m;
}

size_t GlModelviewDepth()
{
    return gl.modelview.top + 1;
}

void OfferGlExtensions(const GlExtensions& extensions)
{
    gl.offer = extensions;
}

// Calls of programs, in the place of the driver.

void GLAPIENTRY glEnable(GLenum cap)
{
    Record("Enable", Enum{cap});
}

void GLAPIENTRY glDisable(GLenum cap)
{
    Record("Disable", Enum{cap});
}

void GLAPIENTRY glEnableClientState(GLenum array)
{
    Record("EnableClientState", Enum{array});
    EnableClientArray(array, true);
}

void GLAPIENTRY glDisableClientState(GLenum array)
{
    Record("DisableClientState", Enum{array});
    EnableClientArray(array, false);
}

void GLAPIENTRY glPolygonMode(GLenum face, GLenum mode)
{
    Record("PolygonMode", Enum{face}, Enum{mode});
}

void GLAPIENTRY glColor4f(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha)
{
    Record("Color4f", red, green, blue, alpha);
}

void GLAPIENTRY glBlendFunc(GLenum sfactor, GLenum dfactor)
{
    Record("BlendFunc", BlendFactor{sfactor}, BlendFactor{dfactor});
}

void GLAPIENTRY glDepthFunc(GLenum func)
{
    Record("DepthFunc", Enum{func});
}

void GLAPIENTRY glShadeModel(GLenum mode)
{
    Record("ShadeModel", Enum{mode});
}

void GLAPIENTRY glColorMaterial(GLenum face, GLenum mode)
{
    Record("ColorMaterial", Enum{face}, Enum{mode});
}

void GLAPIENTRY glLineWidth(GLfloat width)
{
    Record("LineWidth", width);
}

void GLAPIENTRY glHint(GLenum target, GLenum mode)
{
    Record("Hint", Enum{target}, Enum{mode});
}

void GLAPIENTRY glViewport(GLint x, GLint y, GLsizei width, GLsizei height)
{
    Record("Viewport", x, y, width, height);
}

void GLAPIENTRY glClear(GLbitfield mask)
{
    Record("Clear", ClearBits{mask});
}

void GLAPIENTRY glClearColor(GLclampf red, GLclampf green, GLclampf blue, GLclampf alpha)
{
    Record("ClearColor", red, green, blue, alpha);
}

void GLAPIENTRY glLightfv(GLenum light, GLenum pname, const GLfloat* params)
{
    Record("Lightfv", Enum{light}, Enum{pname}, Vector<GLfloat>{params, 4});
}

void GLAPIENTRY glFogi(GLenum pname, GLint param)
{
    Record("Fogi", Enum{pname}, Enum{static_cast<GLenum>(param)});
}

void GLAPIENTRY glFogf(GLenum pname, GLfloat param)
{
    Record("Fogf", Enum{pname}, param);
}

void GLAPIENTRY glFogfv(GLenum pname, const GLfloat* params)
{
    Record("Fogfv", Enum{pname}, Vector<GLfloat>{params, pname == GL_FOG_COLOR ? 4u : 1u});
}

// Arrays.

void GLAPIENTRY glVertexPointer(GLint size, GLenum type, GLsizei stride, const void* pointer)
{
    Record("VertexPointer", size, Enum{type}, stride, pointer);
    PointClientArray(GL_VERTEX_ARRAY, size, type, stride, pointer);
}

void GLAPIENTRY glNormalPointer(GLenum type, GLsizei stride, const void* pointer)
{
    Record("NormalPointer", Enum{type}, stride, pointer);
    PointClientArray(GL_NORMAL_ARRAY, 3, type, stride, pointer);
}

void GLAPIENTRY glTexCoordPointer(GLint size, GLenum type, GLsizei stride, const void* pointer)
{
    Record("TexCoordPointer", size, Enum{type}, stride, pointer);
    PointClientArray(GL_TEXTURE_COORD_ARRAY, size, type, stride, pointer);
}

void GLAPIENTRY glDrawElements(GLenum mode, GLsizei count, GLenum type, const void* indices)
{
    Record("DrawElements", Primitive{mode}, count, Enum{type}, indices);
    if (gl.muted || count == 0)
    {
        return;
    }
    if (count < 0 || type != GL_UNSIGNED_INT ||
        !ReadDrawnArrays(static_cast<size_t>(count), indices))
    {
        Refuse();
    }
}

// Matrices.

void GLAPIENTRY glMatrixMode(GLenum mode)
{
    Record("MatrixMode", Enum{mode});
    if (mode != GL_MODELVIEW && mode != GL_PROJECTION && mode != GL_TEXTURE)
    {
        Refuse();
        return;
    }
    gl.matrixMode = mode;
}

void GLAPIENTRY glLoadIdentity(void)
{
    Record("LoadIdentity");
    *CurrentMatrix() = kIdentity;
}

void GLAPIENTRY glLoadMatrixf(const GLfloat* m)
{
    Record("LoadMatrixf", Vector<GLfloat>{m, 16});
    memcpy(CurrentMatrix()->m, m, sizeof(Matrix));
}

void GLAPIENTRY glPushMatrix(void)
{
    Record("PushMatrix");
    MatrixStack* stack = CurrentStack();
    if (stack->top + 1 == stack->depth)
    {
        Refuse();
        return;
    }
    stack->levels[stack->top + 1] = stack->levels[stack->top];
    stack->top += 1;
}

void GLAPIENTRY glPopMatrix(void)
{
    Record("PopMatrix");
    MatrixStack* stack = CurrentStack();
    if (stack->top == 0)
    {
        Refuse();
        return;
    }
    stack->top -= 1;
}

void GLAPIENTRY glTranslatef(GLfloat x, GLfloat y, GLfloat z)
{
    Record("Translatef", x, y, z);
    MultiplyMatrix({{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1}});
}

void GLAPIENTRY glRotatef(GLfloat angle, GLfloat x, GLfloat y, GLfloat z)
{
    Record("Rotatef", angle, x, y, z);

    double ax = static_cast<double>(x);
    double ay = static_cast<double>(y);
    double az = static_cast<double>(z);
    double length = std::sqrt(ax * ax + ay * ay + az * az);
    if (length == 0.0)
    {
        return;
    }
    ax /= length;
    ay /= length;
    az /= length;

    double s;
    double c;
    SineAndCosine(angle, &s, &c);
    double n = 1.0 - c;
    Matrix rotation = {{
        static_cast<float>(ax * ax * n + c),
        static_cast<float>(ay * ax * n + az * s),
        static_cast<float>(ax * az * n - ay * s),
        0.0f,
        static_cast<float>(ax * ay * n - az * s),
        static_cast<float>(ay * ay * n + c),
        static_cast<float>(ay * az * n + ax * s),
        0.0f,
        static_cast<float>(ax * az * n + ay * s),
        static_cast<float>(ay * az * n - ax * s),
        static_cast<float>(az * az * n + c),
        0.0f,
        0.0f,
        0.0f,
        0.0f,
        1.0f,
    }};
    MultiplyMatrix(rotation);
}

void GLAPIENTRY glScalef(GLfloat x, GLfloat y, GLfloat z)
{
    Record("Scalef", x, y, z);
    MultiplyMatrix({{x, 0, 0, 0, 0, y, 0, 0, 0, 0, z, 0, 0, 0, 0, 1}});
}

void GLAPIENTRY glOrtho(GLdouble left, GLdouble right, GLdouble bottom, GLdouble top,
                        GLdouble zNear, GLdouble zFar)
{
    Record("Ortho", left, right, bottom, top, zNear, zFar);
    if (left == right || bottom == top || zNear == zFar)
    {
        Refuse();
        return;
    }
    Matrix ortho = kIdentity;
    ortho.m[0] = static_cast<float>(2.0 / (right - left));
    ortho.m[5] = static_cast<float>(2.0 / (top - bottom));
    ortho.m[10] = static_cast<float>(-2.0 / (zFar - zNear));
    ortho.m[12] = static_cast<float>(-(right + left) / (right - left));
    ortho.m[13] = static_cast<float>(-(top + bottom) / (top - bottom));
    ortho.m[14] = static_cast<float>(-(zFar + zNear) / (zFar - zNear));
    MultiplyMatrix(ortho);
}

void GLAPIENTRY glGetFloatv(GLenum pname, GLfloat* params)
{
    Record("GetFloatv", Enum{pname});
    switch (pname)
    {
    case GL_MODELVIEW_MATRIX:
        memcpy(params, GlModelviewMatrix(), sizeof(Matrix));
        break;
    case GL_PROJECTION_MATRIX:
        memcpy(params, GlProjectionMatrix(), sizeof(Matrix));
        break;
    case GL_TEXTURE_MATRIX:
        memcpy(params, GlTextureMatrix(gl.unit), sizeof(Matrix));
        break;
    default:
        Refuse();
        return;
    }
    if (gl.contents && !gl.muted)
    {
        gl.calls += "  values ";
        Append(Vector<GLfloat>{params, 16});
        gl.calls += '\n';
    }
}

// Textures.

void GLAPIENTRY glGenTextures(GLsizei n, GLuint* textures)
{
    for (GLsizei i = 0; i < n; ++i)
    {
        textures[i] = gl.nextTexture;
        gl.nextTexture += 1;
        if (!gl.muted)
        {
            gl.textures[textures[i]] = {};
        }
    }
    Record("GenTextures", n, Vector<GLuint>{textures, static_cast<size_t>(n)});
}

void GLAPIENTRY glDeleteTextures(GLsizei n, const GLuint* textures)
{
    Record("DeleteTextures", n, Vector<GLuint>{textures, static_cast<size_t>(n)});
    for (GLsizei i = 0; i < n; ++i)
    {
        if (textures[i] == 0)
        {
            continue;
        }
        gl.textures.erase(textures[i]);
        for (GLuint& bound : gl.boundTexture)
        {
            bound = bound == textures[i] ? 0 : bound;
        }
    }
}

void GLAPIENTRY glBindTexture(GLenum target, GLuint texture)
{
    Record("BindTexture", Enum{target}, texture);
    gl.boundTexture[gl.unit] = texture;
}

void GLAPIENTRY glTexParameteri(GLenum target, GLenum pname, GLint param)
{
    Record("TexParameteri", Enum{target}, Enum{pname}, Enum{static_cast<GLenum>(param)});
}

void GLAPIENTRY glTexParameterf(GLenum target, GLenum pname, GLfloat param)
{
    Record("TexParameterf", Enum{target}, Enum{pname}, Enum{static_cast<GLenum>(param)});
}

void GLAPIENTRY glTexEnvi(GLenum target, GLenum pname, GLint param)
{
    Record("TexEnvi", Enum{target}, Enum{pname}, Enum{static_cast<GLenum>(param)});
}

void GLAPIENTRY glTexGeni(GLenum coord, GLenum pname, GLint param)
{
    Record("TexGeni", Enum{coord}, Enum{pname}, Enum{static_cast<GLenum>(param)});
}

void GLAPIENTRY glPixelStorei(GLenum pname, GLint param)
{
    Record("PixelStorei", Enum{pname}, param);
    if (pname != GL_UNPACK_ALIGNMENT || (param != 1 && param != 2 && param != 4 && param != 8))
    {
        Refuse();
        return;
    }
    gl.unpackAlignment = param;
}

void GLAPIENTRY glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width,
                             GLsizei height, GLint border, GLenum format, GLenum type,
                             const void* pixels)
{
    Record("TexImage2D", Enum{target}, level, Enum{static_cast<GLenum>(internalFormat)}, width,
           height, border, Enum{format}, Enum{type}, pixels);
    if (gl.muted)
    {
        return;
    }

    size_t pixel = PixelSize(format);
    if (target != GL_TEXTURE_2D || level < 0 || width < 0 || height < 0 || border != 0 ||
        pixel == 0 || type != GL_UNSIGNED_BYTE)
    {
        Refuse();
        return;
    }
    bool readable;
    const uint8_t* source = UploadSource(pixels, UploadSize(width, height, pixel), &readable);
    if (!readable)
    {
        Refuse();
        return;
    }

    GlTextureImage* image = &gl.textures[gl.boundTexture[gl.unit]][level];
    *image = {internalFormat, width, height, format, {}};
    image->bytes.assign(static_cast<size_t>(width) * static_cast<size_t>(height) * pixel,
                        kUnwritten);
    RecordPixels(width, height, pixel, source);
    if (source != nullptr)
    {
        CopyRows(image, 0, 0, width, height, source, RowStride(width, pixel));
    }
}

void GLAPIENTRY glTexSubImage2D(GLenum target, GLint level, GLint xoffset, GLint yoffset,
                                GLsizei width, GLsizei height, GLenum format, GLenum type,
                                const void* pixels)
{
    Record("TexSubImage2D", Enum{target}, level, xoffset, yoffset, width, height, Enum{format},
           Enum{type}, pixels);
    if (gl.muted)
    {
        return;
    }

    auto texture = gl.textures.find(gl.boundTexture[gl.unit]);
    if (target != GL_TEXTURE_2D || texture == gl.textures.end() ||
        texture->second.count(level) == 0 || type != GL_UNSIGNED_BYTE)
    {
        Refuse();
        return;
    }
    // The stand-in does not convert: an update must have the format of its image.
    GlTextureImage* image = &texture->second[level];
    if (format != image->format || xoffset < 0 || yoffset < 0 || width < 0 || height < 0 ||
        xoffset > image->width - width || yoffset > image->height - height)
    {
        Refuse();
        return;
    }
    size_t pixel = PixelSize(format);
    bool readable;
    const uint8_t* source = UploadSource(pixels, UploadSize(width, height, pixel), &readable);
    if (!readable || source == nullptr)
    {
        Refuse();
        return;
    }
    RecordPixels(width, height, pixel, source);
    CopyRows(image, xoffset, yoffset, width, height, source, RowStride(width, pixel));
}

void GLAPIENTRY glCopyTexSubImage2D(GLenum target, GLint level, GLint xoffset, GLint yoffset,
                                    GLint x, GLint y, GLsizei width, GLsizei height)
{
    Record("CopyTexSubImage2D", Enum{target}, level, xoffset, yoffset, x, y, width, height);
}

// Entry points that GLEW looks up in the driver.

static void GLAPIENTRY ActiveTextureARB(GLenum texture)
{
    Record("ActiveTextureARB", Enum{texture});
    if (texture < GL_TEXTURE0 || texture >= GL_TEXTURE0 + kUnits)
    {
        Refuse();
        return;
    }
    gl.unit = texture - GL_TEXTURE0;
}

static void GLAPIENTRY ClientActiveTextureARB(GLenum texture)
{
    Record("ClientActiveTextureARB", Enum{texture});
    if (texture < GL_TEXTURE0 || texture >= GL_TEXTURE0 + kUnits)
    {
        Refuse();
        return;
    }
    gl.clientUnit = texture - GL_TEXTURE0;
}

static void GLAPIENTRY GenBuffers(GLsizei n, GLuint* buffers)
{
    GenerateBuffers(n, buffers);
    Record("GenBuffers", n, Vector<GLuint>{buffers, static_cast<size_t>(n)});
}

static void GLAPIENTRY GenBuffersARB(GLsizei n, GLuint* buffers)
{
    GenerateBuffers(n, buffers);
    Record("GenBuffersARB", n, Vector<GLuint>{buffers, static_cast<size_t>(n)});
}

static void GLAPIENTRY BindBuffer(GLenum target, GLuint buffer)
{
    Record("BindBuffer", Enum{target}, buffer);
    BindBufferTo(target, buffer);
}

static void GLAPIENTRY BindBufferARB(GLenum target, GLuint buffer)
{
    Record("BindBufferARB", Enum{target}, buffer);
    BindBufferTo(target, buffer);
}

static void GLAPIENTRY BufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage)
{
    Record("BufferData", Enum{target}, size, data, Enum{usage});
    StoreBufferData(target, size, data);
}

static void GLAPIENTRY BufferDataARB(GLenum target, GLsizeiptrARB size, const void* data,
                                     GLenum usage)
{
    Record("BufferDataARB", Enum{target}, static_cast<GLsizeiptr>(size), data, Enum{usage});
    StoreBufferData(target, size, data);
}

static void* GLAPIENTRY MapBuffer(GLenum target, GLenum access)
{
    Record("MapBuffer", Enum{target}, Enum{access});
    Buffer* buffer = BoundBuffer(target);
    if (buffer == nullptr || buffer->mapped || buffer->bytes.empty())
    {
        Refuse();
        return nullptr;
    }
    buffer->mapped = true;
    return buffer->bytes.data();
}

static GLboolean GLAPIENTRY UnmapBuffer(GLenum target)
{
    Record("UnmapBuffer", Enum{target});
    Buffer* buffer = BoundBuffer(target);
    if (buffer == nullptr || !buffer->mapped)
    {
        Refuse();
        return GL_FALSE;
    }
    buffer->mapped = false;
    return GL_TRUE;
}

static void GLAPIENTRY DeleteBuffersARB(GLsizei n, const GLuint* buffers)
{
    Record("DeleteBuffersARB", n, Vector<GLuint>{buffers, static_cast<size_t>(n)});
    for (GLsizei i = 0; i < n; ++i)
    {
        gl.buffers.erase(buffers[i]);
        for (GLuint* binding : {&gl.arrayBuffer, &gl.elementBuffer, &gl.unpackBuffer})
        {
            *binding = *binding == buffers[i] ? 0 : *binding;
        }
    }
}

PFNGLACTIVETEXTUREARBPROC __glewActiveTextureARB = ActiveTextureARB;
PFNGLCLIENTACTIVETEXTUREARBPROC __glewClientActiveTextureARB = ClientActiveTextureARB;
PFNGLGENBUFFERSPROC __glewGenBuffers = GenBuffers;
PFNGLBINDBUFFERPROC __glewBindBuffer = BindBuffer;
PFNGLBUFFERDATAPROC __glewBufferData = BufferData;
PFNGLMAPBUFFERPROC __glewMapBuffer = MapBuffer;
PFNGLUNMAPBUFFERPROC __glewUnmapBuffer = UnmapBuffer;
PFNGLGENBUFFERSARBPROC __glewGenBuffersARB = GenBuffersARB;
PFNGLBINDBUFFERARBPROC __glewBindBufferARB = BindBufferARB;
PFNGLBUFFERDATAARBPROC __glewBufferDataARB = BufferDataARB;
PFNGLDELETEBUFFERSARBPROC __glewDeleteBuffersARB = DeleteBuffersARB;

GLboolean __GLEW_ARB_vertex_buffer_object = GL_FALSE;
GLboolean __GLEW_ARB_pixel_buffer_object = GL_FALSE;
GLboolean __GLEW_ARB_texture_non_power_of_two = GL_FALSE;
GLboolean __GLEW_ARB_texture_env_dot3 = GL_FALSE;
GLboolean __GLEW_VERSION_2_1 = GL_FALSE;

static GLboolean Flag(bool set)
{
    return set ? GL_TRUE : GL_FALSE;
}

GLenum GLEWAPIENTRY glewInit(void)
{
    if (gl.offer.initFails)
    {
        Record("glewInit fails");
        return GLEW_ERROR_NO_GL_VERSION;
    }
    Record("glewInit");
    __GLEW_ARB_vertex_buffer_object = Flag(gl.offer.vertexBufferObject);
    __GLEW_ARB_pixel_buffer_object = Flag(gl.offer.pixelBufferObject);
    __GLEW_ARB_texture_non_power_of_two = Flag(gl.offer.textureNonPowerOfTwo);
    __GLEW_ARB_texture_env_dot3 = Flag(gl.offer.textureEnvDot3);
    __GLEW_VERSION_2_1 = Flag(gl.offer.version21);
    return GLEW_OK;
}

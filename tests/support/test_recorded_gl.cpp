// SPDX-License-Identifier: MIT
#include "support/recorded_gl.h"

#include <GL/glew.h>
#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <sys/mman.h>
#include <unistd.h>

#include "support/content_hash.h"
#include "support/gl_state.h"

class RecordedGl : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
    }

    void TearDown() override
    {
        ResetGl();
    }
};

TEST_F(RecordedGl, ACallIsALineOfItsNameAndArguments)
{
    glEnable(GL_DEPTH_TEST);
    glBlendFunc(GL_ONE, GL_ZERO);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDepthFunc(GL_LEQUAL);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    EXPECT_EQ(TakeGlCalls(), "Enable DEPTH_TEST\n"
                             "BlendFunc ONE ZERO\n"
                             "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n"
                             "DepthFunc LEQUAL\n"
                             "PixelStorei UNPACK_ALIGNMENT 1\n");
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(GlCallCount(), 5u);
}

TEST_F(RecordedGl, EnumsAreNamedByTheArgumentsMeaning)
{
    glDrawElements(GL_TRIANGLES, 4, GL_UNSIGNED_INT, nullptr); // 4 is GL_TRIANGLES too
    glDrawElements(GL_LINES, 1, GL_UNSIGNED_INT, nullptr);     // and 1 is GL_LINES and GL_ONE
    glEnable(GL_LIGHT0);                                       // the bit of the colour buffer
    glClear(GL_COLOR_BUFFER_BIT);
    glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glEnable(0x1234);
    EXPECT_EQ(TakeGlCalls(), "DrawElements TRIANGLES 4 UNSIGNED_INT 0\n"
                             "DrawElements LINES 1 UNSIGNED_INT 0\n"
                             "Enable LIGHT0\n"
                             "Clear COLOR_BUFFER_BIT\n"
                             "Clear COLOR_BUFFER_BIT|DEPTH_BUFFER_BIT\n"
                             "TexParameterf TEXTURE_2D TEXTURE_WRAP_S CLAMP_TO_EDGE\n"
                             "Enable 0x1234\n");
}

TEST_F(RecordedGl, FloatsAreTheShortestTextOfTheirBits)
{
    glColor4f(1.0f, 0.1f, -0.0f, 16777217.0f);
    glColor4f(1e-5f, 1.0f / 3.0f, std::numeric_limits<float>::infinity(), 100000.0f);
    glOrtho(0.0, 1.0, 1.0, 0.1, -1.0, 1.0);
    EXPECT_EQ(TakeGlCalls(), "Color4f 1 0.1 -0 16777216\n"
                             "Color4f 1e-05 0.33333334 inf 1e+05\n"
                             "Ortho 0 1 1 0.1 -1 1\n");
}

TEST_F(RecordedGl, VectorsAreTheirElements)
{
    const float direction[4] = {0.0f, 0.5f, 1.0f, 0.0f};
    glLightfv(GL_LIGHT1, GL_POSITION, direction);
    glFogfv(GL_FOG_COLOR, direction);
    const float matrix[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    glLoadMatrixf(matrix);
    EXPECT_EQ(TakeGlCalls(), "Lightfv LIGHT1 POSITION 0 0.5 1 0\n"
                             "Fogfv FOG_COLOR 0 0.5 1 0\n"
                             "LoadMatrixf 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n");
}

TEST_F(RecordedGl, PointersHaveTheLabelsThatTestsGiveThem)
{
    float block[8] = {};
    float other = 0.0f;
    NameGlPointer(block, "vertices", sizeof block);
    glVertexPointer(3, GL_FLOAT, 0, block);
    glVertexPointer(3, GL_FLOAT, 0, block + 3);
    glNormalPointer(GL_FLOAT, 0, &other);
    glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
    glTexCoordPointer(2, GL_FLOAT, 0, std::bit_cast<const void*>(uintptr_t{48}));
    NameGlPointer(block + 3, "tail"); // of one byte: the later label wins there and only there
    glVertexPointer(3, GL_FLOAT, 0, block + 3);
    glVertexPointer(3, GL_FLOAT, 0, block + 4);
    EXPECT_EQ(TakeGlCalls(), "VertexPointer 3 FLOAT 0 vertices\n"
                             "VertexPointer 3 FLOAT 0 vertices+12\n"
                             "NormalPointer FLOAT 0 ?\n"
                             "TexCoordPointer 2 FLOAT 0 0\n"
                             "TexCoordPointer 2 FLOAT 0 48\n"
                             "VertexPointer 3 FLOAT 0 tail\n"
                             "VertexPointer 3 FLOAT 0 vertices+16\n");
}

TEST_F(RecordedGl, NamesCountFrom1PerKind)
{
    GLuint textures[2];
    GLuint buffers[3];
    glGenTextures(2, textures);
    glGenBuffers(1, buffers);
    glGenBuffersARB(2, buffers + 1);
    EXPECT_EQ(TakeGlCalls(), "GenTextures 2 1 2\n"
                             "GenBuffers 1 1\n"
                             "GenBuffersARB 2 2 3\n");
    EXPECT_EQ(GlLiveTextures(), 2u);
    EXPECT_EQ(GlLiveBuffers(), 3u);

    glDeleteTextures(1, textures + 1);
    glDeleteBuffersARB(2, buffers);
    EXPECT_EQ(TakeGlCalls(), "DeleteTextures 1 2\n"
                             "DeleteBuffersARB 2 1 2\n");
    EXPECT_EQ(GlLiveTextures(), 1u);
    EXPECT_EQ(GlLiveBuffers(), 1u);

    glGenTextures(1, textures + 1);
    EXPECT_EQ(textures[1], 3u); // a name is never handed out again
}

TEST_F(RecordedGl, BuffersKeepWhatTheyAreGiven)
{
    GLuint buffer;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    const uint8_t bytes[3] = {1, 2, 3};
    glBufferData(GL_ARRAY_BUFFER, 3, bytes, GL_STATIC_DRAW);
    EXPECT_EQ(GlBufferBytes(buffer), (std::vector<uint8_t>{1, 2, 3}));

    glBufferDataARB(GL_ARRAY_BUFFER, 2, nullptr, GL_STREAM_DRAW);
    EXPECT_EQ(GlBufferBytes(buffer), (std::vector<uint8_t>{0xCD, 0xCD}));
    uint8_t* mapped = static_cast<uint8_t*>(glMapBuffer(GL_ARRAY_BUFFER, GL_WRITE_ONLY));
    ASSERT_NE(mapped, nullptr);
    mapped[1] = 9;
    EXPECT_EQ(glUnmapBuffer(GL_ARRAY_BUFFER), GL_TRUE);
    EXPECT_EQ(GlBufferBytes(buffer), (std::vector<uint8_t>{0xCD, 9}));
    EXPECT_EQ(TakeGlCalls(), "GenBuffers 1 1\n"
                             "BindBuffer ARRAY_BUFFER 1\n"
                             "BufferData ARRAY_BUFFER 3 ? STATIC_DRAW\n"
                             "BufferDataARB ARRAY_BUFFER 2 0 STREAM_DRAW\n"
                             "MapBuffer ARRAY_BUFFER WRITE_ONLY\n"
                             "UnmapBuffer ARRAY_BUFFER\n");
    EXPECT_EQ(GlRefusedCalls(), 0u);

    glDeleteBuffersARB(1, &buffer);
    EXPECT_TRUE(GlBufferBytes(buffer).empty());
}

TEST_F(RecordedGl, MappingNeedsAStoreThatIsNotMapped)
{
    GLuint buffer;
    glGenBuffers(1, &buffer);
    EXPECT_EQ(glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY), nullptr); // none bound
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer);
    EXPECT_EQ(glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY), nullptr); // no store
    glBufferData(GL_PIXEL_UNPACK_BUFFER, 8, nullptr, GL_STREAM_DRAW);
    EXPECT_EQ(glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER), GL_FALSE);
    EXPECT_NE(glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY), nullptr);
    EXPECT_EQ(glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY), nullptr);
    EXPECT_EQ(GlRefusedCalls(), 4u);
}

TEST_F(RecordedGl, TexturesKeepTheirLevels)
{
    GLuint texture;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    EXPECT_EQ(GlTextureLevel(texture, 0), nullptr);

    const uint8_t pixels[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    glTexImage2D(GL_TEXTURE_2D, 0, 3, 4, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, pixels);
    glTexImage2D(GL_TEXTURE_2D, 1, GL_RGBA, 1, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    const GlTextureImage* level = GlTextureLevel(texture, 0);
    ASSERT_NE(level, nullptr);
    EXPECT_EQ(level->internalFormat, 3);
    EXPECT_EQ(level->width, 4);
    EXPECT_EQ(level->height, 1);
    EXPECT_EQ(level->format, GLenum{GL_RGB});
    EXPECT_EQ(level->bytes, std::vector<uint8_t>(pixels, pixels + 12));
    EXPECT_EQ(GlTextureLevel(texture, 1)->bytes, std::vector<uint8_t>(8, 0xCD));
    EXPECT_EQ(GlTextureLevel(texture, 2), nullptr);

    TakeGlCalls();
    NameGlPointer(pixels, "pixels", sizeof pixels);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 1, 0, 2, 1, GL_RGB, GL_UNSIGNED_BYTE, pixels + 6);
    glTexImage2D(GL_TEXTURE_2D, 2, 1, 0, 0, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, nullptr);
    EXPECT_EQ(TakeGlCalls(), "TexSubImage2D TEXTURE_2D 0 1 0 2 1 RGB UNSIGNED_BYTE pixels+6\n"
                             "TexImage2D TEXTURE_2D 2 1 0 0 0 LUMINANCE UNSIGNED_BYTE 0\n");
    EXPECT_EQ(GlTextureLevel(texture, 0)->bytes,
              (std::vector<uint8_t>{1, 2, 3, 7, 8, 9, 10, 11, 12, 10, 11, 12}));
    EXPECT_EQ(GlRefusedCalls(), 0u);

    glDeleteTextures(1, &texture);
    EXPECT_EQ(GlTextureLevel(texture, 0), nullptr);
}

TEST_F(RecordedGl, RowsArePaddedToTheUnpackAlignment)
{
    // Two rows of two pixels of 3 bytes: 6 bytes and 2 of padding, none behind the last.
    const uint8_t padded[14] = {1, 2, 3, 4, 5, 6, 0xEE, 0xEE, 7, 8, 9, 10, 11, 12};
    const std::vector<uint8_t> expected = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    glTexImage2D(GL_TEXTURE_2D, 0, 3, 2, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, padded);
    EXPECT_EQ(GlTextureLevel(0, 0)->bytes, expected);

    glPixelStorei(GL_UNPACK_ALIGNMENT, 3); // refused
    EXPECT_EQ(GlRefusedCalls(), 1u);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, 2, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, padded);
    EXPECT_EQ(GlTextureLevel(0, 0)->bytes, expected);

    glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, 2, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, expected.data());
    EXPECT_EQ(GlTextureLevel(0, 0)->bytes, expected);
}

TEST_F(RecordedGl, UploadsComeOutOfTheUnpackBufferWhileOneIsBound)
{
    GLuint buffer;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer);
    const uint8_t bytes[5] = {1, 2, 3, 4, 5};
    glBufferData(GL_PIXEL_UNPACK_BUFFER, 5, bytes, GL_STREAM_DRAW);
    glTexImage2D(GL_TEXTURE_2D, 0, 1, 4, 1, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, nullptr);
    EXPECT_EQ(GlTextureLevel(0, 0)->bytes, (std::vector<uint8_t>{1, 2, 3, 4}));
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 4, 1, GL_LUMINANCE, GL_UNSIGNED_BYTE,
                    std::bit_cast<const void*>(uintptr_t{1}));
    EXPECT_EQ(GlTextureLevel(0, 0)->bytes, (std::vector<uint8_t>{2, 3, 4, 5}));

    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 4, 1, GL_LUMINANCE, GL_UNSIGNED_BYTE,
                    std::bit_cast<const void*>(uintptr_t{2})); // one byte too few
    EXPECT_EQ(GlRefusedCalls(), 1u);
    glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 4, 1, GL_LUMINANCE, GL_UNSIGNED_BYTE, nullptr);
    EXPECT_EQ(GlRefusedCalls(), 2u);
    EXPECT_EQ(GlTextureLevel(0, 0)->bytes, (std::vector<uint8_t>{2, 3, 4, 5}));
}

TEST_F(RecordedGl, EachUnitHasItsTextureAndItsMatrix)
{
    GLuint textures[2];
    glGenTextures(2, textures);
    const uint8_t pixel = 7;
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glBindTexture(GL_TEXTURE_2D, textures[0]);
    glActiveTextureARB(GL_TEXTURE1);
    glBindTexture(GL_TEXTURE_2D, textures[1]);
    glTexImage2D(GL_TEXTURE_2D, 0, 1, 1, 1, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, &pixel);
    EXPECT_EQ(GlTextureLevel(textures[0], 0), nullptr);
    EXPECT_EQ(GlTextureLevel(textures[1], 0)->bytes, std::vector<uint8_t>{7});

    glMatrixMode(GL_TEXTURE);
    glScalef(2.0f, 1.0f, 1.0f);
    EXPECT_EQ(GlTextureMatrix(0)[0], 1.0f);
    EXPECT_EQ(GlTextureMatrix(1)[0], 2.0f);
    EXPECT_EQ(GlModelviewMatrix()[0], 1.0f);
}

static void ExpectMatrix(const float* matrix, const float (&expected)[16])
{
    for (int i = 0; i < 16; ++i)
    {
        EXPECT_EQ(matrix[i], expected[i]) << i;
    }
}

TEST_F(RecordedGl, MatricesMultiplyFromTheRight)
{
    glTranslatef(1.0f, 2.0f, 3.0f);
    ExpectMatrix(GlModelviewMatrix(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1});
    glPushMatrix();
    glRotatef(90.0f, 0.0f, 0.0f, 1.0f); // x to y
    ExpectMatrix(GlModelviewMatrix(), {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1});
    glScalef(2.0f, 4.0f, 8.0f);
    ExpectMatrix(GlModelviewMatrix(), {0, 2, 0, 0, -4, 0, 0, 0, 0, 0, 8, 0, 1, 2, 3, 1});
    glTranslatef(1.0f, 0.0f, 0.0f);
    float read[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, read);
    ExpectMatrix(read, {0, 2, 0, 0, -4, 0, 0, 0, 0, 0, 8, 0, 1, 4, 3, 1});
    EXPECT_EQ(GlModelviewDepth(), 2u);
    glPopMatrix();
    ExpectMatrix(GlModelviewMatrix(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1});
    glLoadIdentity();
    glRotatef(-90.0f, 1.0f, 0.0f, 0.0f); // z to y
    ExpectMatrix(GlModelviewMatrix(), {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1});
    glLoadIdentity();
    glRotatef(450.0f, 0.0f, 3.0f, 0.0f); // z to x
    ExpectMatrix(GlModelviewMatrix(), {0, 0, -1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1});

    glMatrixMode(GL_PROJECTION);
    glOrtho(0.0, 1.0, 1.0, 0.0, -1.0, 1.0);
    ExpectMatrix(GlProjectionMatrix(), {2, 0, 0, 0, 0, -2, 0, 0, 0, 0, -1, 0, -1, 1, 0, 1});
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(RecordedGl, StacksHaveABottomAndATop)
{
    glPopMatrix();
    EXPECT_EQ(GlRefusedCalls(), 1u);
    for (int i = 0; i < 31; ++i)
    {
        glPushMatrix();
    }
    EXPECT_EQ(GlRefusedCalls(), 1u);
    glPushMatrix();
    EXPECT_EQ(GlRefusedCalls(), 2u);
    EXPECT_EQ(GlModelviewDepth(), 32u);
}

/// A new buffer of so many bytes, bound to a target.
static GLuint AddBuffer(GLenum target, size_t size, const void* bytes)
{
    GLuint buffer;
    glGenBuffers(1, &buffer);
    glBindBuffer(target, buffer);
    glBufferData(target, static_cast<GLsizeiptr>(size), bytes, GL_STATIC_DRAW);
    return buffer;
}

/// Whether OpenGL would take a draw of so many indices from the bound element buffer.
static bool Draws(GLsizei count, uintptr_t offset = 0)
{
    const uint64_t before = GlRefusedCalls();
    glDrawElements(GL_TRIANGLES, count, GL_UNSIGNED_INT, std::bit_cast<const void*>(offset));
    return GlRefusedCalls() == before;
}

static const float kTwelveFloats[12] = {};

TEST_F(RecordedGl, ADrawReadsBuffersUpToTheHighestIndexAndNotFurther)
{
    const uint32_t indices[6] = {0, 1, 2, 0, 1, 3};
    AddBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof indices, indices);
    AddBuffer(GL_ARRAY_BUFFER, 9 * sizeof(float), kTwelveFloats); // three vertices
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    EXPECT_TRUE(Draws(6)); // the array is off
    glEnableClientState(GL_VERTEX_ARRAY);
    EXPECT_TRUE(Draws(3));
    EXPECT_FALSE(Draws(6)); // vertex 3 of three
    EXPECT_FALSE(Draws(3, 12));
    EXPECT_FALSE(Draws(7)); // indices that there are none of
    EXPECT_FALSE(Draws(3, 24));
    EXPECT_TRUE(Draws(0, 24));

    const GLuint normals = AddBuffer(GL_ARRAY_BUFFER, 12 * sizeof(float), kTwelveFloats);
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    EXPECT_TRUE(Draws(6));
    glEnableClientState(GL_NORMAL_ARRAY);
    EXPECT_FALSE(Draws(3)); // on, but pointing nowhere
    glNormalPointer(GL_FLOAT, 0, nullptr);
    EXPECT_TRUE(Draws(6));
    glDeleteBuffersARB(1, &normals);
    EXPECT_FALSE(Draws(3));
    EXPECT_EQ(GlRefusedCalls(), 6u);
}

TEST_F(RecordedGl, EachClientUnitHasItsCoordinates)
{
    const uint32_t indices[3] = {0, 1, 5};
    AddBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof indices, indices);
    AddBuffer(GL_ARRAY_BUFFER, 12 * sizeof(float), kTwelveFloats); // six vertices
    glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glClientActiveTextureARB(GL_TEXTURE1);
    glTexCoordPointer(2, GL_FLOAT, 4, nullptr);
    EXPECT_TRUE(Draws(3));
    AddBuffer(GL_ARRAY_BUFFER, 11 * sizeof(float), kTwelveFloats);
    glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
    EXPECT_TRUE(Draws(3)); // unit 1 is off
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    EXPECT_FALSE(Draws(3));
    glTexCoordPointer(2, GL_FLOAT, 4, nullptr); // from one float to the next
    EXPECT_TRUE(Draws(3));
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glClientActiveTextureARB(GL_TEXTURE0);
    glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
    EXPECT_FALSE(Draws(3));
}

TEST_F(RecordedGl, OfBuffersThatWereFilledWhileMutedTheSizeCounts)
{
    const uint32_t indices[3] = {0, 1, 2};
    MuteGl(true);
    AddBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof indices, indices);
    MuteGl(false);
    EXPECT_TRUE(Draws(3));
    EXPECT_FALSE(Draws(4));

    AddBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof indices, indices);
    MuteGl(true);
    AddBuffer(GL_ARRAY_BUFFER, 9 * sizeof(float), kTwelveFloats);
    MuteGl(false);
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    EXPECT_TRUE(Draws(3));
    glVertexPointer(3, GL_FLOAT, 0, std::bit_cast<const void*>(uintptr_t{12}));
    EXPECT_FALSE(Draws(3));
}

TEST_F(RecordedGl, ADrawReadsMemoryUpToTheHighestIndexAndNotFurther)
{
    // A page, and behind it one that nobody may read.
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    uint8_t* memory = static_cast<uint8_t*>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(memory, MAP_FAILED);
    ASSERT_EQ(mprotect(memory + page, page, PROT_NONE), 0);
    const uint8_t* end = memory + page;

    const uint32_t indices[3] = {0, 1, 2};
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, end - 36);
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices);
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, end - 12); // zeros
    EXPECT_EQ(GlRefusedCalls(), 0u);
    EXPECT_DEATH(glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, end - 8), "");
    glVertexPointer(3, GL_FLOAT, 0, end - 32);
    EXPECT_DEATH(glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices), "");
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices);
    EXPECT_EQ(GlRefusedCalls(), 1u);
    munmap(memory, 2 * page);
}

TEST_F(RecordedGl, MutedItOnlyCounts)
{
    MuteGl(true);
    GLuint name;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, 512, 512, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
    glTranslatef(1.0f, 0.0f, 0.0f);
    EXPECT_EQ(name, 1u);
    EXPECT_EQ(GlTextureLevel(name, 0), nullptr);
    EXPECT_EQ(GlModelviewMatrix()[12], 1.0f);

    glGenBuffers(1, &name);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, name);
    glBufferData(GL_PIXEL_UNPACK_BUFFER, 100, nullptr, GL_STREAM_DRAW);
    void* mapped = glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY);
    ASSERT_NE(mapped, nullptr);
    memset(mapped, 1, 100);
    glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);

    EXPECT_EQ(GlCallCount(), 9u);
    EXPECT_EQ(TakeGlCalls(), "");
    MuteGl(false);
    glLoadIdentity();
    EXPECT_EQ(TakeGlCalls(), "LoadIdentity\n");
}

TEST_F(RecordedGl, FlagsStandWhenGlewWasInitialised)
{
    OfferGlExtensions({true, false, true, false, true});
    EXPECT_FALSE(GLEW_ARB_vertex_buffer_object);
    EXPECT_EQ(glewInit(), GLenum{GLEW_OK});
    EXPECT_EQ(TakeGlCalls(), "glewInit\n");
    EXPECT_TRUE(GLEW_ARB_vertex_buffer_object);
    EXPECT_FALSE(GLEW_ARB_pixel_buffer_object);
    EXPECT_TRUE(GLEW_ARB_texture_non_power_of_two);
    EXPECT_FALSE(GLEW_ARB_texture_env_dot3);
    EXPECT_TRUE(GLEW_VERSION_2_1);
    ResetGl();
    EXPECT_FALSE(GLEW_ARB_vertex_buffer_object);
}

TEST_F(RecordedGl, AResetForgetsEverything)
{
    GLuint name;
    glGenTextures(1, &name);
    glTranslatef(1.0f, 0.0f, 0.0f);
    glPushMatrix();
    NameGlPointer(&name, "name");
    ResetGl();
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(GlCallCount(), 0u);
    EXPECT_EQ(GlModelviewDepth(), 1u);
    EXPECT_EQ(GlModelviewMatrix()[12], 0.0f);
    glGenTextures(1, &name);
    EXPECT_EQ(name, 1u);
    glVertexPointer(3, GL_FLOAT, 0, &name);
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\nVertexPointer 3 FLOAT 0 ?\n");
}

TEST_F(RecordedGl, ContentsStandBehindTheCallThatReadThem)
{
    RecordGlContents(true);
    const uint8_t pixels[] = {1, 2, 3, 0xEE, 4, 5, 6}; // rows of one pixel, padded to 4 bytes
    glTexImage2D(GL_TEXTURE_2D, 0, 3, 1, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, pixels);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, 1, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
    const float vertices[] = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f};
    const uint32_t indices[] = {0, 0, 0};
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, vertices);
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices);
    glPopMatrix();

    const uint8_t packed[] = {1, 2, 3, 4, 5, 6};
    std::string expected = "TexImage2D TEXTURE_2D 0 3 1 2 0 RGB UNSIGNED_BYTE ?\n  pixels ";
    expected += HashText(HashBytes(packed, sizeof(packed)));
    expected += "\nTexImage2D TEXTURE_2D 0 3 1 2 0 RGB UNSIGNED_BYTE 0\n  no pixels\n"
                "EnableClientState VERTEX_ARRAY\nVertexPointer 3 FLOAT 0 ?\n"
                "DrawElements TRIANGLES 3 UNSIGNED_INT ?\n  indices ";
    expected += HashText(HashBytes(indices, sizeof(indices)));
    expected += "\n  vertices " + HashText(HashBytes(vertices, 12)); // the first alone is drawn
    expected += "\nPopMatrix\n  refused\n";
    EXPECT_EQ(TakeGlCalls(), expected);
}

TEST(GlStateTest, StateFollowsTheSelectedUnits)
{
    GlState state;
    ApplyGlCalls("Enable TEXTURE_2D\n"
                 "Enable BLEND\n"
                 "ActiveTextureARB TEXTURE1\n"
                 "Disable TEXTURE_2D\n"
                 "EnableClientState TEXTURE_COORD_ARRAY\n" // the client's unit is still 0
                 "TexEnvi TEXTURE_ENV COMBINE_RGB MODULATE\n"
                 "ClientActiveTextureARB TEXTURE1\n"
                 "TexCoordPointer 2 FLOAT 0 second\n",
                 &state);
    EXPECT_EQ(GlValue(state, "unit"), "1");
    EXPECT_EQ(GlValue(state, "client unit"), "1");
    EXPECT_EQ(GlValue(state, "BLEND"), "on");
    EXPECT_EQ(GlValue(state, "unit0 TEXTURE_2D"), "on");
    EXPECT_EQ(GlValue(state, "unit1 TEXTURE_2D"), "off");
    EXPECT_EQ(GlValue(state, "client0 TEXTURE_COORD_ARRAY"), "on");
    EXPECT_EQ(GlValue(state, "client1 TEXTURE_COORD_ARRAY"), "unset");
    EXPECT_EQ(GlValue(state, "unit0 COMBINE_RGB"), "unset");
    EXPECT_EQ(GlValue(state, "unit1 COMBINE_RGB"), "MODULATE");
    EXPECT_EQ(GlValue(state, "client1 TexCoordPointer"), "second");
}

TEST(GlStateTest, AMatrixComesBackWhenItIsPopped)
{
    GlState state;
    ApplyGlCalls("PushMatrix\n"
                 "Translatef 1 2 3\n"
                 "PushMatrix\n"
                 "Scalef 4 5 6\n",
                 &state);
    EXPECT_EQ(GlValue(state, "MODELVIEW matrix"), "Translatef 1 2 3, Scalef 4 5 6");
    ApplyGlCalls("PopMatrix\n", &state);
    EXPECT_EQ(GlValue(state, "MODELVIEW matrix"), "Translatef 1 2 3");
    ApplyGlCalls("PopMatrix\n", &state);
    EXPECT_EQ(GlValue(state, "MODELVIEW matrix"), "");
}

TEST(GlStateTest, WrapGoesToTheBoundTextureAndMatricesToTheMode)
{
    GlState state;
    ApplyGlCalls("BindTexture TEXTURE_2D 7\n"
                 "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
                 "BindTexture TEXTURE_2D 8\n"
                 "TexParameterf TEXTURE_2D TEXTURE_WRAP_S CLAMP_TO_EDGE\n"
                 "Lightfv LIGHT1 POSITION 0 0 1 0\n"
                 "MatrixMode TEXTURE\n"
                 "Translatef 9 9 9\n"
                 "LoadIdentity\n"
                 "Translatef 1 2 3\n"
                 "Rotatef 4 0 0 1\n"
                 "MatrixMode MODELVIEW\n"
                 "LoadIdentity\n"
                 "BindBufferARB ARRAY_BUFFER 5\n"
                 "TexCoordPointer 2 FLOAT 0 0\n"
                 "BlendFunc ONE ONE\n",
                 &state);
    EXPECT_EQ(GlValue(state, "texture 7 TEXTURE_WRAP_S"), "REPEAT");
    EXPECT_EQ(GlValue(state, "texture 8 TEXTURE_WRAP_S"), "CLAMP_TO_EDGE");
    EXPECT_EQ(GlValue(state, "unit0 texture"), "8");
    EXPECT_EQ(GlValue(state, "LIGHT1 POSITION"), "0 0 1 0");
    EXPECT_EQ(GlValue(state, "unit0 matrix"), "Translatef 1 2 3, Rotatef 4 0 0 1");
    EXPECT_EQ(GlValue(state, "MODELVIEW matrix"), "");
    EXPECT_EQ(GlValue(state, "client0 TexCoordPointer"), "buffer 5");
    EXPECT_EQ(GlValue(state, "BlendFunc"), "ONE ONE");
}

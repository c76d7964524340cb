// SPDX-License-Identifier: MIT
#include "engine/render/upload.h"

#include <algorithm>
#include <bit>

#include "engine/render/upload_test.h"
#include "engine/textures/make_image.h"

using Bytes = std::vector<uint8_t>;

// Procedural textures.

static std::string TextureLevel(int level, int side)
{
    return "TexImage2D TEXTURE_2D " + std::to_string(level) + " 3 " + std::to_string(side) + " " +
           std::to_string(side) + " 0 RGB UNSIGNED_BYTE ?\n";
}

TEST_F(UploadTest, ATextureOfTheLoadingDocumentHasOneLevel)
{
    isDemo = false;
    const void* texture = Load(Section::kTextures, "<t/>");
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\n"
                             "BindTexture TEXTURE_2D 1\n" +
                                 TextureLevel(0, 256) +
                                 "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
                                 "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n");
    EXPECT_EQ(GetTextureUpload(&piece.upload, 1), 1u);
    EXPECT_EQ(static_cast<const ProceduralTexture*>(texture)->pixels, nullptr);
}

TEST_F(UploadTest, ATextureOfTheDemoHasAMipChain)
{
    const void* texture = Load(Section::kTextures, "<t/>");
    EXPECT_EQ(TakeGlCalls(),
              "GenTextures 1 1\nBindTexture TEXTURE_2D 1\n" + TextureLevel(0, 256) +
                  "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
                  "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR_MIPMAP_LINEAR\n" +
                  TextureLevel(1, 128) + TextureLevel(2, 64) + TextureLevel(3, 32) +
                  TextureLevel(4, 16) + TextureLevel(5, 8) + TextureLevel(6, 4) +
                  "PixelStorei UNPACK_ALIGNMENT 2\n" + TextureLevel(7, 2) +
                  "PixelStorei UNPACK_ALIGNMENT 1\n" + TextureLevel(8, 1) +
                  "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(static_cast<const ProceduralTexture*>(texture)->pixels, nullptr);
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(UploadTest, ATextureHoldsItsPixels)
{
    Load(Section::kTextures, "<t/>");
    Load(Section::kTextures, "<t><a type=\"201\"/></t>"); // inverts black
    EXPECT_EQ(LevelBytes(1), Bytes(256 * 256 * 3, 0));
    EXPECT_EQ(LevelBytes(2), Bytes(256 * 256 * 3, 255));
    EXPECT_EQ(LevelBytes(2, 8), Bytes(3, 255));
}

// Models.

static void AppendLittle(Bytes* bytes, uint32_t value)
{
    for (uint32_t shift = 0; shift < 32; shift += 8)
    {
        bytes->push_back(static_cast<uint8_t>(value >> shift));
    }
}

/// Three vertices with T coordinate sets and the index list 0, 1, 2. Floats count up from 1 in file
/// order.
static Bytes Triangle(uint8_t sets)
{
    Bytes file;
    AppendLittle(&file, 3);
    file.push_back(sets);
    for (int k = 0; k < 3 * 2 * (3 + sets); ++k)
    {
        AppendLittle(&file, std::bit_cast<uint32_t>(static_cast<float>(k + 1)));
    }
    for (uint32_t index : {0u, 1u, 2u})
    {
        AppendLittle(&file, index);
    }
    return file;
}

class UploadModelTest : public UploadTest
{
  protected:
    void SetUp() override
    {
        UploadTest::SetUp();
        piece.features.vbo = 1;
    }

    /// @return the model's OpenGL names
    ModelUpload LoadModel(const Bytes& file)
    {
        SetFile(MakeContainer(std::string(file.begin(), file.end())));
        model = static_cast<ModelData*>(Load(Section::kModels, "<m filename=\"file\"/>"));
        return *GetModelUpload(&piece.upload, piece.document.models->count);
    }

    const ModelData* model = nullptr; // loaded last
};

TEST_F(UploadModelTest, AModelWithOneSetTakesFourBuffers)
{
    const Bytes file = Triangle(1);
    const ModelUpload upload = LoadModel(file);
    EXPECT_EQ(TakeGlCalls(), "GenBuffers 1 1\n"
                             "BindBuffer ARRAY_BUFFER 1\n"
                             "BufferData ARRAY_BUFFER 36 ? STATIC_DRAW\n"
                             "GenBuffers 1 2\n"
                             "BindBuffer ARRAY_BUFFER 2\n"
                             "BufferData ARRAY_BUFFER 24 ? STATIC_DRAW\n"
                             "GenBuffers 1 3\n"
                             "BindBuffer ARRAY_BUFFER 3\n"
                             "BufferData ARRAY_BUFFER 36 ? STATIC_DRAW\n"
                             "GenBuffers 1 4\n"
                             "BindBuffer ELEMENT_ARRAY_BUFFER 4\n"
                             "BufferData ELEMENT_ARRAY_BUFFER 12 ? STATIC_DRAW\n"
                             "BindBuffer ARRAY_BUFFER 0\n"
                             "BindBuffer ELEMENT_ARRAY_BUFFER 0\n");
    EXPECT_EQ(upload.vertexBuffer, 1u);
    EXPECT_EQ(upload.texCoordBuffer1, 2u);
    EXPECT_EQ(upload.texCoordBuffer2, 0u);
    EXPECT_EQ(upload.normalBuffer, 3u);
    EXPECT_EQ(upload.indexBuffer, 4u);
    EXPECT_EQ(upload.bufferIndexCount, 3u);

    EXPECT_EQ(GlBufferBytes(1), Bytes(file.begin() + 5, file.begin() + 41));
    EXPECT_EQ(GlBufferBytes(2), Bytes(file.begin() + 41, file.begin() + 65));
    EXPECT_EQ(GlBufferBytes(3), Bytes(file.begin() + 65, file.begin() + 101));
    EXPECT_EQ(GlBufferBytes(4), Bytes(file.begin() + 101, file.end()));
}

TEST_F(UploadModelTest, ASecondSetComesBetweenTheFirstAndTheNormals)
{
    const Bytes file = Triangle(2);
    const ModelUpload upload = LoadModel(file);
    EXPECT_EQ(upload.texCoordBuffer1, 2u);
    EXPECT_EQ(upload.texCoordBuffer2, 3u);
    EXPECT_EQ(upload.normalBuffer, 4u);
    EXPECT_EQ(upload.indexBuffer, 5u);
    EXPECT_EQ(GlBufferBytes(3), Bytes(file.begin() + 65, file.begin() + 89));
    EXPECT_EQ(GlBufferBytes(5).size(), 12u);
    EXPECT_EQ(upload.bufferIndexCount, 3u);
}

TEST_F(UploadModelTest, TheIndexBufferGoesByOneOrTwoSets)
{
    // Without sets it is 8 * 3 bytes too small: 12 - 24 is below nothing, so nothing is uploaded.
    const ModelUpload none = LoadModel(Triangle(0));
    EXPECT_EQ(GlBufferBytes(none.indexBuffer).size(), 0u);
    EXPECT_EQ(none.bufferIndexCount, 0u);

    // With three sets it reaches 8 * 3 bytes past the file, and zeros stand there.
    const ModelUpload three = LoadModel(Triangle(3));
    Bytes expected;
    for (uint32_t index : {0u, 1u, 2u, 0u, 0u, 0u, 0u, 0u, 0u})
    {
        AppendLittle(&expected, index);
    }
    EXPECT_EQ(GlBufferBytes(three.indexBuffer), expected);
    EXPECT_EQ(three.bufferIndexCount, 3u); // the zeros are not drawn
}

TEST_F(UploadModelTest, WithoutSetsTheIndexBufferIs8VBytesShort)
{
    Bytes file = {1, 0, 0, 0, 0};
    file.insert(file.end(), 24 + 12 * 4, 0); // one vertex, its normal, twelve times index 0
    const ModelUpload upload = LoadModel(file);
    EXPECT_EQ(model->mesh.indexCount, 12u);
    EXPECT_EQ(GlBufferBytes(upload.indexBuffer).size(), 40u); // and not 48
}

TEST_F(UploadModelTest, NoMoreIndicesAreDrawnFromABufferThanItHolds)
{
    Bytes file = Triangle(0);
    for (uint32_t index : {2u, 1u, 0u, 0u, 2u, 1u})
    {
        AppendLittle(&file, index);
    }
    file.insert(file.end(), 3, 0);
    const ModelUpload upload = LoadModel(file); // 39 bytes of indices, of which 8 * 3 are left out
    EXPECT_EQ(model->mesh.indexCount, 9u);
    EXPECT_EQ(GlBufferBytes(upload.indexBuffer).size(), 15u);
    EXPECT_EQ(upload.bufferIndexCount, 3u);
}

TEST_F(UploadModelTest, WithoutTheVboSwitchNothingIsUploaded)
{
    piece.features.vbo = 0;
    const ModelUpload upload = LoadModel(Triangle(1));
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(upload.vertexBuffer, 0u);
    EXPECT_EQ(upload.bufferIndexCount, 0u);
    EXPECT_EQ(model->mesh.indexCount, 3u);
}

TEST_F(UploadModelTest, ModelsOfTheLoadingDocumentNeverGetBuffers)
{
    isDemo = false;
    LoadModel(Triangle(1));
    EXPECT_EQ(TakeGlCalls(), "");
}

// Bitmaps.

static constexpr const char* kFilters =
    "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
    "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR_MIPMAP_LINEAR\n";

class UploadBitmapTest : public UploadTest
{
  protected:
    BitmapTexture* LoadBitmap(const std::string& file)
    {
        SetFile(file);
        return static_cast<BitmapTexture*>(Load(Section::kBitmaps, "<b filename=\"file\"/>"));
    }
};

TEST_F(UploadBitmapTest, ABitmapGetsItsChainInBothDocumentsAlike)
{
    // 4x2 pixels, blue green red.
    std::string pixels;
    for (char i = 0; i < 8; ++i)
    {
        pixels += {static_cast<char>(3 * i), static_cast<char>(2 * i), i};
    }
    uint32_t name = 0;
    for (bool demo : {false, true})
    {
        isDemo = demo;
        name += 1;
        const BitmapTexture* bitmap = LoadBitmap(MakeTga(4, 2, 3, pixels));
        const std::string text = std::to_string(name);
        EXPECT_EQ(TakeGlCalls(), "GenTextures 1 " + text + "\nBindTexture TEXTURE_2D " + text +
                                     "\nTexImage2D TEXTURE_2D 0 3 4 2 0 RGB UNSIGNED_BYTE ?\n" +
                                     kFilters +
                                     "PixelStorei UNPACK_ALIGNMENT 1\n"
                                     "TexImage2D TEXTURE_2D 1 3 2 1 0 RGB UNSIGNED_BYTE ?\n"
                                     "PixelStorei UNPACK_ALIGNMENT 1\n"
                                     "TexImage2D TEXTURE_2D 2 3 1 1 0 RGB UNSIGNED_BYTE ?\n"
                                     "PixelStorei UNPACK_ALIGNMENT 4\n");
        const BitmapUpload* upload = GetBitmapUpload(&piece.upload, name);
        EXPECT_EQ(upload->width, 4);
        EXPECT_EQ(upload->height, 2);
        EXPECT_EQ(upload->components, 3);
        EXPECT_EQ(upload->glTexture, name);
        EXPECT_EQ(bitmap->pixels, nullptr);

        // The first row stays first.
        EXPECT_EQ(LevelBytes(name), (Bytes{0, 0, 0,  1, 2,  3,  2, 4,  6,  3, 6,  9,
                                           4, 8, 12, 5, 10, 15, 6, 12, 18, 7, 14, 21}));
        EXPECT_EQ(LevelBytes(name, 1), (Bytes{0, 1, 1, 2, 5, 7}));
        EXPECT_EQ(LevelBytes(name, 2), (Bytes{1, 3, 4}));
    }
}

TEST_F(UploadBitmapTest, FourComponentsKeepTheirAlpha)
{
    LoadBitmap(
        MakeTga(2, 2, 4, "\x03\x02\x01\x0a\x03\x02\x01\x14\x03\x02\x01\x1e\x03\x02\x01\x28"));
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 4 2 2 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kFilters +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n"
                                 "TexImage2D TEXTURE_2D 1 4 1 1 0 RGBA UNSIGNED_BYTE ?\n"
                                 "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(LevelBytes(1), (Bytes{1, 2, 3, 10, 1, 2, 3, 20, 1, 2, 3, 30, 1, 2, 3, 40}));
    EXPECT_EQ(LevelBytes(1, 1), (Bytes{1, 2, 3, 15})); // of the first two pixels
}

TEST_F(UploadBitmapTest, OneComponentGetsLevel0AloneAsRgba)
{
    LoadBitmap(MakeTga(3, 3, 1, "abcdefghi"));
    EXPECT_EQ(GetBitmapUpload(&piece.upload, 1)->components, 1);
    // Its filter wants more levels all the same.
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 1 3 3 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kFilters + "PixelStorei UNPACK_ALIGNMENT 4\n");
    // OpenGL takes the bytes as they lie for four a pixel, and after them there are zeros.
    Bytes expected(36, 0);
    const std::string text = "abcdefghi";
    std::copy(text.begin(), text.end(), expected.begin());
    EXPECT_EQ(LevelBytes(1), expected);
}

TEST_F(UploadBitmapTest, TwoComponentsGetLevel0AloneToo)
{
    LoadBitmap(MakeTga(2, 2, 2, "abcdefgh"));
    EXPECT_EQ(GetBitmapUpload(&piece.upload, 1)->components, 2);
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 2 2 2 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kFilters + "PixelStorei UNPACK_ALIGNMENT 4\n");
}

TEST_F(UploadBitmapTest, OneComponentMayBeASinglePixel)
{
    LoadBitmap(MakeTga(1, 1, 1, "a"));
    EXPECT_EQ(LevelBytes(1), (Bytes{'a', 0, 0, 0}));
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(UploadBitmapTest, RowsAreReadByTheAlignmentInsideTheBlock)
{
    // 3x3 RGB: 9 bytes a row, which OpenGL takes for 12. The image comes out slanted, and its last
    // row ends in zeros.
    std::string pixels;
    for (int i = 0; i < 27; ++i)
    {
        pixels += static_cast<char>(100 + i / 3); // grey, one number a pixel
    }
    LoadBitmap(MakeTga(3, 3, 3, pixels));
    const Bytes level = LevelBytes(1);
    ASSERT_EQ(level.size(), 27u);
    EXPECT_EQ(level[0], 100);
    EXPECT_EQ(level[9], 104);  // byte 12
    EXPECT_EQ(level[18], 108); // byte 24
    EXPECT_EQ(level[21], 0);   // byte 27
    EXPECT_EQ(level[26], 0);
}

TEST_F(UploadBitmapTest, PixelsStayInTheRecordOnRequest)
{
    keepPixels = true;
    const BitmapTexture* bitmap = LoadBitmap(MakeTga(2, 2, 1, "abcd"));
    ASSERT_NE(bitmap->pixels, nullptr);
    EXPECT_EQ(memcmp(bitmap->pixels, "abcd", 4), 0);
}

TEST_F(UploadBitmapTest, AnImageTooSmallForAChainIsAFaultOfTheUploadToo)
{
    BitmapTexture bitmap = {};
    bitmap.width = 1;
    bitmap.height = 2;
    bitmap.components = 3;
    bitmap.block = static_cast<uint8_t*>(calloc(1, 64));
    bitmap.pixels = bitmap.block;
    bitmap.usesLeft = 1;
    EXPECT_FALSE(UploadOrFail({Section::kBitmaps, 1, &bitmap}));
    EXPECT_EQ(TakeFaults(&piece),
              "quorvale: demo.xmlz: an image of 1x2 pixels is too small for a mip chain\n");
    EXPECT_EQ(GlLiveTextures(), 1u);
    FreeUpload(&piece.upload); // gives back what was half made
    EXPECT_EQ(GlLiveTextures(), 0u);
}

// All items.

TEST_F(UploadTest, ItemsWithoutAnythingInOpenGlCallNothing)
{
    for (Section section :
         {Section::kLayers, Section::kEnvelopes, Section::kLights, Section::kMaterials,
          Section::kGenMeshes, Section::kScenes, Section::kTimeline})
    {
        EXPECT_TRUE(UploadOrFail({section, 1, nullptr}));
    }
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(UploadTest, NamesAreFoundByIdAndByNoOther)
{
    for (int i = 0; i < 5; ++i) // the array moves at 2, 3 and 5
    {
        Load(Section::kTextures, "<t/>");
        SetFile(MakeTga(2, 2, 1, "abcd"));
        Load(Section::kBitmaps, "<b filename=\"file\"/>");
    }
    for (uint32_t id = 1; id <= 5; ++id)
    {
        EXPECT_EQ(GetTextureUpload(&piece.upload, id), 2 * id - 1);
        EXPECT_EQ(GetBitmapUpload(&piece.upload, id)->glTexture, 2 * id);
    }
    for (uint32_t id : {0u, 6u, 4097u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(GetTextureUpload(&piece.upload, id), 0u);
        EXPECT_EQ(GetBitmapUpload(&piece.upload, id), nullptr);
        EXPECT_EQ(GetModelUpload(&piece.upload, id), nullptr);
        EXPECT_EQ(GetEffectUpload(&piece.upload, id), nullptr);
    }
}

TEST_F(UploadModelTest, FreeingDeletesEachNameOnce)
{
    piece.features.pbo = 1;
    LoadModel(Triangle(1)); // buffers 1 to 4
    Load(Section::kTextures, "<t/>");
    SetFile(MakeTga(2, 2, 1, "abcd"));
    Load(Section::kBitmaps, "<b filename=\"file\"/>");
    Load(Section::kEffects, "<e name=\"\" type=\"1\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    piece.upload.deformed = {20, 21}; // as a fault may leave them
    TakeGlCalls();
    FreeUpload(&piece.upload);
    EXPECT_EQ(TakeGlCalls(), "DeleteTextures 1 1\n"
                             "DeleteBuffersARB 1 1\n"
                             "DeleteBuffersARB 1 2\n"
                             "DeleteBuffersARB 1 3\n"
                             "DeleteBuffersARB 1 4\n"
                             "DeleteTextures 1 2\n"
                             "DeleteTextures 1 3\n"
                             "DeleteBuffersARB 1 5\n"
                             "DeleteBuffersARB 1 20\n"
                             "DeleteBuffersARB 1 21\n");
    EXPECT_EQ(GlLiveTextures(), 0u);
    EXPECT_EQ(GlLiveBuffers(), 0u);
    FreeUpload(&piece.upload);
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(UploadModelTest, ForgettingCallsNoOpenGl)
{
    LoadModel(Triangle(2));
    Load(Section::kTextures, "<t/>");
    TakeGlCalls();
    ForgetUpload(&piece.upload);
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(GlLiveTextures(), 1u);
    EXPECT_EQ(GlLiveBuffers(), 5u);
    EXPECT_EQ(GetTextureUpload(&piece.upload, 1), 0u);
}

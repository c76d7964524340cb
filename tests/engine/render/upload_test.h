// SPDX-License-Identifier: MIT

// Shared by the tests of uploads: items of a document, read and given to OpenGL one by one.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/data/model_data.h"
#include "engine/piece/piece_sections.h"
#include "engine/render/upload.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "support/package_builder.h"
#include "support/recorded_gl.h"
#include "support/test_piece.h"

class UploadTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        BuildCornerMasks();
        ResetGl();
        StartTestPiece(&piece);
        SetFile("");
    }

    void TearDown() override
    {
        ClosePackage(&package);
        FreeDocument(PieceSections, &piece.document);
        FreeTestPiece(&piece);
    }

    /// Opens a package with one entry, "file".
    void SetFile(const std::string& content)
    {
        ClosePackage(&package);
        packageBytes = MakePackage({{"file", content}});
        EXPECT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(packageBytes.data()),
                                      packageBytes.size(), &package, &piece.faults));
    }

    /// Reads an item and starts its state.
    /// @param text   of the item
    ItemPlace Read(Section section, const std::string& text)
    {
        ReadContext context = {};
        context.document = &piece.document;
        context.package = &package;
        context.isDemo = isDemo;
        context.computePixels = true;
        context.faults = &piece.faults;
        const SectionReader& reader = PieceSections[static_cast<int32_t>(section)];
        ObjectTable* table = piece.document.*reader.table;
        const uint32_t id = AllocateObject(table);
        void* record = GetObject(id, table);
        piece.faults.place = PlaceAt("demo.xmlz", section, id);
        const uint64_t callsBefore = GlCallCount();

        TiXmlDocument document;
        document.Parse(text.c_str());
        EXPECT_TRUE(reader.readItem(document.FirstChildElement(), record, id - 1, &context));
        ForgetFile(section, record);
        StartState(&piece, section, id);
        EXPECT_EQ(TakeFaults(&piece), "");
        EXPECT_EQ(GlCallCount(), callsBefore); // reading needs no OpenGL
        return {section, id, record};
    }

    /// The item's tree ends with its reading, and the next item has another package: none shares
    /// its file.
    static void ForgetFile(Section section, void* record)
    {
        if (section == Section::kModels)
        {
            static_cast<ModelData*>(record)->filename = nullptr;
        }
        if (section == Section::kBitmaps)
        {
            static_cast<BitmapTexture*>(record)->filename = nullptr;
        }
    }

    bool UploadOrFail(const ItemPlace& item)
    {
        const UploadContext context = {&piece.upload,       &piece.document, &piece.state.demo,
                                       &piece.state.random, piece.features,  isDemo,
                                       keepPixels,          &piece.faults};
        return UploadItem(&context, &item);
    }

    /// Reads an item and gives it to OpenGL.
    /// @return its record
    void* Load(Section section, const std::string& text)
    {
        const ItemPlace item = Read(section, text);
        EXPECT_TRUE(UploadOrFail(item));
        EXPECT_EQ(TakeFaults(&piece), "");
        return item.record;
    }

    /// @return the pixels of a level of a texture; empty if it has no such level
    static std::vector<uint8_t> LevelBytes(uint32_t glTexture, int32_t level = 0)
    {
        const GlTextureImage* image = GlTextureLevel(glTexture, level);
        return image == nullptr ? std::vector<uint8_t>() : image->bytes;
    }

    TestPiece piece = {};
    PackageFile package = {};
    std::string packageBytes;
    bool isDemo = true;
    bool keepPixels = false;
};

// SPDX-License-Identifier: MIT

// A piece in memory, opened for a test.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "engine/animation/animated_value.h"
#include "engine/data/arena.h"
#include "engine/data/cos_table.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/piece/piece.h"
#include "engine/textures/corner_masks.h"
#include "support/fault_text.h"

struct OpenedPiece
{
    /// @param hasFault   opening it must fail
    explicit OpenedPiece(std::string package, bool computePixels = true, bool hasFault = false)
        : bytes(std::move(package))
    {
        BuildCosTable();
        BuildCornerMasks();
        StartFaults(&faults);
        const PieceSource source = {nullptr, reinterpret_cast<const unsigned char*>(bytes.data()),
                                    bytes.size(), computePixels};
        EXPECT_EQ(OpenPiece(&source, &piece, &state, &faults), !hasFault) << FaultText(faults);
    }
    ~OpenedPiece()
    {
        ClosePiece(&piece);
        FreePieceState(&state);
        FreeFaults(&faults);
        FreeArena(&arena);
    }
    OpenedPiece(const OpenedPiece&) = delete;
    OpenedPiece& operator=(const OpenedPiece&) = delete;

    /// Moves every generated mesh and effect of the demo to a time, in the order of ids.
    /// @return all that can be seen of them: vertices, normals and images, in bytes
    std::string Move(PieceState* moved, uint32_t time)
    {
        DocumentState* document = &moved->demo;
        const Animation animation = {piece.demo.envelopes, document->envelopes, &faults};
        const GenMeshSources sources = {piece.demo.genMeshes, document->genMeshes, &animation,
                                        &moved->random, &arena};
        std::string seen;
        for (uint32_t id = 1; id <= document->genMeshCount; ++id)
        {
            EXPECT_TRUE(UpdateGenMesh(id, &sources, time));
            const GenMeshState& mesh = document->genMeshes[id - 1];
            if (mesh.vertices != nullptr)
            {
                const size_t size = kWaterCells * 3 * sizeof(float);
                seen.append(reinterpret_cast<const char*>(mesh.vertices), size);
                seen.append(reinterpret_cast<const char*>(mesh.normals), size);
            }
        }
        for (uint32_t id = 1; id <= document->effectCount; ++id)
        {
            const Effect2D* effect = GetRecord<Effect2D>(id, piece.demo.effects);
            float params[kEffectParams];
            EXPECT_TRUE(EvaluateEffectParams(id, effect, &animation, time, params));
            std::vector<uint8_t> image(EffectImageBytes(effect));
            RenderEffect2D(effect, params, &document->effects[id - 1], &moved->random,
                           image.data());
            seen.append(image.begin(), image.end());
        }
        ResetArena(&arena, {});
        return seen;
    }

    std::string bytes;
    Piece piece;
    PieceState state;
    FaultList faults;
    Arena arena = {};
};

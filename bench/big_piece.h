// SPDX-License-Identifier: MIT

// A piece that is as large as pieces get, and pieces with much of one kind, to measure loading
// with.
#pragma once

#include <cstdint>
#include <string>

/// How much there is of everything, beside a little of all that a piece may hold.
struct PieceSize
{
    uint32_t layers;
    uint32_t textures;      // of six steps each
    uint32_t bitmaps;       // PNG files of 512x512 pixels, three components
    uint32_t effects;       // of 512x512 pixels, 24 bits
    uint32_t models;        //
    uint32_t modelVertices; // of each model
    uint32_t envelopes;     // of three pieces, some 430 bytes of text each
};

/// 1 MB of text.
inline constexpr PieceSize kBigPiece = {80, 40, 40, 8, 5, 10000, 2400};

/// @return the bytes of the package; its loading screen is a small document
std::string MakeBigPiece(const PieceSize& size);

/// @return a PNG file of 512x512 pixels, three components
/// @param seed   another picture for each
std::string MakePng(uint32_t seed);

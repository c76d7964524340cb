// SPDX-License-Identifier: MIT

// Image files made inside a test.
#pragma once

#include <string>

/// An uncompressed TGA file, first row first. Three and four components are stored blue first.
inline std::string MakeTga(int width, int height, int components, const std::string& pixels)
{
    std::string file(18, '\0');
    file[2] = components < 3 ? 3 : 2; // grey or color
    file[12] = static_cast<char>(width & 255);
    file[13] = static_cast<char>(width >> 8);
    file[14] = static_cast<char>(height & 255);
    file[15] = static_cast<char>(height >> 8);
    file[16] = static_cast<char>(8 * components);
    file[17] = 0x20; // from the top
    return file + pixels;
}

/// The head of a Softimage PIC file with one run-length packet for red, green and blue and, for
/// four components, a second one for alpha. Rows follow: a count, then that many times one pixel.
inline std::string MakePicHead(int width, int height, int components)
{
    std::string file = "\x53\x80\xF6\x34";
    file.resize(88);
    file += "PICT";
    file += {static_cast<char>(width >> 8), static_cast<char>(width)};
    file += {static_cast<char>(height >> 8), static_cast<char>(height)};
    file.resize(file.size() + 8);
    const bool alpha = components == 4;
    file += {static_cast<char>(alpha), 8, 1, static_cast<char>(0xE0)};
    if (alpha)
    {
        file += {0, 8, 1, 0x10};
    }
    return file;
}

/// A Radiance file of 8x2 pixels, its rows run-length coded.
inline std::string MakeRadiance()
{
    const std::string row("\x02\x02\x00\x08\x88\x40\x88\x40\x88\x40\x88\x81", 12);
    return "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 8\n" + row + row;
}

/// A JPEG file of 8x8 pixels and one component: the frame and the scan, no quantisation and no
/// Huffman tables.
inline std::string MakeBareJpeg()
{
    const unsigned char file[] = {0xFF, 0xD8, 0xFF, 0xC0, 0,    11,   8,    0,    8,    0,    8,
                                  1,    1,    0x11, 0,    0xFF, 0xDA, 0,    8,    1,    1,    0,
                                  0,    63,   0,    0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xFF, 0xD9};
    return std::string(reinterpret_cast<const char*>(file), sizeof(file));
}

/// The same with a Huffman table, as a segment that comes first.
/// @param symbols   how many codes of each length from 9 to 16 bits the table claims, 255 at most
inline std::string MakeJpegWithTable(int symbols)
{
    std::string table(1, '\0');
    table += std::string(8, '\0') + std::string(8, static_cast<char>(symbols));
    table += std::string(static_cast<size_t>(8 * symbols), '\x40');
    const size_t length = table.size() + 2;
    const std::string file = MakeBareJpeg();
    return file.substr(0, 2) + "\xFF\xC4" + static_cast<char>(length >> 8) +
           static_cast<char>(length & 255) + table + file.substr(2);
}

/// A PNG file of 2x2 pixels with a palette of red, green, blue and white: every kind of chunk that
/// takes memory of its own, and two parts of its data.
inline std::string MakePng()
{
    static const unsigned char kFile[] = {
        0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48,
        0x44, 0x52, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x03, 0x00, 0x00,
        0x00, 0x45, 0x68, 0xFD, 0x16, 0x00, 0x00, 0x00, 0x0C, 0x50, 0x4C, 0x54, 0x45, 0xFF,
        0x00, 0x00, 0x00, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFB, 0x00, 0x60,
        0xF6, 0x00, 0x00, 0x00, 0x05, 0x49, 0x44, 0x41, 0x54, 0x78, 0x9C, 0x63, 0x60, 0x60,
        0x10, 0x66, 0xD3, 0x5D, 0x00, 0x00, 0x00, 0x09, 0x49, 0x44, 0x41, 0x54, 0x64, 0x60,
        0x62, 0x06, 0x00, 0x00, 0x11, 0x00, 0x07, 0x39, 0xA4, 0x23, 0x75, 0x00, 0x00, 0x00,
        0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82,
    };
    return std::string(reinterpret_cast<const char*>(kFile), sizeof(kFile));
}

/// A GIF file of 2x2 pixels: red, green, blue and white.
inline std::string MakeGif()
{
    static const unsigned char kFile[] = {
        0x47, 0x49, 0x46, 0x38, 0x39, 0x61, 0x02, 0x00, 0x02, 0x00, 0x81, 0x00, 0x00, 0xFF,
        0x00, 0x00, 0x00, 0xFF, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0x2C, 0x00, 0x00,
        0x00, 0x00, 0x02, 0x00, 0x02, 0x00, 0x00, 0x02, 0x03, 0x44, 0x34, 0x05, 0x00, 0x3B,
    };
    return std::string(reinterpret_cast<const char*>(kFile), sizeof(kFile));
}

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

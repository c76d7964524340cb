// SPDX-License-Identifier: MIT

// The container of documents and models, as a tool makes and opens it: the size of the uncompressed
// data (u32, little-endian), then one zlib stream.
#pragma once

#include "tools/files.h"

/// Whether so many bytes can be packed.
/// @return false after an error line: they are more than kLargestInflatedSize
bool FitsContainer(size_t size);

/// @return null, or what is wrong with a container of so many bytes
const char* ContainerSizeFault(size_t size);

/// Packs data at zlib's highest level, so that the same data gives the same bytes.
/// @return false after an error line if the data is larger than kLargestInflatedSize: no reader
///         would take it
bool PackContainer(const Bytes& data, Bytes* container);

/// Packs data at zlib's lowest level: some ten times as fast, and a little larger.
/// @return as PackContainer
bool PackQuickContainer(const Bytes& data, Bytes* container);

/// PackContainer by zopfli, which takes a hundred times as long and saves some five percent. Where
/// it saves nothing, the container is that of PackContainer.
bool PackSmallContainer(const Bytes& data, Bytes* container);

/// Unpacks no more than kLargestInflatedSize bytes.
/// @return null, or what is wrong with the container. A size word that is not the stream's length
///         is wrong here; players cut or pad.
const char* UnpackContainer(const Bytes& container, Bytes* data);

/// Counts what UnpackContainer would give, and keeps none of it.
/// @param size   receives the bytes; 0 where something is wrong
/// @return as UnpackContainer does
const char* MeasureContainer(const Bytes& container, uint64_t* size);

/// Packs one file into another; "-" is standard input or output.
/// @param isForced   writes over a file of another kind than what comes out
/// @return false after an error line; the other file is untouched then
bool CompressFile(const std::string& in, const std::string& out, bool isForced);

/// Unpacks one file into another, in the same way.
/// @return false after an error line; the other file is untouched then
bool DecompressFile(const std::string& in, const std::string& out, bool isForced);

#pragma once
/// Image files put together byte by byte: kinds that the program reads but does not write, and broken ones.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tools/image_file.h"

namespace rasterkit::test {

using tools::Bytes;

struct Chunk {
  std::string type;
  Bytes data;
};

/// A PNG; the chunks stand before the pixels. rows: the packed rows, top first.
Bytes handmadePng(std::uint32_t width, std::uint32_t height, int bits, int colourType, const std::vector<Chunk>& chunks,
                  const std::vector<Bytes>& rows);

/// A TIFF of one page in big-endian or little-endian order; entries are 16-bit or (tags 273, 279, 324, 325) 32-bit
/// numbers. The offset of the pixels is the file's beginning plus 8.
Bytes handmadeTiff(bool bigEndian, const std::map<int, std::vector<std::uint32_t>>& entries, const Bytes& pixels);

/// Replaces bytes.
void patch(Bytes& bytes, std::size_t at, std::initializer_list<int> values);

}  // namespace rasterkit::test

#include "tests/tools/handmade.h"

#include <algorithm>

namespace rasterkit::test {
namespace {

void append(Bytes& out, std::uint32_t number, int bytes, bool bigEndian) {
  for (int i = 0; i < bytes; ++i)
    out.push_back(static_cast<unsigned char>(number >> 8 * (bigEndian ? bytes - 1 - i : i)));
}

std::uint32_t crc(const unsigned char* bytes, std::size_t count) {
  std::uint32_t value = 0xffffffff;
  for (std::size_t i = 0; i < count; ++i) {
    value ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ (value & 1 ? 0xedb88320u : 0u);
  }
  return ~value;
}

void appendChunk(Bytes& out, const Chunk& chunk) {
  append(out, static_cast<std::uint32_t>(chunk.data.size()), 4, true);
  const std::size_t start = out.size();
  out.insert(out.end(), chunk.type.begin(), chunk.type.end());
  out.insert(out.end(), chunk.data.begin(), chunk.data.end());
  append(out, crc(out.data() + start, out.size() - start), 4, true);
}

}  // namespace

Bytes handmadePng(std::uint32_t width, std::uint32_t height, int bits, int colourType, const std::vector<Chunk>& chunks,
                  const std::vector<Bytes>& rows) {
  Bytes out = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  Chunk header{"IHDR", {}};
  append(header.data, width, 4, true);
  append(header.data, height, 4, true);
  for (const int byte : {bits, colourType, 0, 0, 0}) header.data.push_back(static_cast<unsigned char>(byte));
  appendChunk(out, header);
  for (const Chunk& chunk : chunks) appendChunk(out, chunk);

  Bytes raw;
  for (const Bytes& row : rows) {
    raw.push_back(0);
    raw.insert(raw.end(), row.begin(), row.end());
  }
  // One stored block.
  Chunk data{"IDAT", {0x78, 0x01, 0x01}};
  append(data.data, static_cast<std::uint32_t>(raw.size()), 2, false);
  append(data.data, static_cast<std::uint32_t>(~raw.size()), 2, false);
  data.data.insert(data.data.end(), raw.begin(), raw.end());
  std::uint32_t a = 1;
  std::uint32_t b = 0;
  for (const unsigned char byte : raw) a = (a + byte) % 65521, b = (b + a) % 65521;
  append(data.data, b << 16 | a, 4, true);
  appendChunk(out, data);
  appendChunk(out, {"IEND", {}});
  return out;
}

Bytes handmadeTiff(bool bigEndian, const std::map<int, std::vector<std::uint32_t>>& entries, const Bytes& pixels) {
  Bytes out = bigEndian ? Bytes{'M', 'M', 0, 42} : Bytes{'I', 'I', 42, 0};
  const auto directory = static_cast<std::uint32_t>(8 + (pixels.size() + 1) / 2 * 2);
  append(out, directory, 4, bigEndian);
  out.insert(out.end(), pixels.begin(), pixels.end());
  out.resize(directory);
  append(out, static_cast<std::uint32_t>(entries.size()), 2, bigEndian);
  Bytes far;
  const auto farStart = static_cast<std::uint32_t>(directory + 2 + 12 * entries.size() + 4);
  for (const auto& [tag, values] : entries) {
    const bool wide = tag == 273 || tag == 279 || tag == 324 || tag == 325;
    append(out, static_cast<std::uint32_t>(tag), 2, bigEndian);
    append(out, wide ? 4 : 3, 2, bigEndian);
    append(out, static_cast<std::uint32_t>(values.size()), 4, bigEndian);
    Bytes data;
    for (const std::uint32_t value : values) append(data, value, wide ? 4 : 2, bigEndian);
    if (data.size() <= 4) {
      data.resize(4);
      out.insert(out.end(), data.begin(), data.end());
    } else {
      append(out, static_cast<std::uint32_t>(farStart + far.size()), 4, bigEndian);
      far.insert(far.end(), data.begin(), data.end());
    }
  }
  append(out, 0, 4, bigEndian);
  out.insert(out.end(), far.begin(), far.end());
  return out;
}

void patch(Bytes& bytes, std::size_t at, std::initializer_list<int> values) {
  for (const int value : values) bytes.at(at++) = static_cast<unsigned char>(value);
}

}  // namespace rasterkit::test

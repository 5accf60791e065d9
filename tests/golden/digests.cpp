#include "tests/golden/digests.h"

#include <cstdio>

#include "catalogue/catalogue.h"
#include "tests/sweep/draw.h"

namespace rasterkit::golden {
namespace {

using namespace catalogue;

// FNV-1a over 64 bits (Fowler, Noll, Vo 1991).
class Hash {
 public:
  void add(const void* bytes, std::size_t count) {
    const auto* const from = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < count; ++i) value_ = (value_ ^ from[i]) * 0x100000001B3u;
  }
  // Least byte first, whatever the processor does.
  void add(std::int64_t number) {
    for (int i = 0; i < 8; ++i, number >>= 8) {
      const auto byte = static_cast<unsigned char>(number);
      add(&byte, 1);
    }
  }
  void add(const CPxImage& image) {
    for (const int member : {int(image.colorModel), image.bitsPerSample, image.width, image.height})
      add(std::int64_t{member});
    if (image.bufferSize > 0) add(image.GetBuffer(), static_cast<std::size_t>(image.bufferSize));
    for (int i = 0; i < image.palette.GetPaletteNum(); ++i) add(image.palette.GetPaletteItem(i), 4);
    for (int i = 0; i < image.channels; ++i) add(std::int64_t{image.channelBits[i]});
  }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_ = 0xCBF29CE484222325u;
};

constexpr std::pair<int, int> kSizes[] = {{1, 1}, {3, 2}, {5, 7}, {16, 3}, {33, 9}, {70, 21}};
constexpr int kDraws = 4;

}  // namespace

std::vector<Digest> digests(const std::function<std::function<int(Call&)>(const Operation&)>& body) {
  std::vector<Digest> list;
  for (const Operation& operation : operations()) {
    const auto run = body(operation);
    for (const test::PixelType type : sweep::typesFor(operation)) {
      Hash name;
      name.add(operation.name.data(), operation.name.size());
      test::Random random(name.value() + static_cast<std::uint64_t>(type.model * 100 + type.bits));
      Hash hash;
      for (const auto& [width, height] : kSizes) {
        for (int i = 0; i < kDraws; ++i) {
          const sweep::Draw draw = sweep::drawn(random, operation, randomImage(random, type, width, height));
          const sweep::Outcome result = outcome(operation, draw, run, CPxImage());
          hash.add(std::int64_t{result.flag});
          hash.add(result.dst);
          hash.add(result.report.data(), result.report.size());
        }
      }
      list.push_back({operation.family, operation.name, std::to_string(type.model) + "/" + std::to_string(type.bits),
                      hash.value()});
    }
  }
  return list;
}

std::string format(const std::vector<Digest>& list) {
  std::string text;
  for (const Digest& digest : list) {
    char value[32];
    std::snprintf(value, sizeof value, "%016llx", static_cast<unsigned long long>(digest.value));
    text += digest.family + " " + digest.operation + " " + digest.type + " " + value + "\n";
  }
  return text;
}

}  // namespace rasterkit::golden

// Writes small image files of every format, pixel type and layout that the program reads, and some that lie: seeds for
// images_fuzz.
//
//     rasterkit_images_seeds FOLDER

#include "tests/fuzz/seed_files.h"
#include "tests/support/picture.h"
#include "tests/tools/handmade.h"
#include "tools/failure.h"

namespace rasterkit::test {
namespace {

using namespace tools;

std::vector<Bytes> seeds() {
  std::vector<Bytes> files;
  Random random(3);
  std::vector<PixelType> types = pixelTypes();
  for (const PixelType more : {PixelType{CM_INDEX, 1}, {CM_INDEX, 4}, {CM_INDEX, 8}, {CM_CMYK, 8}, {CM_HSI, 32}})
    types.push_back(more);
  for (const PixelType type : types)
    for (const Format format : {Format::png, Format::tiff, Format::jpeg, Format::bmp}) {
      const CPxImage image = randomImage(random, type, 5, 3);
      try {
        files.push_back(encode({&image, 1}, format, "seed"));
        if (format == Format::tiff) files.push_back(encode({&image, 1}, format, "seed", {.compression = 0}));
      } catch (const Failure&) {
        // The format does not hold this type.
      }
    }
  const CPxImage pages[] = {gray8({{1, 2}}), rgb8({{1, 2, 3}})};
  files.push_back(encode(pages, Format::tiff, "seed"));

  constexpr int kGray = 0, kRgb = 2, kPalette = 3;
  files.push_back(handmadePng(4, 1, 2, kGray, {}, {{0b00011011}}));
  files.push_back(handmadePng(9, 1, 1, kGray, {{"tRNS", {0, 1}}}, {{0b10100001, 0b10000000}}));
  files.push_back(
      handmadePng(2, 1, 16, kRgb, {{"tRNS", {0, 1, 0, 2, 0, 3}}}, {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}}));
  files.push_back(handmadePng(2, 1, 8, kPalette, {{"PLTE", {10, 20, 30, 1, 2, 3}}, {"tRNS", {128}}}, {{0, 1}}));
  files.push_back(handmadePng(30000, 20000, 8, kRgb, {}, {{1, 2, 3}}));

  const std::map<int, std::vector<std::uint32_t>> grey = {{256, {2}}, {257, {2}}, {258, {8}}, {259, {1}}, {262, {0}},
                                                          {273, {8}}, {274, {6}}, {277, {1}}, {278, {2}}, {279, {4}}};
  for (const bool bigEndian : {false, true}) files.push_back(handmadeTiff(bigEndian, grey, {0, 10, 200, 255}));
  files.push_back(handmadeTiff(true,
                               {{256, {2}},
                                {257, {2}},
                                {258, {8, 8, 8}},
                                {259, {1}},
                                {262, {2}},
                                {273, {8, 12, 16}},
                                {277, {3}},
                                {278, {2}},
                                {279, {4, 4, 4}},
                                {284, {2}}},
                               {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24}));
  files.push_back(handmadeTiff(false,
                               {{256, {18}},
                                {257, {2}},
                                {258, {8}},
                                {259, {1}},
                                {262, {1}},
                                {277, {1}},
                                {322, {16}},
                                {323, {16}},
                                {324, {8, 264}},
                                {325, {256, 256}}},
                               Bytes(512, 7)));

  Bytes core(26);
  patch(core, 0, {'B', 'M'});
  patch(core, 10, {32, 0, 0, 0, 12, 0, 0, 0, 8, 0, 1, 0, 1, 0, 1, 0});
  core.insert(core.end(), {1, 2, 3, 4, 5, 6, 0b01000000, 0, 0, 0});
  files.push_back(core);
  Bytes runs(54 + 8);
  patch(runs, 0, {'B', 'M'});
  patch(runs, 10, {62, 0, 0, 0, 40, 0, 0, 0, 4, 0, 0, 0, 2, 0, 0, 0, 1, 0, 8, 0, 1});
  patch(runs, 46, {2});
  runs.insert(runs.end(), {3, 1, 0, 0, 0, 3, 1, 0, 1, 0, 0, 1});
  files.push_back(runs);
  return files;
}

}  // namespace
}  // namespace rasterkit::test

int main(int argc, char** argv) { return rasterkit::fuzz::writeSeeds(argc, argv, "image", rasterkit::test::seeds()); }

#include <rasterkit/geometry/regions.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

// The inner part of an image of the bench's size.
CRect inner() { return CRect(16, 16, benchWidth() - 17, benchHeight() - 17); }

// A mask of blobs: about half of the pixels.
Image blobs() {
  const auto mask = image(CM_GRAY, 8);
  auto* const bytes = static_cast<unsigned char*>(mask->GetBuffer());
  for (int i = 0; i < mask->bufferSize; ++i) bytes[i] = bytes[i] > 127 ? 255 : 0;
  return mask;
}

BENCH(regions) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB}) {
    const std::string type = model == CM_GRAY ? " grey 8-bit" : " RGB 8-bit";
    const auto target = image(model, 8), peers = image(model, 8), other = image(model, 8), mask = blobs();
    const auto copies = static_cast<std::size_t>(target->bufferSize);
    const CRect all(0, 0, benchWidth() - 1, benchHeight() - 1), rect = inner();
    [[maybe_unused]] const int width = rect.right - rect.left + 1, height = rect.bottom - rect.top + 1;

    auto fill = [=](auto&& area) {
      CPxDrawing drawing(target.get());
      if (model == CM_GRAY)
        drawing.SetFill(static_cast<unsigned char>(7), area);
      else
        drawing.SetFill(tagPXG3{{7, 8, 9}}, area);
    };
    bench.add({.name = "fill" + type,
               .ours = [=] { fill(all); },
               .peer = PEER([peers, m = mat(*peers)]() mutable { m.setTo(cv::Scalar(7, 8, 9)); }),
               .copies = copies});
    bench.add(
        {.name = "fillmasked" + type,
         .ours = [=] { fill(*mask); },
         .peer = PEER([peers, mask, m = mat(*peers), by = mat(*mask)]() mutable { m.setTo(cv::Scalar(7, 8, 9), by); }),
         .copies = copies});
    bench.add({.name = "paste" + type,
               .ours = [=] { CPxMiscProcessing(target.get()).PasteFrom(*other, rect); },
               .peer = PEER([peers, other, in = mat(*other)(cv::Rect(0, 0, width, height)),
                             out = mat(*peers)(cv::Rect(16, 16, width, height))]() mutable { in.copyTo(out); }),
               .copies = copies});
    bench.add({.name = "pastemasked" + type,
               .ours = [=] { CPxMiscProcessing(target.get()).PasteFrom(*other, all, *mask); },
               .peer = PEER([peers, other, mask, in = mat(*other), out = mat(*peers), by = mat(*mask)]() mutable {
                 in.copyTo(out, by);
               }),
               .copies = copies});
    bench.add({.name = "copyto" + type,
               .ours = [=] { CPxMiscProcessing(target.get()).CopyTo(*other, rect); },
               .peer = PEER([peers, other, in = mat(*peers)(cv::Rect(16, 16, width, height)),
                             out = mat(*other)(cv::Rect(0, 0, width, height))]() mutable { in.copyTo(out); }),
               .copies = copies});
    // What is cropped must be made again each time, by both.
    const auto cropped = image(model, 8);
    bench.add({.name = "copy and crop" + type,
               .ours =
                   [=] {
                     *cropped = *other;
                     CPxMiscProcessing(cropped.get()).Crop(rect);
                   },
               .peer = PEER([other, in = mat(*other), whole = cv::Mat(), part = cv::Mat(), width, height]() mutable {
                 in.copyTo(whole);
                 part = whole(cv::Rect(16, 16, width, height)).clone();
               }),
               .copies = copies});
  }
}

}  // namespace
}  // namespace rasterkit::bench

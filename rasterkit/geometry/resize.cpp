// Resize and ResizeEx. Rows are resampled one by one; a source row that serves several destination rows is resampled
// once. What the rows need to know about columns is worked out before the first of them.

#include <rasterkit/geometry/geometry.h>

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/dispatch.h"
#include "rasterkit/core/numbers.h"
#include "rasterkit/geometry/blend.h"
#include "rasterkit/geometry/columns.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rasterkit {
namespace {

int channelsOf(const CPxImage& image) { return CPxImageInfo::GetChannel(image.colorModel); }

bool holds(const CPxImage& image) {
  return Storage::holdsItsPixels(image) && Storage::rowsHold(image, channelsOf(image));
}

bool canBeResized(const CPxImage* source) {
  return source && holds(*source) && source->width > 0 && source->height > 0;
}

int pixelBytes(const CPxImage& image) { return channelsOf(image) * sampleBytes(image.bitsPerSample); }

// An image to read while dst, which may be the same one, is made anew.
class Source {
 public:
  Source(CPxImage& source, CPxImage& dst) : image_(source) {
    if (&source == &dst) moved_ = std::move(source);
    taken_ = &source == &dst;
  }
  const CPxImage& operator*() const { return taken_ ? moved_ : image_; }
  const CPxImage* operator->() const { return &**this; }

 private:
  const CPxImage& image_;
  CPxImage moved_;
  bool taken_;
};

// dst in a new size, with the model, bits, channel bits and palette of the source.
void createLike(const CPxImage& source, int width, int height, CPxImage& dst, Storage::Samples samples) {
  Storage::create(dst, source.colorModel, source.bitsPerSample, width, height, 0, samples);
  if (!dst.IsCreated()) return;
  dst.SetBitsPerSampleEx(source.channelBits);
  dst.palette = source.palette;
  if (samples == Storage::Samples::any) Storage::fillPadding(dst, 0);
}

// The source position of each of `count` output positions, no further than the last.
template <class F>
std::vector<std::int32_t> positions(int count, int sourceCount, F position) {
  std::vector<std::int32_t> all(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) all[static_cast<std::size_t>(i)] = std::clamp(position(i), 0, sourceCount - 1);
  return all;
}

// Whole pixels, each from the column and row of the source that is told.
void pickPixels(const CPxImage& source, const std::vector<std::int32_t>& columns, const std::vector<std::int32_t>& rows,
                CPxImage& dst) {
  const Columns picked(columns, source.width, pixelBytes(source));
  const auto in = viewOf<unsigned char>(source, 1);
  const auto out = viewOf<unsigned char>(dst, 1);
  const std::size_t bytes = columns.size() * static_cast<std::size_t>(pixelBytes(source));
  for (int y = 0; y < out.height; ++y) {
    const int from = rows[static_cast<std::size_t>(y)];
    if (y > 0 && rows[static_cast<std::size_t>(y) - 1] == from)
      copyBytes(out.row(y), out.row(y - 1), bytes);
    else
      picked.pick(in.row(from), out.row(y));
  }
}

int resizeNearest(const CPxImage& source, CPxImage& dst) {
  const auto nearest = [](int from, int to) {
    const double scale = static_cast<double>(from) / to;
    return positions(to, from, [=](int i) { return truncated(i * scale + 0.5); });
  };
  pickPixels(source, nearest(source.width, dst.width), nearest(source.height, dst.height), dst);
  return 1;
}

template <class S>
void resizeBilinear(const CPxImage& source, CPxImage& dst) {
  const auto in = viewOf<S>(source, channelsOf(source));
  const auto out = viewOf<S>(dst, in.channels);
  const Axis rows(in.height, out.height);
  Across<S> across(Axis(in.width, out.width), in.width, in.channels);
  const Down<S> down(rows.share);

  // The two source rows around an output row are neighbours, so each has a place of its own.
  std::vector<S> room[2] = {std::vector<S>(out.samples()), std::vector<S>(out.samples())};
  const S* resampled[2] = {};
  int held[2] = {-1, -1};
  const auto row = [&](int y) {
    const int place = y & 1;
    if (held[place] != y) resampled[place] = across(in.row(y), room[place].data());
    held[place] = y;
    return resampled[place];
  };
  for (int y = 0; y < out.height; ++y) {
    const auto i = static_cast<std::size_t>(y);
    const S* const first = row(rows.first[i]);
    down(first, rows.share[i] == 0 ? first : row(rows.second[i]), i, out.row(y), out.samples());
  }
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxGeometryProcessing::Resize(int width, int height, CPxImage& dst, INTERPOLATION mode) {
  if (!canBeResized(GetImage()) || width < 1 || height < 1) return 0;
  const Source source(*GetImage(), dst);
  const SampleClass samples = sampleClass(source->bitsPerSample);
  if (source->colorModel == CM_INDEX) mode = INTERPOLATION_NEAREST;
  const bool bilinear = mode == INTERPOLATION_BILINEAR;
  const bool written =
      samples != SampleClass::none && (bilinear ? samples != SampleClass::real : mode == INTERPOLATION_NEAREST);

  createLike(*source, width, height, dst, written ? Storage::Samples::any : Storage::Samples::zero);
  if (!written || !dst.IsCreated()) return 0;
  if (!bilinear) return resizeNearest(*source, dst);
  if (samples == SampleClass::byte)
    resizeBilinear<std::uint8_t>(*source, dst);
  else
    resizeBilinear<std::uint16_t>(*source, dst);
  return 0;
}

int CPxGeometryProcessing::Resize(float factor, CPxImage& dst) {
  if (!canBeResized(GetImage()) || !(factor > 0) || !std::isfinite(factor)) return 0;
  const double scale = factor;
  const int width = truncated(GetImage()->width * scale + 0.5), height = truncated(GetImage()->height * scale + 0.5);
  if (width < 1 || height < 1) return 0;

  const Source source(*GetImage(), dst);
  createLike(*source, width, height, dst, Storage::Samples::any);
  if (!dst.IsCreated()) return 1;
  const double step = 1 / scale;
  const auto scaled = [=](int i) { return truncated(i * step); };
  pickPixels(*source, positions(width, source->width, scaled), positions(height, source->height, scaled), dst);
  return 1;
}

int CPxGeometryProcessing::ResizeEx(float factor, CPoint origin, CPxImage& dst) {
  if (!canBeResized(GetImage()) || !holds(dst) || !(factor > 0) || !std::isfinite(factor)) return 0;
  if (pixelBytes(*GetImage()) == 0) return 1;
  if (pixelBytes(*GetImage()) != pixelBytes(dst)) return 0;
  if (dst.width == 0 || dst.height == 0) return 1;  // columns without rows are no work, however many

  CPxImage kept;
  if (&dst == GetImage()) kept = dst;
  const CPxImage& source = &dst == GetImage() ? kept : *GetImage();
  const double step = static_cast<float>(1 / static_cast<double>(factor));
  const auto magnified = [=](int from) {
    const int start = truncated(from * step);
    return [=](int i) { return wrappedDifference(truncated(wrappedSum(i, from) * step), start); };
  };
  pickPixels(source, positions(dst.width, source.width, magnified(origin.x)),
             positions(dst.height, source.height, magnified(origin.y)), dst);
  return 1;
}

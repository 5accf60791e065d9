#pragma once
// Typed rows of an image: what kernels and workers see of it.

#include <rasterkit/core/image.h>

#include "rasterkit/core/storage.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace rasterkit {

template <class S>
struct View {
  S* first = nullptr;
  int width = 0;              // pixels
  int height = 0;             // rows
  int channels = 0;           // samples a pixel
  std::ptrdiff_t stride = 0;  // bytes

  S* row(int y) const {
    using Byte = std::conditional_t<std::is_const_v<S>, const unsigned char, unsigned char>;
    return reinterpret_cast<S*>(reinterpret_cast<Byte*>(first) + stride * y);
  }
  // Samples in a row.
  std::size_t samples() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels); }
  // Whether each row begins where the one before ends.
  bool seamless() const { return stride == static_cast<std::ptrdiff_t>(samples() * sizeof(S)); }
};

// The image's rows as samples of S, with so many channels; the caller has checked that the rows hold them. An image
// without columns gives no rows, so that two thousand million empty ones cost no time.
template <class S>
View<S> viewOf(CPxImage& image, int channels) {
  return {static_cast<S*>(image.GetBuffer()), image.width, image.width == 0 ? 0 : image.height, channels,
          image.bytesPerLine};
}
template <class S>
View<const S> viewOf(const CPxImage& image, int channels) {
  return {static_cast<const S*>(image.GetBuffer()), image.width, image.width == 0 ? 0 : image.height, channels,
          image.bytesPerLine};
}

// Makes all rows one, in each of several views of the same size, where nothing lies between the rows of any: for
// operations that treat samples or pixels alike wherever they are. At the end of every row the processor guesses wrong
// and waits for memory again, which is a third of the time of a sum of two images with rows of 4 KB.
template <class... S>
void joinRows(View<S>&... views) {
  const auto join = [](auto& view) {
    view.width *= view.height;
    view.height = 1;
  };
  if (((views.seamless() && views.height > 1) && ...)) (join(views), ...);
}

}  // namespace rasterkit

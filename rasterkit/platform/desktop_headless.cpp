// The desktop of systems that have none: messages go to standard error, the clipboard and icons are memory of the
// process, language libraries are shared objects.

#include "rasterkit/platform/desktop_seam.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>

namespace rasterkit {
namespace {

std::mutex clipboardGuard;
std::vector<unsigned char> clipboard;

struct Icon {
  CSize size;
  std::vector<unsigned char> pixels;
};

Icon* iconOf(HICON handle) { return reinterpret_cast<Icon*>(handle); }

struct Colour {
  unsigned char blue, green, red;
  friend bool operator==(const Colour&, const Colour&) = default;
};

// The colours of a bitmap block, top row first.
class Bitmap {
 public:
  explicit Bitmap(const BITMAPINFOHEADER* head)
      : width(head->biWidth),
        height(head->biHeight),
        bits_(head->biBitCount),
        stride_((static_cast<std::size_t>(width) * bits_ + 31) / 32 * 4),
        table_(reinterpret_cast<const unsigned char*>(head) + head->biSize),
        rows_(table_ + std::size_t{head->biClrUsed} * 4) {}

  Colour at(int x, int y) const {
    const unsigned char* const row = rows_ + static_cast<std::size_t>(height - 1 - y) * stride_;
    const unsigned char* const pixel = bits_ == 8 ? table_ + std::size_t{row[x]} * 4 : row + std::size_t(x) * bits_ / 8;
    return {pixel[0], pixel[1], pixel[2]};
  }

  const int width;
  const int height;

 private:
  const std::size_t bits_;
  const std::size_t stride_;
  const unsigned char* const table_;
  const unsigned char* const rows_;
};

// How much of output cell `to` (of toCount) lies in source cell `from` (of fromCount), in units in which a source cell
// is toCount long and an output cell fromCount.
std::uint64_t overlap(int to, int toCount, int from, int fromCount) {
  const auto start = std::max(std::int64_t{to} * fromCount, std::int64_t{from} * toCount);
  const auto end = std::min((std::int64_t{to} + 1) * fromCount, (std::int64_t{from} + 1) * toCount);
  return static_cast<std::uint64_t>(end - start);
}

// The mean of the source pixels that icon pixel (x, y) covers, weighted by the covered area, rounded to nearest.
Colour meanOf(const Bitmap& bitmap, CSize size, int x, int y) {
  const auto firstOf = [](int to, int toCount, int fromCount) { return int(std::int64_t{to} * fromCount / toCount); };
  const auto lastOf = [](int to, int toCount, int fromCount) {
    return int(((std::int64_t{to} + 1) * fromCount - 1) / toCount);
  };
  std::uint64_t blue = 0, green = 0, red = 0;
  const int lastX = lastOf(x, size.cx, bitmap.width), lastY = lastOf(y, size.cy, bitmap.height);
  for (int v = firstOf(y, size.cy, bitmap.height); v <= lastY; ++v)
    for (int u = firstOf(x, size.cx, bitmap.width); u <= lastX; ++u) {
      const std::uint64_t area = overlap(x, size.cx, u, bitmap.width) * overlap(y, size.cy, v, bitmap.height);
      const Colour colour = bitmap.at(u, v);
      blue += area * colour.blue;
      green += area * colour.green;
      red += area * colour.red;
    }
  const std::uint64_t whole = static_cast<std::uint64_t>(bitmap.width) * static_cast<std::uint64_t>(bitmap.height);
  const auto rounded = [whole](std::uint64_t sum) { return static_cast<unsigned char>((sum + whole / 2) / whole); };
  return {rounded(blue), rounded(green), rounded(red)};
}

}  // namespace

void startDesktop() {}

int showSystemMessage(const std::string& text, const std::string& caption, unsigned int, MessageOwner) {
  std::fprintf(stderr, "%s: %s\n", caption.c_str(), text.c_str());
  return 1;
}

void placeOnClipboard(HWND, const void* block, std::size_t bytes) {
  const auto* const first = static_cast<const unsigned char*>(block);
  std::vector<unsigned char> placed(first, first + (block ? bytes : 0));
  const std::lock_guard lock(clipboardGuard);
  clipboard.swap(placed);
}

std::vector<unsigned char> clipboardBlock() {
  const std::lock_guard lock(clipboardGuard);
  return clipboard;
}

HICON makeIcon(const BITMAPINFOHEADER* head, CSize size, DWORD colour) {
  // Beyond this an icon cannot be addressed; far below it, its memory cannot be had.
  if (std::int64_t{size.cx} * size.cy > PTRDIFF_MAX / 4) throw std::bad_alloc();
  auto icon = std::make_unique<Icon>();
  icon->size = size;
  icon->pixels.resize(static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(size.cy) * 4);

  const Colour behind{static_cast<unsigned char>(colour >> 16), static_cast<unsigned char>(colour >> 8),
                      static_cast<unsigned char>(colour)};
  const bool scaled = head && head->biWidth >= size.cx && head->biHeight >= size.cy;
  const auto drawn = [&](int x, int y) -> Colour {
    if (!head) return behind;
    const Bitmap bitmap(head);
    if (scaled) return meanOf(bitmap, size, x, y);
    const int u = x - (size.cx - bitmap.width) / 2, v = y - (size.cy - bitmap.height) / 2;
    const bool inside = u >= 0 && v >= 0 && u < bitmap.width && v < bitmap.height;
    return inside ? bitmap.at(u, v) : behind;
  };

  unsigned char* pixel = icon->pixels.data();
  for (int y = 0; y < size.cy; ++y)
    for (int x = 0; x < size.cx; ++x, pixel += 4) {
      const Colour shown = drawn(x, y);
      if (shown == behind) continue;
      pixel[0] = shown.blue;
      pixel[1] = shown.green;
      pixel[2] = shown.red;
      pixel[3] = 255;
    }
  return reinterpret_cast<HICON>(icon.release());
}

std::vector<unsigned char> iconPixels(HICON handle, CSize& size) {
  const Icon* const icon = iconOf(handle);
  size = icon ? icon->size : CSize();
  return icon ? icon->pixels : std::vector<unsigned char>();
}

HINSTANCE ownModule() {
  Dl_info found{};
  dladdr(reinterpret_cast<const void*>(&ownModule), &found);
  return static_cast<HINSTANCE>(found.dli_fbase);
}

std::string ownFolder() {
  Dl_info found{};
  link_map* module = nullptr;
  if (!dladdr1(reinterpret_cast<const void*>(&ownFolder), &found, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP))
    return {};
  // The program itself has no name among the loaded modules.
  const std::filesystem::path name = module->l_name && *module->l_name ? module->l_name : "/proc/self/exe";
  std::error_code failed;
  const std::filesystem::path whole = std::filesystem::canonical(name, failed);
  return failed ? std::string() : (whole.parent_path() / "").string();
}

char pathSeparator() { return '/'; }

HINSTANCE loadLanguageLibrary(const std::string& path) {
  return static_cast<HINSTANCE>(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
}

void freeLanguageLibrary(HINSTANCE library) {
  if (library) dlclose(library);
}

std::string languageString(HINSTANCE library, unsigned int id) {
  if (!library) return {};
  using Lookup = const char* (*)(unsigned int);
  const auto lookup = reinterpret_cast<Lookup>(dlsym(library, "rasterkitString"));
  const char* const text = lookup ? lookup(id) : nullptr;
  return text ? text : "";
}

}  // namespace rasterkit

int DestroyIcon(HICON icon) {
  delete rasterkit::iconOf(icon);
  return icon != nullptr;
}

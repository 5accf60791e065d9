// The desktop of Windows: its message box, clipboard, drawing and resource libraries.

#include "rasterkit/platform/desktop_seam.h"

#include <commctrl.h>

#include <cstring>
#include <new>

extern "C" IMAGE_DOS_HEADER __ImageBase;  // the linker's name for the start of the module that it makes

namespace rasterkit {
namespace {

// The image list of the last icon conversion. It lives until the next one or until the library is unloaded: the
// runtime's entry point destroys static objects then, in a DLL and in a program alike.
class IconList {
 public:
  ~IconList() { ImageList_Destroy(list_); }

  HIMAGELIST renew(CSize size) {
    ImageList_Destroy(list_);
    constexpr UINT colourDeviceBitmapsWithMask = 255;
    list_ = ImageList_Create(size.cx, size.cy, colourDeviceBitmapsWithMask, 1, 1);
    return list_;
  }

 private:
  HIMAGELIST list_ = nullptr;
};
IconList iconList;

// A GDI object that is deleted at the end of its scope.
template <class Handle>
class Owned {
 public:
  explicit Owned(Handle handle) : handle_(handle) {}
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() {
    if (handle_) DeleteObject(handle_);
  }
  operator Handle() const { return handle_; }

 private:
  Handle handle_;
};

// A memory context compatible with the screen, and a bitmap selected into it.
class Canvas {
 public:
  Canvas(HDC context, HBITMAP bitmap) : context_(context), before_(SelectObject(context, bitmap)) {}
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  ~Canvas() {
    SelectObject(context_, before_);
    DeleteDC(context_);
  }
  operator HDC() const { return context_; }

 private:
  HDC context_;
  HGDIOBJ before_;
};

void drawBitmap(HDC canvas, const BITMAPINFOHEADER& head, CSize size) {
  const auto* const info = reinterpret_cast<const BITMAPINFO*>(&head);
  const auto* const rows =
      reinterpret_cast<const unsigned char*>(&head) + head.biSize + head.biClrUsed * sizeof(RGBQUAD);
  if (head.biWidth < size.cx || head.biHeight < size.cy) {
    SetDIBitsToDevice(canvas, (size.cx - head.biWidth) / 2, (size.cy - head.biHeight) / 2,
                      static_cast<DWORD>(head.biWidth), static_cast<DWORD>(head.biHeight), 0, 0, 0,
                      static_cast<UINT>(head.biHeight), rows, info, DIB_RGB_COLORS);
  } else {
    SetStretchBltMode(canvas, HALFTONE);
    StretchDIBits(canvas, 0, 0, size.cx, size.cy, 0, 0, head.biWidth, head.biHeight, rows, info, DIB_RGB_COLORS,
                  SRCCOPY);
  }
}

// The pixels of a device bitmap: blue, green, red and an unused byte, rows top-down.
std::vector<unsigned char> pixelsOf(HDC screen, HBITMAP bitmap, CSize size) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = size.cx;
  info.bmiHeader.biHeight = -size.cy;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  std::vector<unsigned char> pixels(static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(size.cy) * 4);
  GetDIBits(screen, bitmap, 0, static_cast<UINT>(size.cy), pixels.data(), &info, DIB_RGB_COLORS);
  return pixels;
}

}  // namespace

void startDesktop() { InitCommonControls(); }

int showSystemMessage(const std::string& text, const std::string& caption, unsigned int style, MessageOwner owner) {
  const HWND active = owner == MessageOwner::activeWindow ? GetActiveWindow() : nullptr;
  return MessageBoxA(active ? GetLastActivePopup(active) : nullptr, text.c_str(), caption.c_str(), style);
}

void placeOnClipboard(HWND owner, const void* block, std::size_t bytes) {
  if (!OpenClipboard(owner)) return;
  EmptyClipboard();
  // Moveable as well: the clipboard takes no other memory.
  const HGLOBAL memory = block ? GlobalAlloc(GMEM_DDESHARE | GMEM_MOVEABLE, bytes) : nullptr;
  if (memory) {
    std::memcpy(GlobalLock(memory), block, bytes);
    GlobalUnlock(memory);
    if (!SetClipboardData(CF_DIB, memory)) GlobalFree(memory);
  }
  CloseClipboard();
  if (block && !memory) throw std::bad_alloc();
}

std::vector<unsigned char> clipboardBlock() {
  std::vector<unsigned char> block;
  if (!OpenClipboard(nullptr)) return block;
  const HGLOBAL memory = GetClipboardData(CF_DIB);
  if (const auto* const bytes = memory ? static_cast<const unsigned char*>(GlobalLock(memory)) : nullptr) {
    block.assign(bytes, bytes + GlobalSize(memory));
    GlobalUnlock(memory);
  }
  CloseClipboard();
  return block;
}

HICON makeIcon(const BITMAPINFOHEADER* head, CSize size, DWORD colour) {
  const COLORREF behind = colour & 0xFFFFFF;
  const HDC screen = GetDC(nullptr);
  const Owned bitmap(CreateCompatibleBitmap(screen, size.cx, size.cy));
  const HDC context = CreateCompatibleDC(screen);
  ReleaseDC(nullptr, screen);
  if (!bitmap || !context) {
    DeleteDC(context);
    throw std::bad_alloc();
  }
  {
    const Canvas canvas(context, bitmap);
    const RECT whole{0, 0, size.cx, size.cy};
    FillRect(canvas, &whole, Owned(CreateSolidBrush(behind)));
    if (head) drawBitmap(canvas, *head, size);
  }
  const HIMAGELIST list = iconList.renew(size);
  ImageList_AddMasked(list, bitmap, behind);
  return ImageList_GetIcon(list, 0, ILD_NORMAL);
}

std::vector<unsigned char> iconPixels(HICON icon, CSize& size) {
  size = CSize();
  ICONINFO parts{};
  if (!icon || !GetIconInfo(icon, &parts)) return {};
  const Owned colours(parts.hbmColor);
  const Owned mask(parts.hbmMask);
  BITMAP shape{};
  if (!colours || !GetObjectA(colours, sizeof shape, &shape)) return {};
  size = CSize(shape.bmWidth, shape.bmHeight);

  const HDC screen = GetDC(nullptr);
  std::vector<unsigned char> pixels = pixelsOf(screen, colours, size);
  const std::vector<unsigned char> masked = pixelsOf(screen, mask, size);
  ReleaseDC(nullptr, screen);
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    if (masked[i])
      std::memset(&pixels[i], 0, 4);
    else
      pixels[i + 3] = 255;
  }
  return pixels;
}

HINSTANCE ownModule() { return reinterpret_cast<HINSTANCE>(&__ImageBase); }

std::string ownFolder() {
  char path[32768];
  const std::string_view whole(path, GetModuleFileNameA(ownModule(), path, sizeof path));
  return std::string(whole.substr(0, whole.find_last_of('\\') + 1));
}

char pathSeparator() { return '\\'; }

HINSTANCE loadLanguageLibrary(const std::string& path) { return LoadLibraryA(path.c_str()); }

void freeLanguageLibrary(HINSTANCE library) {
  if (library) FreeLibrary(library);
}

std::string languageString(HINSTANCE library, unsigned int id) {
  char text[4096];
  // Null would mean the program's own resources.
  const int length = library ? LoadStringA(library, id, text, sizeof text) : 0;
  return std::string(text, static_cast<std::size_t>(length));
}

}  // namespace rasterkit

#pragma once
/// The value types, containers, files and exceptions of the desktop framework that public signatures use, the same on
/// every system. On Windows the system's own header supplies the Windows names; elsewhere they are declared here.
///
/// Threads: distinct objects may be used from distinct threads at once; one object may not.

#include <rasterkit/platform/export.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#if defined(_WIN32)

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#else

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;

// Handles are opaque: each is a pointer to a type of its own that is never defined.
using HWND = struct HWND__*;
using HICON = struct HICON__*;
using HINSTANCE = struct HINSTANCE__*;

/// The 40-byte head of a device-independent bitmap, Windows layout.
struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};

/// One entry of a bitmap's colour table.
struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};

/// Frees an icon made by the library; null is allowed. Returns non-zero where there was an icon to free.
RASTERKIT_API int DestroyIcon(HICON icon);

#endif

/// A point in pixels: x to the right, y downward.
class CPoint {
 public:
  CPoint() = default;
  CPoint(int x, int y) : x(x), y(y) {}
  friend bool operator==(const CPoint&, const CPoint&) = default;

  int x = 0;
  int y = 0;
};

/// A width and a height in pixels.
class CSize {
 public:
  CSize() = default;
  CSize(int cx, int cy) : cx(cx), cy(cy) {}
  friend bool operator==(const CSize&, const CSize&) = default;

  int cx = 0;
  int cy = 0;
};

/// A rectangle of pixels. Whether right and bottom belong to it is each operation's to say.
class CRect {
 public:
  CRect() = default;
  CRect(int left, int top, int right, int bottom) : left(left), top(top), right(right), bottom(bottom) {}
  friend bool operator==(const CRect&, const CRect&) = default;

  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
};

/// The root of the framework's exceptions; they are thrown by value.
class RASTERKIT_API CException : public std::exception {
 public:
  ~CException() override;
  const char* what() const noexcept override;
};

/// An argument that a framework class refuses: an index outside an array, a negative size.
class RASTERKIT_API CInvalidArgException : public CException {
 public:
  ~CInvalidArgException() override;
  const char* what() const noexcept override;
};

/// A file that cannot be opened, read or written, or that ends too early.
class RASTERKIT_API CFileException : public CException {
 public:
  ~CFileException() override;
  const char* what() const noexcept override;
};

/// A text.
class CString {
 public:
  CString() = default;
  CString(const char* text) : text_(text ? text : "") {}
  CString(std::string text) : text_(std::move(text)) {}

  operator const char*() const { return text_.c_str(); }
  int GetLength() const { return static_cast<int>(text_.size()); }
  bool IsEmpty() const { return text_.empty(); }
  CString& operator+=(const char* more) {
    text_ += more ? more : "";
    return *this;
  }
  friend bool operator==(const CString& a, const CString& b) { return a.text_ == b.text_; }
  friend bool operator==(const CString& a, const char* b) { return b && a.text_ == b; }

 private:
  std::string text_;
};

/// A binary file of 32-bit integers, least byte first, open either for storing or for loading.
///
/// Everything but the destructor throws CFileException: for a file that cannot be opened or written, and for one that
/// ends before what is read from it.
class RASTERKIT_API CArchive {
 public:
  CArchive(const char* path, bool storing);
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;
  /// Closes without reporting; call Close to learn whether everything was written.
  ~CArchive();

  bool IsStoring() const { return storing_; }
  bool IsLoading() const { return !storing_; }
  CArchive& operator<<(std::int32_t value) { return *this << static_cast<std::uint32_t>(value); }
  CArchive& operator>>(std::int32_t& value);
  CArchive& operator<<(std::uint32_t value);
  CArchive& operator>>(std::uint32_t& value);
#if defined(_WIN32)
  CArchive& operator<<(DWORD value) { return *this << static_cast<std::uint32_t>(value); }
  CArchive& operator>>(DWORD& value);
#endif
  CArchive& operator<<(const CPoint& point) { return *this << std::int32_t{point.x} << std::int32_t{point.y}; }
  CArchive& operator>>(CPoint& point);
  void Close();

 private:
  std::FILE* file_;
  bool storing_;
};

/// A text file whose lines end in carriage return and line feed on every system.
///
/// Throws CFileException for a file that cannot be opened or written.
class RASTERKIT_API CStdioFile {
 public:
  enum OpenFlags : int { modeRead = 0x0, modeWrite = 0x1, modeReadWrite = 0x2, modeCreate = 0x1000, typeText = 0x4000 };

  CStdioFile(const char* path, int openFlags);
  CStdioFile(const CStdioFile&) = delete;
  CStdioFile& operator=(const CStdioFile&) = delete;
  ~CStdioFile();

  /// Writes the text, each '\n' as carriage return and line feed.
  void WriteString(const char* text);
  /// Reads one line without its end; false at the end of the file.
  bool ReadString(CString& line);
  void Close();

 private:
  std::FILE* file_;
};

/// A growable array. An index outside it, or a negative size, throws CInvalidArgException.
///
/// Room grows by the growth step of SetSize; without one by an eighth of the size, at least 4 and at most 1024
/// elements. New elements are value-initialised.
template <class T>
class CArray {
 public:
  int GetSize() const { return static_cast<int>(elements_.size()); }
  bool IsEmpty() const { return elements_.empty(); }
  /// Elements that fit without another allocation.
  int GetCapacity() const { return static_cast<int>(elements_.capacity()); }

  T& GetAt(int index) { return elements_[checked(index, GetSize())]; }
  const T& GetAt(int index) const { return elements_[checked(index, GetSize())]; }
  T& operator[](int index) { return GetAt(index); }
  const T& operator[](int index) const { return GetAt(index); }

  /// Appends the element and returns its index.
  int Add(T element) {
    const int index = GetSize();
    SetSize(index + 1);
    elements_.back() = std::move(element);
    return index;
  }

  /// growBy: how many elements room is made for at a time; -1 keeps the present step, 0 is the default rule.
  void SetSize(int size, int growBy = -1) {
    if (size < 0) throw CInvalidArgException();
    if (growBy >= 0) growBy_ = growBy;
    const auto needed = static_cast<std::size_t>(size);
    if (needed > elements_.capacity()) {
      std::size_t step = static_cast<std::size_t>(growBy_);
      if (step == 0) {
        step = elements_.size() / 8;
        step = step < 4 ? 4 : step > 1024 ? 1024 : step;
      }
      const std::size_t grown = elements_.capacity() + step;
      elements_.reserve(elements_.empty() || grown < needed ? needed : grown);
    }
    elements_.resize(needed);
  }

  void RemoveAt(int index) { elements_.erase(elements_.begin() + checked(index, GetSize())); }

  /// Empties the array and releases its room.
  void RemoveAll() { std::vector<T>().swap(elements_); }

  /// Stores the count and the elements, or loads them in place of what the array held. A negative count in the file, or
  /// a file that ends too early, throws CFileException; the array then keeps the elements that could be read.
  void Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
      archive << std::int32_t{GetSize()};
      for (const T& element : elements_) archive << element;
      return;
    }
    std::int32_t count = 0;
    archive >> count;
    if (count < 0) throw CFileException();
    RemoveAll();
    // One at a time: a count that lies must not allocate more than the file can fill.
    for (std::int32_t i = 0; i < count; ++i) {
      T element{};
      archive >> element;
      Add(element);
    }
  }

 private:
  static int checked(int index, int size) {
    if (index < 0 || index >= size) throw CInvalidArgException();
    return index;
  }

  std::vector<T> elements_;
  int growBy_ = 0;
};

/// A growable array of pointers that it does not own.
using CPtrArray = CArray<void*>;

#include <rasterkit/platform/framework.h>

// The destructors stand here so that each exception's type information has one home, the library.
CException::~CException() = default;
CInvalidArgException::~CInvalidArgException() = default;
CFileException::~CFileException() = default;

const char* CException::what() const noexcept { return "framework exception"; }
const char* CInvalidArgException::what() const noexcept { return "invalid argument"; }
const char* CFileException::what() const noexcept { return "file cannot be opened, read or written"; }

CArchive::CArchive(const char* path, bool storing)
    : file_(path ? std::fopen(path, storing ? "wb" : "rb") : nullptr), storing_(storing) {
  if (!file_) throw CFileException();
}

CArchive::~CArchive() {
  if (file_) std::fclose(file_);
}

CArchive& CArchive::operator<<(std::uint32_t value) {
  const unsigned char bytes[4] = {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
                                  static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
  if (!file_ || !storing_ || std::fwrite(bytes, 1, 4, file_) != 4) throw CFileException();
  return *this;
}

CArchive& CArchive::operator>>(std::uint32_t& value) {
  unsigned char bytes[4];
  if (!file_ || storing_ || std::fread(bytes, 1, 4, file_) != 4) throw CFileException();
  value = bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
  return *this;
}

CArchive& CArchive::operator>>(std::int32_t& value) {
  std::uint32_t bits = 0;
  *this >> bits;
  value = static_cast<std::int32_t>(bits);
  return *this;
}

#if defined(_WIN32)
CArchive& CArchive::operator>>(DWORD& value) {
  std::uint32_t bits = 0;
  *this >> bits;
  value = bits;
  return *this;
}
#endif

CArchive& CArchive::operator>>(CPoint& point) {
  std::int32_t x = 0, y = 0;
  *this >> x >> y;
  point = CPoint(x, y);
  return *this;
}

void CArchive::Close() {
  std::FILE* const file = std::exchange(file_, nullptr);
  if (file && std::fclose(file) != 0) throw CFileException();
}

CStdioFile::CStdioFile(const char* path, int openFlags) : file_(nullptr) {
  const bool writes = (openFlags & (modeWrite | modeReadWrite)) != 0;
  // Binary on every system: the line ends are written here, so that the bytes are the same everywhere.
  const char* const mode = openFlags & modeCreate ? "w+b" : writes ? "r+b" : "rb";
  if (path) file_ = std::fopen(path, mode);
  if (!file_) throw CFileException();
}

CStdioFile::~CStdioFile() {
  if (file_) std::fclose(file_);
}

void CStdioFile::WriteString(const char* text) {
  if (!file_) throw CFileException();
  for (; text && *text; ++text) {
    if (*text == '\n' && std::fputc('\r', file_) == EOF) throw CFileException();
    if (std::fputc(*text, file_) == EOF) throw CFileException();
  }
}

bool CStdioFile::ReadString(CString& line) {
  if (!file_) throw CFileException();
  std::string read;
  int c = std::fgetc(file_);
  if (c == EOF) return false;
  for (; c != EOF && c != '\n'; c = std::fgetc(file_)) read += static_cast<char>(c);
  if (!read.empty() && read.back() == '\r') read.pop_back();
  line = CString(std::move(read));
  return true;
}

void CStdioFile::Close() {
  std::FILE* const file = std::exchange(file_, nullptr);
  if (file && std::fclose(file) != 0) throw CFileException();
}

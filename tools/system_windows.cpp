#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <psapi.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "tools/failure.h"
#include "tools/paths.h"
#include "tools/system.h"

namespace rasterkit::tools {
namespace {

// In the words of the other systems, so that scripts need not tell them apart.
std::string reason(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME: return "no such file or directory";
    case ERROR_ACCESS_DENIED: return "permission denied";
    case ERROR_WRITE_PROTECT: return "read-only file system";
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE: return "is in use by another program";
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: return "no space left on device";
    case ERROR_FILE_TOO_LARGE: return "file too large";
    case ERROR_FILENAME_EXCED_RANGE: return "file name too long";
    default: return "Windows error " + std::to_string(error);
  }
}

[[noreturn]] void cannotRead(const std::filesystem::path& path, const std::string& why) {
  throw Failure(ExitCode::unreadable, textOf(path) + ": " + why);
}

[[noreturn]] void cannotWrite(const std::filesystem::path& path, const std::string& why) {
  throw Failure(ExitCode::unwritable, textOf(path) + ": " + why);
}

constexpr const char* kChanged = "was changed while it was read; try again when that is done";

struct File {
  HANDLE handle;
  ~File() {
    if (isOpen()) close();
  }
  bool isOpen() const { return handle != INVALID_HANDLE_VALUE; }
  bool close() { return CloseHandle(std::exchange(handle, INVALID_HANDLE_VALUE)) != 0; }
};

// Removed again unless it was renamed.
struct TemporaryFile {
  std::filesystem::path path;
  ~TemporaryFile() {
    if (!path.empty()) DeleteFileW(path.c_str());
  }
};

// The system moves at most that many bytes in one call.
DWORD pieceOf(std::size_t count) { return static_cast<DWORD>(std::min<std::size_t>(count, 1U << 30)); }

// The first request stops the program between two steps, the second one at once.
BOOL WINAPI stop(DWORD) { return stopRequested.exchange(true) ? FALSE : TRUE; }

HANDLE errors() { return GetStdHandle(STD_ERROR_HANDLE); }

// Whether the pattern's rest matches the name's: * for any characters, ? for one, [a-c] for one of a set, [!a] for
// others.
bool matches(std::wstring_view pattern, std::wstring_view name) {
  if (pattern.empty()) return name.empty();
  const wchar_t first = pattern[0];
  if (first == L'*') {
    for (std::size_t i = 0; i <= name.size(); ++i)
      if (matches(pattern.substr(1), name.substr(i))) return true;
    return false;
  }
  if (name.empty()) return false;
  const std::size_t end = first == L'[' ? pattern.find(L']', 2) : std::wstring_view::npos;
  if (end == std::wstring_view::npos)
    // Names that differ in capitals alone are the same file.
    return (first == L'?' || towlower(first) == towlower(name[0])) && matches(pattern.substr(1), name.substr(1));
  const bool others = pattern[1] == L'!';
  bool held = false;
  for (std::size_t i = others ? 2 : 1; i < end; ++i) {
    const bool range = i + 2 < end && pattern[i + 1] == L'-';
    held = held || (name[0] >= pattern[i] && name[0] <= pattern[range ? i + 2 : i]);
    if (range) i += 2;
  }
  return held != others && matches(pattern.substr(end + 1), name.substr(1));
}

}  // namespace

std::atomic<bool> stopRequested = false;

std::vector<std::string> programArguments(int, char**) {
  SetConsoleOutputCP(CP_UTF8);
  // The same bytes as on other systems.
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  int count = 0;
  const std::unique_ptr<LPWSTR[], decltype(&LocalFree)> words(CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(textOf(words[static_cast<std::size_t>(i)]));
  return arguments;
}

std::vector<unsigned char> readFile(const std::filesystem::path& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) cannotRead(path, reason(GetLastError()));
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) cannotRead(path, "is a folder, not an image file");
  const File file{CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)};
  if (!file.isOpen()) cannotRead(path, reason(GetLastError()));
  if (GetFileType(file.handle) != FILE_TYPE_DISK) cannotRead(path, "is not a regular file");
  BY_HANDLE_FILE_INFORMATION before{};
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(file.handle, &size) || !GetFileInformationByHandle(file.handle, &before))
    cannotRead(path, reason(GetLastError()));
  if (size.QuadPart > kMostBytes) cannotRead(path, "is larger than the 4 GiB that a file may have");

  std::vector<unsigned char> bytes(static_cast<std::size_t>(size.QuadPart));
  for (std::size_t held = 0; held < bytes.size();) {
    DWORD count = 0;
    if (!ReadFile(file.handle, bytes.data() + held, pieceOf(bytes.size() - held), &count, nullptr))
      cannotRead(path, reason(GetLastError()));
    if (count == 0) cannotRead(path, kChanged);
    held += count;
  }
  BY_HANDLE_FILE_INFORMATION after{};
  if (!GetFileInformationByHandle(file.handle, &after)) cannotRead(path, reason(GetLastError()));
  if (after.nFileSizeLow != before.nFileSizeLow || after.nFileSizeHigh != before.nFileSizeHigh ||
      CompareFileTime(&after.ftLastWriteTime, &before.ftLastWriteTime) != 0)
    cannotRead(path, kChanged);
  return bytes;
}

void replaceFile(const std::filesystem::path& given, std::span<const unsigned char> bytes) {
  // Through a link to the file itself, so that the link stays.
  const std::filesystem::path path = behindLinks(given), folder = folderOf(path);
  std::error_code error;

  const DWORD attributes = GetFileAttributesW(path.c_str());
  const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
  if (exists && attributes & FILE_ATTRIBUTE_DIRECTORY) cannotWrite(given, "is a folder; name a file in it");
  if (exists && attributes & FILE_ATTRIBUTE_READONLY) cannotWrite(given, "permission denied");
  if (!exists && !std::filesystem::is_directory(folder, error))
    cannotWrite(given, "there is no folder " + textOf(folder) + "; make it first");

  // A name of its own for each process and each file.
  static std::atomic<unsigned> number = 0;
  TemporaryFile temporary;
  File file{INVALID_HANDLE_VALUE};  // closed before the other is removed
  do {
    temporary.path =
        folder / (L".rasterkit-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number) + L".tmp");
    file.handle =
        CreateFileW(temporary.path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  } while (!file.isOpen() && GetLastError() == ERROR_FILE_EXISTS);
  if (!file.isOpen()) {
    const DWORD code = GetLastError();
    temporary.path.clear();
    cannotWrite(given, reason(code));
  }
  for (std::size_t written = 0; written < bytes.size();) {
    DWORD count = 0;
    if (!WriteFile(file.handle, bytes.data() + written, pieceOf(bytes.size() - written), &count, nullptr))
      cannotWrite(given, reason(GetLastError()));
    written += count;
  }
  if (!FlushFileBuffers(file.handle) || !file.close() ||
      !MoveFileExW(temporary.path.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    cannotWrite(given, reason(GetLastError()));
  temporary.path.clear();
}

void watchForStop() {
  SetConsoleCtrlHandler(nullptr, FALSE);
  SetConsoleCtrlHandler(stop, TRUE);
}

bool errorIsTerminal() {
  DWORD mode = 0;
  // The progress bar is drawn with escape sequences.
  return GetConsoleMode(errors(), &mode) && SetConsoleMode(errors(), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

int terminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  return GetConsoleScreenBufferInfo(errors(), &info) && info.dwSize.X > 0 ? info.dwSize.X : 80;
}

// As the system's allocator does of itself.
void returnLargeBlocks() {}

std::size_t peakMemory() {
  PROCESS_MEMORY_COUNTERS used{};
  return GetProcessMemoryInfo(GetCurrentProcess(), &used, sizeof used) ? used.PeakWorkingSetSize : 0;
}

std::vector<std::filesystem::path> matching(const std::string& pattern) {
  std::vector<std::filesystem::path> found = {{}};
  for (const std::filesystem::path& part : pathOf(pattern)) {
    std::vector<std::filesystem::path> longer;
    const bool isPattern = part.native().find_first_of(L"*?[") != std::wstring::npos;
    for (const std::filesystem::path& folder : found) {
      std::error_code error;
      if (!isPattern) {
        if (folder.empty() || std::filesystem::exists(folder / part, error)) longer.push_back(folder / part);
        continue;
      }
      for (const auto& entry : std::filesystem::directory_iterator(folder.empty() ? "." : folder, error)) {
        const std::filesystem::path name = entry.path().filename();
        // Hidden files are asked for by their dot.
        if (matches(part.native(), name.native()) && (name.native()[0] != L'.' || part.native()[0] == L'.'))
          longer.push_back(folder / name);
      }
    }
    found = std::move(longer);
  }
  std::ranges::sort(found);
  return found;
}

}  // namespace rasterkit::tools

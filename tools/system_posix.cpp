#include <fcntl.h>
#include <glob.h>
#include <malloc.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/failure.h"
#include "tools/paths.h"
#include "tools/system.h"

namespace rasterkit::tools {
namespace {

std::string reason(int error) {
  std::string text = std::strerror(error);
  if (!text.empty() && text[0] >= 'A' && text[0] <= 'Z') text[0] = static_cast<char>(text[0] - 'A' + 'a');
  return text;
}

[[noreturn]] void cannotRead(const std::filesystem::path& path, const std::string& why) {
  throw Failure(ExitCode::unreadable, path.string() + ": " + why);
}

[[noreturn]] void cannotWrite(const std::filesystem::path& path, const std::string& why) {
  throw Failure(ExitCode::unwritable, path.string() + ": " + why);
}

constexpr const char* kChanged = "was changed while it was read; try again when that is done";

struct Descriptor {
  int number;
  ~Descriptor() { close(); }
  int close() {
    const int open = number;
    number = -1;
    return open >= 0 ? ::close(open) : 0;
  }
};

// Removed again unless it was renamed.
struct TemporaryFile {
  std::string path;
  ~TemporaryFile() {
    if (!path.empty()) ::unlink(path.c_str());
  }
};

// The permissions that a new file gets.
mode_t usualMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

void stop(int) {
  stopRequested = true;
  ::signal(SIGINT, SIG_DFL);
  ::signal(SIGTERM, SIG_DFL);
}

}  // namespace

std::atomic<bool> stopRequested = false;
static_assert(std::atomic<bool>::is_always_lock_free);

std::vector<std::string> programArguments(int argc, char** argv) { return {argv, argv + argc}; }

std::vector<unsigned char> readFile(const std::filesystem::path& path) {
  // Not to wait for a pipe's writer.
  Descriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  if (file.number < 0) cannotRead(path, reason(errno));
  struct stat status {};
  if (::fstat(file.number, &status) != 0) cannotRead(path, reason(errno));
  if (S_ISDIR(status.st_mode)) cannotRead(path, "is a folder, not an image file");
  if (!S_ISREG(status.st_mode)) cannotRead(path, "is not a regular file");
  if (status.st_size > kMostBytes) cannotRead(path, "is larger than the 4 GiB that a file may have");

  std::vector<unsigned char> bytes(static_cast<std::size_t>(status.st_size));
  std::size_t held = 0;
  while (held < bytes.size()) {
    const ssize_t count = ::read(file.number, bytes.data() + held, bytes.size() - held);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) cannotRead(path, reason(errno));
    if (count == 0) cannotRead(path, kChanged);
    held += static_cast<std::size_t>(count);
  }
  struct stat after {};
  if (::fstat(file.number, &after) != 0) cannotRead(path, reason(errno));
  if (after.st_size != status.st_size || after.st_mtim.tv_sec != status.st_mtim.tv_sec ||
      after.st_mtim.tv_nsec != status.st_mtim.tv_nsec)
    cannotRead(path, kChanged);
  return bytes;
}

void replaceFile(const std::filesystem::path& given, std::span<const unsigned char> bytes) {
  // Through a link to the file itself, so that the link stays.
  const std::filesystem::path path = behindLinks(given), folder = folderOf(path);
  std::error_code error;

  struct stat status {};
  const bool exists = ::stat(path.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) cannotWrite(given, "is a folder; name a file in it");
  if (exists && !S_ISREG(status.st_mode)) cannotWrite(given, "is not a regular file");
  if (exists && ::access(path.c_str(), W_OK) != 0) cannotWrite(given, reason(errno));
  if (!exists && !std::filesystem::is_directory(folder, error))
    cannotWrite(given, "there is no folder " + folder.string() + "; make it first");

  std::string pattern = (folder / (".rasterkit-XXXXXX")).string();
  Descriptor file{::mkostemp(pattern.data(), O_CLOEXEC)};
  if (file.number < 0) cannotWrite(given, reason(errno));
  TemporaryFile temporary{pattern};
  for (std::size_t written = 0; written < bytes.size();) {
    const ssize_t count = ::write(file.number, bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) cannotWrite(given, reason(errno));
    written += static_cast<std::size_t>(count);
  }
  // Some file systems tell only here that they are full.
  if (::fsync(file.number) != 0 && errno != EINVAL) cannotWrite(given, reason(errno));
  static const mode_t mode = usualMode();
  if (::fchmod(file.number, exists ? status.st_mode & 07777 : mode) != 0 || file.close() != 0 ||
      ::rename(temporary.path.c_str(), path.c_str()) != 0)
    cannotWrite(given, reason(errno));
  temporary.path.clear();
}

void watchForStop() {
  struct sigaction action {};
  action.sa_handler = stop;
  action.sa_flags = SA_RESTART;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
  // A file that grows beyond a limit is an error like a full disk, not the end.
  ::signal(SIGXFSZ, SIG_IGN);
}

bool errorIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

int terminalWidth() {
  winsize size{};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void returnLargeBlocks() {
#ifdef M_MMAP_THRESHOLD
  ::mallopt(M_MMAP_THRESHOLD, 1 << 20);
#endif
}

std::size_t peakMemory() {
  rusage used{};
  return ::getrusage(RUSAGE_SELF, &used) == 0 ? static_cast<std::size_t>(used.ru_maxrss) * 1024 : 0;
}

std::vector<std::filesystem::path> matching(const std::string& pattern) {
  glob_t found{};
  std::vector<std::filesystem::path> paths;
  if (::glob(pattern.c_str(), 0, nullptr, &found) == 0) paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  ::globfree(&found);
  return paths;
}

}  // namespace rasterkit::tools

#include "tests/support/files.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace rasterkit::test {
namespace {

// A folder for this run, removed with everything in it at the end.
struct Folder {
  std::filesystem::path path;
  Folder() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    for (auto attempt = now;; ++attempt) {
      path = std::filesystem::temp_directory_path() / ("rasterkit-test-" + std::to_string(attempt));
      if (std::filesystem::create_directory(path)) return;
    }
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
};

}  // namespace

std::string temporaryFile(const std::string& name) {
  static const Folder folder;
  static int count = 0;
  return (folder.path / (std::to_string(++count) + "-" + name)).string();
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string sourceFolder() { return RASTERKIT_SOURCE_DIR; }

}  // namespace rasterkit::test

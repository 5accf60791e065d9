#pragma once
/// The seed programs' one way to write: FOLDER/NAMEn for the n-th seed.

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace rasterkit::fuzz {

/// Returns the exit code of a program that is called with the folder's name. Bytes: anything with data() and size().
template <class Bytes>
int writeSeeds(int argc, char** argv, const char* name, const std::vector<Bytes>& seeds) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  std::filesystem::create_directories(argv[1]);
  for (std::size_t i = 0; i < seeds.size(); ++i) {
    // Not a stream: what those write, the memory sanitizer does not see.
    std::FILE* const file = std::fopen((std::string(argv[1]) + "/" + name + std::to_string(i)).c_str(), "wb");
    const bool written = file && std::fwrite(seeds[i].data(), 1, seeds[i].size(), file) == seeds[i].size();
    if (!file || std::fclose(file) != 0 || !written) {
      std::fprintf(stderr, "cannot write into %s\n", argv[1]);
      return 1;
    }
  }
  std::printf("%zu seeds\n", seeds.size());
  return 0;
}

}  // namespace rasterkit::fuzz

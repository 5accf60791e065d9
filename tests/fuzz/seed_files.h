#pragma once
/// The seed programs' one way to write: FOLDER/NAMEn for the n-th seed.

#include <cstdio>
#include <filesystem>
#include <fstream>
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
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder);
  for (std::size_t i = 0; i < seeds.size(); ++i) {
    std::ofstream file(folder / (name + std::to_string(i)), std::ios::binary);
    file.write(reinterpret_cast<const char*>(seeds[i].data()), static_cast<std::streamsize>(seeds[i].size()));
    if (!file.flush()) {
      std::fprintf(stderr, "cannot write into %s\n", argv[1]);
      return 1;
    }
  }
  std::printf("%zu seeds\n", seeds.size());
  return 0;
}

}  // namespace rasterkit::fuzz

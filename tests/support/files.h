#pragma once
/// Files that tests write: each in a place of its own, removed at the end of the program.

#include <string>

namespace rasterkit::test {

/// The path of a file that does not exist yet.
std::string temporaryFile(const std::string& name);
std::string contentOf(const std::string& path);
/// The folder of the project's sources.
std::string sourceFolder();

}  // namespace rasterkit::test

#pragma once
/// The operating system's part of the command line; one file a system.

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

namespace rasterkit::tools {

/// The whole of a regular file. Throws Failure for anything else.
std::vector<unsigned char> readFile(const std::filesystem::path& path);
/// Puts the bytes in the place of the file in one step: readers see the old file or the new one, never a part. Throws
/// Failure, with the file as it was.
void replaceFile(const std::filesystem::path& path, std::span<const unsigned char> bytes);

/// Becomes true when the user asks the program to stop (Ctrl-C); from then on a second time ends it at once.
extern std::atomic<bool> stopRequested;
void watchForStop();

/// Whether standard error is a terminal, and its width in characters.
bool errorIsTerminal();
int terminalWidth();
/// The most memory that the program has held so far, in bytes; 0 where the system does not tell.
std::size_t peakMemory();
/// The paths that a pattern with * ? [ ] matches, sorted.
std::vector<std::filesystem::path> matching(const std::string& pattern);

}  // namespace rasterkit::tools

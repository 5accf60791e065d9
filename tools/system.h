#pragma once
/// The operating system's part of the command line; one file a system.

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace rasterkit::tools {

/// What the program was called with, its own name first, as UTF-8; its output may be UTF-8 from then on.
std::vector<std::string> programArguments(int argc, char** argv);

/// The whole of a regular file. Throws Failure for anything else, for one that changes while it is read, and for one
/// that is too large to hold an image.
constexpr long long kMostBytes = (1LL << 32) - 1;
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
/// Blocks as large as images go back to the system as soon as they are free. Where the allocator keeps them, many files
/// of many sizes leave it with more and more pieces.
void returnLargeBlocks();
/// The most memory that the program has held so far, in bytes; 0 where the system does not tell.
std::size_t peakMemory();
/// The paths that a pattern with * ? [ ] matches, sorted.
std::vector<std::filesystem::path> matching(const std::string& pattern);

}  // namespace rasterkit::tools

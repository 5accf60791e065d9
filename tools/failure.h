#pragma once
/// How the program ends.

#include <stdexcept>
#include <string>

namespace rasterkit::tools {

/// What scripts can tell apart. `rasterkit help exit-codes` prints the same list.
enum ExitCode : int {
  success = 0,
  unexpected = 1,  ///< out of memory, or a mistake in the program itself
  usage = 2,       ///< the command line is wrong
  badRecipe = 3,   ///< an unknown operation or parameter, a value that cannot be
  unreadable = 4,  ///< an input is missing, a folder, or may not be read
  damaged = 5,     ///< an input is no image, damaged, or of a kind that is not read
  refused = 6,     ///< an operation does not process such an image
  unwritable = 7,  ///< the output cannot be written, or its format cannot hold the image
  someFailed = 8,  ///< some files of a batch failed, the others are done
  different = 9,   ///< compare: the images differ
  interrupted = 130,
};

/// Ends the program, or one file of a batch: what() is one line that says what is wrong and what to try.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace rasterkit::tools

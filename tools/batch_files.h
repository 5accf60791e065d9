#pragma once
/// Which files a command line means, and where their results go.

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace rasterkit::tools {

struct RunWords {
  std::vector<std::string> inputs;
  std::vector<std::string> steps;
};

/// The first word is an input. Each further word is one as long as it names no operation and has the look of a file: it
/// exists, or has a dot, a separator or a pattern in it. The first that is not begins the steps. A file that has the
/// name of an operation is written ./name.
RunWords splitWords(const std::vector<std::string>& words);

/// Patterns (where there is no file of that name) and folders replaced by the files that they mean: of a folder, those
/// with the ending of an image format, in the order of their names. Throws Failure where there are none.
std::vector<std::filesystem::path> expandInputs(const std::vector<std::string>& inputs);

/// What -o says. {stem} is the input's name without its ending, {ext} the ending, {name} both, {index} its number from
/// 1 on, with as many digits as the last has. A folder means {name} in it.
class OutputName {
 public:
  /// Throws Failure for an unknown word in braces and for a name whose ending is no format's.
  explicit OutputName(std::string pattern);
  bool varies() const { return varies_; }
  std::filesystem::path of(const std::filesystem::path& input, std::size_t index, std::size_t count) const;

 private:
  std::string pattern_;
  bool varies_ = false;
};

}  // namespace rasterkit::tools

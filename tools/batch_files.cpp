#include "tools/batch_files.h"

#include <algorithm>

#include "catalogue/catalogue.h"
#include "tools/failure.h"
#include "tools/image_file.h"
#include "tools/paths.h"
#include "tools/system.h"

namespace rasterkit::tools {
namespace {

constexpr std::string_view kPlaces[] = {"stem", "ext", "name", "index"};

bool looksLikeFile(const std::string& word) {
  std::error_code error;
  return word.find('=') == std::string::npos && !catalogue::find(word) &&
         (word.find_first_of("./\\*?[") != std::string::npos || std::filesystem::exists(pathOf(word), error));
}

}  // namespace

RunWords splitWords(const std::vector<std::string>& words) {
  if (words.empty()) return {};
  const auto steps = std::find_if_not(words.begin() + 1, words.end(), looksLikeFile);
  return {{words.begin(), steps}, {steps, words.end()}};
}

std::vector<std::filesystem::path> expandInputs(const std::vector<std::string>& inputs) {
  std::vector<std::filesystem::path> files;
  for (const std::string& input : inputs) {
    std::error_code error;
    if (std::filesystem::is_directory(pathOf(input), error)) {
      std::vector<std::filesystem::path> held;
      for (const auto& entry : std::filesystem::directory_iterator(pathOf(input), error))
        if (entry.is_regular_file(error) && formatOfName(entry.path())) held.push_back(entry.path());
      if (held.empty()) throw Failure(ExitCode::unreadable, input + ": the folder holds no file ending in " + kEndings);
      std::ranges::sort(held);
      files.insert(files.end(), held.begin(), held.end());
    } else if (!std::filesystem::exists(pathOf(input), error) && input.find_first_of("*?[") != std::string::npos) {
      const auto found = matching(input);
      if (found.empty()) throw Failure(ExitCode::unreadable, input + ": no file matches");
      files.insert(files.end(), found.begin(), found.end());
    } else {
      files.push_back(pathOf(input));
    }
  }
  return files;
}

OutputName::OutputName(std::string pattern) : pattern_(std::move(pattern)) {
  std::error_code error;
  if (std::filesystem::is_directory(pathOf(pattern_), error) || !pathOf(pattern_).has_filename())
    pattern_ = textOf(pathOf(pattern_) / "{name}");
  for (std::size_t open = pattern_.find('{'); open != std::string::npos; open = pattern_.find('{', open + 1)) {
    const std::size_t close = std::min(pattern_.find('}', open), pattern_.size());
    const std::string place = pattern_.substr(open + 1, close - open - 1);
    if (std::ranges::find(kPlaces, place) == std::end(kPlaces))
      throw Failure(ExitCode::usage,
                    "-o " + pattern_ + ": {" + place + "} is unknown; use {stem}, {name}, {ext} or {index}");
    varies_ = varies_ || place != "ext";
  }
  const std::string ending = textOf(pathOf(pattern_).extension());
  if (ending.find('{') == std::string::npos && !pattern_.ends_with("{name}") && !formatOfName(pathOf(pattern_)))
    throw Failure(ExitCode::unwritable,
                  "-o " + pattern_ + ": the name must end in " + kEndings + " to say what to write");
}

std::filesystem::path OutputName::of(const std::filesystem::path& input, std::size_t index, std::size_t count) const {
  std::string number = std::to_string(index + 1);
  number.insert(0, std::to_string(count).size() - number.size(), '0');
  std::string ending = textOf(input.extension());
  if (!ending.empty()) ending.erase(0, 1);
  const std::string values[] = {textOf(input.stem()), ending, textOf(input.filename()), number};
  std::string name;
  for (std::size_t at = 0; at < pattern_.size();) {
    const std::size_t open = std::min(pattern_.find('{', at), pattern_.size());
    name += pattern_.substr(at, open - at);
    if (open == pattern_.size()) break;
    const std::size_t close = pattern_.find('}', open);
    name += values[std::ranges::find(kPlaces, pattern_.substr(open + 1, close - open - 1)) - kPlaces];
    at = close + 1;
  }
  return pathOf(name);
}

}  // namespace rasterkit::tools

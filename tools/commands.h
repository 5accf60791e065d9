#pragma once
/// The commands. Each prints its result on standard output and returns the exit code, or throws Failure.

#include <string>
#include <vector>

#include "tools/image_file.h"

namespace rasterkit::tools {

struct RunOptions {
  std::vector<std::string> words;  ///< inputs, then steps
  std::string output;              ///< what -o says; "" where only reports are wanted
  std::string recipeFile;
  WriteOptions write;
  int jobs = 0;  ///< 0: one a core
  bool time = false;
  bool resume = false;
  bool quiet = false;
};
int run(const RunOptions& options);

int list(bool json);
/// An operation, "exit-codes" or "recipes".
int help(const std::string& topic);
int info(const std::vector<std::string>& inputs, bool json);
int compare(const std::string& first, const std::string& second, const std::string& output, bool json);

struct AnalysisOptions {
  std::string input;
  std::vector<std::string> arguments;  ///< name=value, as in a recipe
  std::string picture;                 ///< the plot, or the picture with the lines; "" for none
  std::string over;                    ///< what the lines are drawn over; "" for the input itself
  bool json = false;
};
/// What a histogram looks like, its peaks and valleys.
int hist(const AnalysisOptions& options);
/// Straight lines of a grey image.
int lines(const AnalysisOptions& options);

/// A page with every operation on each image, in the folder.
int gallery(const std::vector<std::string>& inputs, const std::string& folder, bool quiet);

/// The shell's completion file: bash, zsh or fish.
int completion(const std::string& shell);
/// The manual page.
int manual();

/// One line on standard error.
void complain(const std::string& message);

}  // namespace rasterkit::tools

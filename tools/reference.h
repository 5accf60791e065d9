#pragma once
/// What the catalogue declares, in words: for help, the manual page and completion.

#include <string>
#include <vector>

#include "catalogue/operation.h"

namespace rasterkit::tools {

/// "whole number, at least 0, usually 0 to 64 pixels; default 1"
std::string describeParameter(const catalogue::Parameter& parameter);
/// "1 channel; 8-bit, 16-bit or float samples"
std::string describeInput(const catalogue::Operation& operation);
/// "an image of the same size and type"
std::string describeOutput(const catalogue::Operation& operation);
/// "threshold level=..."
std::string synopsis(const catalogue::Operation& operation);

struct ExitCodeHelp {
  int code;
  const char* meaning;
};
const std::vector<ExitCodeHelp>& exitCodes();
const char* recipeHelp();

}  // namespace rasterkit::tools

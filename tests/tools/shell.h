#pragma once
/// Runs the built program and others as a user does.

#include <string>

namespace rasterkit::test {

struct Outcome {
  int code = -1;
  std::string out;
  std::string errors;
};

/// A line for the shell.
Outcome shell(const std::string& command);

/// The path of the built program.
extern const std::string kTool;
Outcome tool(const std::string& arguments);

}  // namespace rasterkit::test

#include "tests/tools/shell.h"

#include <sys/wait.h>

#include <cstdlib>

#include "tests/support/files.h"

namespace rasterkit::test {

const std::string kTool = RASTERKIT_TOOL;

Outcome shell(const std::string& command) {
  const std::string out = temporaryFile("out");
  const std::string errors = temporaryFile("errors");
  const int status = std::system(("{ " + command + "\n} >" + out + " 2>" + errors).c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentOf(out), contentOf(errors)};
}

Outcome tool(const std::string& arguments) { return shell(kTool + " " + arguments); }

}  // namespace rasterkit::test

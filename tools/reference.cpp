#include "tools/reference.h"

#include <limits>

#include "catalogue/describe.h"
#include "tools/failure.h"

namespace rasterkit::tools {
namespace {

using namespace catalogue;

std::string number(double value) { return format(Parameter{.name = "", .kind = Kind::real, .standard = {}}, value); }

}  // namespace

std::string describeParameter(const Parameter& parameter) {
  std::string text;
  switch (parameter.kind) {
    case Kind::integer: text = "whole number"; break;
    case Kind::real: text = "number"; break;
    case Kind::choice:
      for (const Choice& choice : parameter.choices) text += (text.empty() ? "" : " | ") + choice.name;
      break;
    case Kind::rectangle: text = "left,top,right,bottom or all"; break;
    case Kind::point: text = "x,y"; break;
    case Kind::kernel: text = "WIDTHxHEIGHT:weight,weight,... or @FILE"; break;
    case Kind::text: text = "text"; break;
    case Kind::image: text = "image file"; break;
  }
  if (parameter.kind == Kind::integer || parameter.kind == Kind::real) {
    const bool below = parameter.least > std::numeric_limits<double>::lowest();
    const bool above = parameter.most < std::numeric_limits<double>::max();
    if (below && above)
      text += " from " + number(parameter.least) + " to " + number(parameter.most);
    else if (below)
      text += ", at least " + number(parameter.least);
    else if (above)
      text += ", at most " + number(parameter.most);
    if (parameter.usualLeast != parameter.least || parameter.usualMost != parameter.most)
      text += ", usually " + number(parameter.usualLeast) + " to " + number(parameter.usualMost);
    if (!parameter.unitName.empty()) text += " (" + parameter.unitName + ")";
  }
  if (parameter.required()) return text + "; required";
  const std::string standard = format(parameter, parameter.standard);
  return text + (standard.empty() ? "; optional" : "; default " + standard);
}

std::string describeInput(const Operation& operation) {
  std::string text;
  const auto& channels = operation.accepts.channels;
  for (std::size_t i = 0; i < channels.size(); ++i)
    text += (i == 0 ? "" : i + 1 == channels.size() ? " or " : ", ") + std::to_string(channels[i]);
  text += text == "1" ? " channel" : " channels";
  const unsigned samples = operation.accepts.samples & anySample;
  const char* const names[] = {"no",    "8-bit",          "16-bit",          "8-bit or 16-bit",
                               "float", "8-bit or float", "16-bit or float", "8-bit, 16-bit or float"};
  text += std::string("; ") + names[samples] + " samples";
  for (std::size_t i = 0; i < operation.accepts.models.size(); ++i)
    text += (i == 0 ? "; " : " or ") + modelName(operation.accepts.models[i]);
  if (operation.readsSeries) text += "; a series of images";
  return text;
}

std::string describeOutput(const Operation& operation) {
  switch (operation.result.where) {
    case Where::intoDestination: return "an image of the same size and type";
    case Where::inPlace: return "the image, changed";
    case Where::inPlaceReshaped:
    case Where::intoOwnShape:
    case Where::intoPrepared: return "an image of its own size or type";
    case Where::data: return "a report as JSON; the image stays as it is";
  }
  return "";
}

std::string synopsis(const Operation& operation) {
  std::string text = operation.name;
  for (const Parameter& parameter : operation.parameters)
    text += parameter.required() ? " " + parameter.name + "=..." : " [" + parameter.name + "=...]";
  if (operation.accepts.mask == MaskUse::honoured && !operation.find("mask")) text += " [mask=FILE]";
  return text;
}

const std::vector<ExitCodeHelp>& exitCodes() {
  static const std::vector<ExitCodeHelp> codes = {
      {ExitCode::success, "everything is done"},
      {ExitCode::unexpected, "out of memory, or a mistake in the program itself"},
      {ExitCode::usage, "the command line is wrong"},
      {ExitCode::badRecipe, "an unknown operation or parameter, or a value that cannot be"},
      {ExitCode::unreadable, "an input is missing, a folder, or may not be read"},
      {ExitCode::damaged, "an input is no image, damaged, or of a kind that is not read"},
      {ExitCode::refused, "an operation does not process such an image"},
      {ExitCode::unwritable, "the output cannot be written, or its format cannot hold the image"},
      {ExitCode::someFailed, "some files of a batch failed; the others are done"},
      {ExitCode::different, "compare: the images differ"},
      {ExitCode::interrupted, "stopped by the user"},
  };
  return codes;
}

const char* recipeHelp() {
  return "A recipe is a row of steps, taken from left to right. A word without '=' names an operation and starts a\n"
         "step; the words after it are its arguments:\n"
         "\n"
         "  rasterkit run IN -o OUT median threshold level=128 dilate size=2\n"
         "\n"
         "The same text works in a file (--recipe FILE), one step a line; # starts a comment and \"double quotes\"\n"
         "hold a word with spaces together. Arguments that are images name a file. Operations that look at an area\n"
         "of interest take one as mask=FILE: where it is 0, the image stays as it was. A kernel may stand in a file,\n"
         "kernel=@FILE: a row of weights a line, or as it is written here.\n";
}

}  // namespace rasterkit::tools

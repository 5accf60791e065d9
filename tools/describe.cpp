// What there is: operations, and images in files.

#include "catalogue/describe.h"

#include <algorithm>
#include <cstdio>

#include "catalogue/catalogue.h"
#include "tools/batch_files.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/json.h"
#include "tools/paths.h"
#include "tools/reference.h"

namespace rasterkit::tools {
namespace {

using namespace catalogue;

void print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

std::string jsonNumber(double value) {
  return format(Parameter{.name = "", .kind = Kind::real, .standard = {}}, value);
}

const char* kindName(Kind kind) {
  switch (kind) {
    case Kind::integer: return "integer";
    case Kind::real: return "real";
    case Kind::choice: return "choice";
    case Kind::rectangle: return "rectangle";
    case Kind::point: return "point";
    case Kind::kernel: return "kernel";
    case Kind::text: return "text";
    case Kind::image: return "image";
  }
  return "";
}

std::string toJson(const Parameter& parameter) {
  std::string out = "{\"name\": " + jsonText(parameter.name) + ", \"kind\": \"" + kindName(parameter.kind) +
                    "\", \"required\": " + (parameter.required() ? "true" : "false");
  const std::string standard = format(parameter, parameter.standard);
  if (!standard.empty()) out += ", \"default\": " + jsonText(standard);
  if (parameter.kind == Kind::integer || parameter.kind == Kind::real) {
    if (parameter.least > std::numeric_limits<double>::lowest()) out += ", \"least\": " + jsonNumber(parameter.least);
    if (parameter.most < std::numeric_limits<double>::max()) out += ", \"most\": " + jsonNumber(parameter.most);
    out += ", \"usually\": [" + jsonNumber(parameter.usualLeast) + ", " + jsonNumber(parameter.usualMost) + "]";
  }
  if (!parameter.choices.empty()) {
    out += ", \"choices\": [";
    for (std::size_t i = 0; i < parameter.choices.size(); ++i)
      out += (i ? ", " : "") + jsonText(parameter.choices[i].name);
    out += "]";
  }
  if (!parameter.unitName.empty()) out += ", \"unit\": " + jsonText(parameter.unitName);
  if (!parameter.helpText.empty()) out += ", \"help\": " + jsonText(parameter.helpText);
  return out + "}";
}

std::string toJson(const Operation& operation) {
  std::string out = "{\"name\": " + jsonText(operation.name) + ", \"family\": " + jsonText(operation.family) +
                    ", \"method\": " + jsonText(operation.method) + ", \"summary\": " + jsonText(operation.summary) +
                    ", \"channels\": [";
  for (std::size_t i = 0; i < operation.accepts.channels.size(); ++i)
    out += (i ? ", " : "") + std::to_string(operation.accepts.channels[i]);
  out += "], \"samples\": [";
  bool first = true;
  for (const auto& [bit, name] :
       {std::pair(byteSamples, "8-bit"), std::pair(wordSamples, "16-bit"), std::pair(realSamples, "float")})
    if (operation.accepts.samples & bit) out += (std::exchange(first, false) ? "" : ", ") + jsonText(name);
  out += "], \"mask\": " + std::string(operation.accepts.mask == MaskUse::honoured ? "true" : "false") +
         ", \"series\": " + (operation.readsSeries ? "true" : "false") +
         ", \"gives\": " + (operation.result.where == Where::data ? "\"report\"" : "\"image\"") + ", \"parameters\": [";
  for (std::size_t i = 0; i < operation.parameters.size(); ++i)
    out += (i ? ", " : "") + toJson(operation.parameters[i]);
  out += "]";
  if (!operation.formula.empty()) out += ", \"formula\": " + jsonText(operation.formula);
  if (!operation.example.empty()) out += ", \"example\": " + jsonText(operation.example);
  return out + "}";
}

void printOperation(const Operation& operation) {
  print(operation.name + ": " + operation.summary + "\n\n  rasterkit run IN " +
        (operation.result.where == Where::data ? "" : "-o OUT ") + synopsis(operation) + "\n");
  if (!operation.parameters.empty()) print("\n");
  std::size_t width = 0;
  for (const Parameter& parameter : operation.parameters) width = std::max(width, parameter.name.size());
  for (const Parameter& parameter : operation.parameters) {
    print("  " + parameter.name + std::string(width - parameter.name.size() + 2, ' ') + describeParameter(parameter) +
          "\n");
    if (!parameter.helpText.empty()) print(std::string(width + 4, ' ') + parameter.helpText + "\n");
  }
  print("\ntakes    " + describeInput(operation) + "\ngives    " + describeOutput(operation) + "\n");
  if (operation.accepts.mask == MaskUse::honoured)
    print("mask     an image of one channel, 8 bits and the same size: where it is 0, the image stays as it was\n");
  if (!operation.formula.empty()) print("formula  " + operation.formula + "\n");
  if (!operation.example.empty()) print("example  rasterkit run IN -o OUT " + operation.example + "\n");
  print("in C++   " + operation.method + "\n");
}

struct Range {
  double least = 0;
  double most = 0;
};

template <class S>
std::vector<Range> rangesOf(const CPxImage& image) {
  const auto channels = static_cast<std::size_t>(image.channels);
  std::vector<S> least(channels), most(channels);
  for (int y = 0; y < image.height; ++y) {
    const S* const row = static_cast<const S*>(image.Get2DBuffer()[y]);
    if (y == 0) std::copy_n(row, channels, least.begin()), std::copy_n(row, channels, most.begin());
    for (std::size_t i = 0; i < static_cast<std::size_t>(image.width); ++i)
      for (std::size_t c = 0; c < channels; ++c) {
        const S sample = row[i * channels + c];
        least[c] = std::min(least[c], sample), most[c] = std::max(most[c], sample);
      }
  }
  std::vector<Range> ranges;
  for (std::size_t c = 0; c < channels; ++c)
    ranges.push_back({static_cast<double>(least[c]), static_cast<double>(most[c])});
  return ranges;
}

std::vector<Range> rangesOf(const CPxImage& image) {
  return image.bitsPerSample <= 8    ? rangesOf<unsigned char>(image)
         : image.bitsPerSample <= 16 ? rangesOf<unsigned short>(image)
                                     : rangesOf<float>(image);
}

void printInfo(const std::filesystem::path& path, bool json) {
  const ImageFile file = readImageFile(path);
  if (json) {
    std::string out =
        "{\"file\": " + jsonText(textOf(path)) + ", \"format\": \"" + formatName(file.format) + "\", \"images\": [";
    for (std::size_t i = 0; i < file.pages.size(); ++i) {
      const CPxImage& page = file.pages[i];
      out += std::string(i ? ", " : "") + "{\"width\": " + std::to_string(page.width) +
             ", \"height\": " + std::to_string(page.height) + ", \"model\": " + jsonText(modelName(page.colorModel)) +
             ", \"channels\": " + std::to_string(page.channels) + ", \"bits\": " + std::to_string(page.bitsPerSample) +
             ", \"palette\": " + std::to_string(page.palette.GetPaletteNum()) + ", \"ranges\": [";
      const auto ranges = rangesOf(page);
      for (std::size_t c = 0; c < ranges.size(); ++c)
        out += (c ? ", [" : "[") + jsonNumber(ranges[c].least) + ", " + jsonNumber(ranges[c].most) + "]";
      out += "]}";
    }
    return print(out + "]}\n");
  }
  for (std::size_t i = 0; i < file.pages.size(); ++i) {
    const CPxImage& page = file.pages[i];
    std::string line = textOf(path);
    if (file.pages.size() > 1) line += "[" + std::to_string(i + 1) + "]";
    line += std::string(": ") + formatName(file.format) + ", " + describe(page);
    if (const int colours = page.palette.GetPaletteNum()) line += ", " + std::to_string(colours) + " colours";
    line += ", samples";
    for (const Range& range : rangesOf(page)) line += " " + jsonNumber(range.least) + ".." + jsonNumber(range.most);
    print(line + "\n");
  }
}

}  // namespace

int list(bool json) {
  const auto& table = operations();
  if (json) {
    for (std::size_t i = 0; i < table.size(); ++i) print((i ? ",\n " : "[") + toJson(table[i]));
    print("]\n");
    return ExitCode::success;
  }
  std::size_t width = 0;
  for (const Operation& operation : table) width = std::max(width, operation.name.size());
  const std::string* family = nullptr;
  for (const Operation& operation : table) {
    if (!family || *family != operation.family) print((family ? "\n" : "") + operation.family + "\n");
    family = &operation.family;
    print("  " + operation.name + std::string(width - operation.name.size() + 2, ' ') + operation.summary + "\n");
  }
  return ExitCode::success;
}

int help(const std::string& topic) {
  if (topic == "exit-codes") {
    for (const auto& [code, meaning] : exitCodes()) std::printf("%3d  %s\n", code, meaning);
  } else if (topic == "recipes") {
    print(recipeHelp());
  } else if (const Operation* operation = find(topic)) {
    printOperation(*operation);
  } else {
    std::vector<std::string> names = {"exit-codes", "recipes"};
    for (const Operation& known : operations()) names.push_back(known.name);
    throw Failure(ExitCode::badRecipe, "no operation '" + topic + "'; did you mean '" + nearest(topic, names) +
                                           "'? 'rasterkit list' shows them all");
  }
  return ExitCode::success;
}

int info(const std::vector<std::string>& inputs, bool json) {
  int code = ExitCode::success;
  const auto files = expandInputs(inputs);
  for (const auto& path : files) {
    try {
      printInfo(path, json);
    } catch (const Failure& failure) {
      complain(failure.what());
      code = files.size() == 1 ? failure.code() : ExitCode::someFailed;
    }
  }
  return code;
}

}  // namespace rasterkit::tools

#include "catalogue/recipe.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <set>
#include <utility>

#include "catalogue/catalogue.h"
#include "catalogue/describe.h"

namespace rasterkit::catalogue {
namespace {

constexpr std::string_view kMask = "mask";
constexpr std::string_view kWhiteSpace = " \t\r\n\f\v";

std::string quoted(std::string_view word) { return "'" + std::string(word) + "'"; }

const Operation& operationNamed(const std::string& word) {
  if (const Operation* operation = find(word)) return *operation;
  std::vector<std::string> names;
  for (const Operation& operation : operations()) names.push_back(operation.name);
  throw RecipeError("no operation " + quoted(word) + "; did you mean " + quoted(nearest(word, names)) + "?");
}

// Operations may declare a mask of their own; else the word is the area of interest.
bool isAreaOfInterest(const Operation& operation, std::string_view name) {
  return name == kMask && !operation.find(kMask);
}

void addArgument(Step& step, const std::string& word) {
  const Operation& operation = *step.operation;
  const auto equals = word.find('=');
  const std::string name = word.substr(0, equals);
  const std::string text = word.substr(equals + 1);
  if (step.arguments.contains(name) || step.images.contains(name))
    throw RecipeError(operation.name + " is given " + quoted(name) + " twice");

  const Parameter* const parameter = operation.find(name);
  if (isAreaOfInterest(operation, name) ? operation.accepts.mask == MaskUse::honoured
                                        : parameter && parameter->kind == Kind::image) {
    if (text.empty()) throw RecipeError(operation.name + ": " + name + "= needs the name of an image");
    step.images.emplace(name, text);
    return;
  }
  if (!parameter) {
    if (name == kMask) throw RecipeError(operation.name + " does not look at a mask; leave " + quoted(word) + " out");
    std::vector<std::string> names;
    for (const Parameter& known : operation.parameters) names.push_back(known.name);
    throw RecipeError(operation.name + (names.empty() ? " takes no parameters; leave " + quoted(word) + " out"
                                                      : " has no parameter " + quoted(name) + "; did you mean " +
                                                            quoted(nearest(name, names)) + "?"));
  }
  try {
    step.arguments.emplace(name, parse(*parameter, text));
  } catch (const std::invalid_argument& error) {
    throw RecipeError(operation.name + ": " + error.what());
  }
}

void checkComplete(const Step& step) {
  for (const Parameter& parameter : step.operation->parameters) {
    if (!parameter.required() || step.arguments.contains(parameter.name) || step.images.contains(parameter.name))
      continue;
    std::string message = step.operation->name + " needs " + parameter.name + "=";
    if (!parameter.helpText.empty()) message += " (" + parameter.helpText + ")";
    if (!step.operation->example.empty()) message += ", for example: " + step.operation->example;
    throw RecipeError(message);
  }
}

std::size_t bytesOf(const CPxImage& image) { return static_cast<std::size_t>(std::max(image.bufferSize, 0)); }

// Whether the operation may turn an image of one type into one of another.
bool mayConvert(const Operation& operation) {
  const Where where = operation.result.where;
  return where != Where::data && where != Where::inPlace && where != Where::intoDestination && !operation.readsSeries &&
         std::ranges::none_of(operation.parameters, &Parameter::required);
}

// Empty where the operation does not process the image, or changes its size.
CPxImage convertedBy(const Operation& operation, const CPxImage& image) {
  if (!operation.refusal(image).empty()) return {};
  CPxImage source = image;
  CPxImage converted;
  Call call(operation, source, converted);
  return call.succeeded(call.run()) && PXCOMPARE_SIZE(&image, &converted) ? converted : CPxImage();
}

}  // namespace

Recipe parseRecipe(std::span<const std::string> words) {
  Recipe recipe;
  for (const std::string& word : words) {
    if (word.find('=') == std::string::npos) {
      if (!recipe.empty()) checkComplete(recipe.back());
      recipe.push_back({.operation = &operationNamed(word)});
    } else if (recipe.empty()) {
      throw RecipeError(quoted(word) + " belongs to no step; an operation comes first");
    } else {
      addArgument(recipe.back(), word);
    }
  }
  if (!recipe.empty()) checkComplete(recipe.back());
  return recipe;
}

Recipe parseRecipe(std::string_view text) { return parseRecipe(recipeWords(text)); }

std::vector<std::string> recipeWords(std::string_view text) {
  std::vector<std::string> words;
  std::string word;
  bool started = false;
  bool inQuotes = false;
  const auto finish = [&] {
    if (started) words.push_back(std::exchange(word, {}));
    started = false;
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') {
      inQuotes = !inQuotes;
      started = true;
    } else if (inQuotes) {
      word += c;
    } else if (c == '#' && !started) {
      i = std::min(text.find('\n', i), text.size() - 1);
    } else if (kWhiteSpace.find(c) != std::string_view::npos) {
      finish();
    } else {
      word += c;
      started = true;
    }
  }
  if (inQuotes) throw RecipeError("a quotation mark (\") is not closed");
  finish();
  return words;
}

std::string format(const Step& step) {
  std::string text = step.operation->name;
  const auto add = [&](const std::string& name, const std::string& value) {
    const std::string word = name + "=" + value;
    text += word.find_first_of(std::string(kWhiteSpace) + "#") == std::string::npos ? " " + word : " \"" + word + "\"";
  };
  for (const auto& [name, value] : step.arguments) add(name, format(*step.operation->find(name), value));
  for (const auto& [name, image] : step.images) add(name, image);
  return text;
}

std::string format(const Recipe& recipe) {
  std::string text;
  for (const Step& step : recipe) text += (text.empty() ? "" : " ") + format(step);
  return text;
}

std::vector<std::string> imageNames(const Recipe& recipe) {
  std::set<std::string> names;
  for (const Step& step : recipe)
    for (const auto& [parameter, name] : step.images) names.insert(name);
  return {names.begin(), names.end()};
}

bool readsSeries(const Recipe& recipe) {
  return std::ranges::any_of(recipe, [](const Step& step) { return step.operation->readsSeries; });
}

const Operation* conversion(const CPxImage& image, const Operation& to) {
  // A small image of the type shows what becomes of it.
  const CPxImage sample(image.colorModel, image.bitsPerSample, 4, 4, image.palette.GetPaletteNum());
  for (const Operation& from : operations()) {
    if (!mayConvert(from)) continue;
    const CPxImage converted = convertedBy(from, sample);
    if (converted.IsCreated() && to.refusal(converted).empty()) return &from;
  }
  return nullptr;
}

void RecipeRunner::run(CPxImage& image, const std::string& name) {
  records_.clear();
  for (std::size_t i = 0; i < recipe_.size(); ++i) take(i, image, {&image}, name);
}

void RecipeRunner::run(std::vector<CPxImage>& images, const std::string& name) {
  records_.clear();
  for (std::size_t i = 0; i < recipe_.size() && !images.empty(); ++i) {
    if (recipe_[i].operation->readsSeries) {
      std::vector<CPxImage*> series;
      for (CPxImage& image : images) series.push_back(&image);
      take(i, images.front(), std::move(series), name);
      images.resize(1);
    } else {
      for (CPxImage& image : images) take(i, image, {&image}, name);
    }
  }
}

void RecipeRunner::take(std::size_t index, CPxImage& image, std::vector<CPxImage*> series, const std::string& name) {
  const Step& step = recipe_[index];
  const Operation& operation = *step.operation;
  if (beforeStep) beforeStep(index);
  const std::string subject = index ? name + " after " + recipe_[index - 1].operation->name : name;
  if (const std::string reason = operation.refusal(image, subject); !reason.empty()) {
    const Operation* const before = conversion(image, operation);
    throw StepError(operation, operation.name + (reason.starts_with("needs") ? " " : ": ") + reason +
                                   (before ? "; put " + quoted(before->name) + " before it" : ""));
  }

  const auto start = std::chrono::steady_clock::now();
  const Where where = operation.result.where;
  const bool changesImage = where == Where::inPlace || where == Where::inPlaceReshaped;
  Call call(operation, image, changesImage ? image : spare_);
  call.series = std::move(series);
  std::size_t bytes = 0;
  for (const CPxImage* each : call.series) bytes += bytesOf(*each);
  for (const auto& [parameter, value] : step.arguments) call.set(parameter, value);
  for (const auto& [parameter, imageName] : step.images) {
    CPxImage& other = named_.at(imageName);
    bytes += bytesOf(other);
    if (isAreaOfInterest(operation, parameter))
      call.mask = &other;
    else
      call.set(parameter, &other);
  }
  const std::string shape = describe(image);
  if (!call.succeeded(call.run()))
    throw StepError(operation, operation.name + " did not process " + subject + " (" + shape + ")" +
                                   (step.images.empty() ? "" : ": do the other images fit it?"));
  if (!changesImage) bytes += bytesOf(spare_);
  if (!changesImage && where != Where::data) std::swap(image, spare_);
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  records_.push_back({&step, taken.count(), bytes, std::move(call.report)});
}

}  // namespace rasterkit::catalogue

#pragma once
/// Recipes: operations one after the other, as every front end writes and runs them.
///
///     median threshold level=128 dilate size=2
///
/// A word without '=' starts a step; the words after it are its arguments. In a text, words are separated by white
/// space, "double quotes" hold a word with spaces together, and # starts a comment that ends with the line.
///
/// An argument of kind image names a picture, which the front end loads. Operations that honour an area of interest
/// take one as mask=NAME besides their own parameters.

#include <cstddef>
#include <functional>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/operation.h"

namespace rasterkit::catalogue {

/// A recipe that cannot be meant: what() is one line that says what is wrong and what to try.
class RecipeError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// A step that did not process its image: what() is one line.
class StepError : public std::runtime_error {
 public:
  StepError(const Operation& operation, const std::string& what) : std::runtime_error(what), operation_(&operation) {}
  const Operation& operation() const { return *operation_; }

 private:
  const Operation* operation_;
};

struct Step {
  const Operation* operation = nullptr;
  std::map<std::string, Value, std::less<>> arguments = {};     ///< without the images
  std::map<std::string, std::string, std::less<>> images = {};  ///< the parameter, or "mask", and the picture's name
};

using Recipe = std::vector<Step>;

/// Both throw RecipeError. No words make an empty recipe.
Recipe parseRecipe(std::span<const std::string> words);
Recipe parseRecipe(std::string_view text);
/// The words of a recipe's text.
std::vector<std::string> recipeWords(std::string_view text);
/// The text that parseRecipe understands.
std::string format(const Step& step);
std::string format(const Recipe& recipe);

/// The images that recipes name, by name. Several runs may share them.
using NamedImages = std::map<std::string, CPxImage, std::less<>>;
/// The names of the images that a recipe needs, each once.
std::vector<std::string> imageNames(const Recipe& recipe);
/// True where a step makes one image of several.
bool readsSeries(const Recipe& recipe);

/// An operation that makes images of this type acceptable to another one, or null: what to put before a step that
/// refused its image.
const Operation* conversion(const CPxImage& image, const Operation& to);

/// What one step did to one image.
struct StepRecord {
  const Step* step = nullptr;
  double milliseconds = 0;
  std::size_t bytes = 0;    ///< of the images it worked on: source, destination and others
  std::string report = {};  ///< what a data operation found, as JSON
};

/// Runs recipes. Intermediate images stay in two buffers that later runs use again, so one object serves a whole batch.
/// Distinct objects may run in distinct threads, with the same recipe and named images.
class RecipeRunner {
 public:
  /// Both must outlive the object.
  RecipeRunner(const Recipe& recipe, NamedImages& images) : recipe_(recipe), named_(images) {}

  /// Replaces the image by what the recipe makes of it. name is what messages call it. Throws StepError (the image is
  /// then unspecified) and std::bad_alloc.
  void run(CPxImage& image, const std::string& name);
  /// The same for several images: each step is taken with each of them, but one over a series makes one image of all.
  void run(std::vector<CPxImage>& images, const std::string& name);

  /// What the last run did, in order.
  const std::vector<StepRecord>& records() const { return records_; }
  /// Called before each step with its index: for progress, and to stop a run by throwing.
  std::function<void(std::size_t)> beforeStep = {};

 private:
  void take(std::size_t index, CPxImage& image, std::vector<CPxImage*> series, const std::string& name);

  const Recipe& recipe_;
  NamedImages& named_;
  CPxImage spare_;
  std::vector<StepRecord> records_;
};

}  // namespace rasterkit::catalogue

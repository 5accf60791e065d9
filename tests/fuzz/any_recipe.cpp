#include "tests/fuzz/any_recipe.h"

#include <rasterkit/core/levels.h>

#include <cmath>
#include <utility>
#include <vector>

#include "catalogue/catalogue.h"
#include "catalogue/recipe.h"
#include "tests/fuzz/any_draw.h"
#include "tests/plain/twins.h"
#include "tests/sweep/draw.h"

namespace rasterkit::fuzz {
namespace {

using namespace catalogue;

constexpr int kMostSteps = 8;
// Steps that make more are left out, so that a recipe does not end with images that take seconds.
constexpr int kMostBytes = 1 << 13;

struct Plan {
  Recipe recipe;
  NamedImages images;
  std::vector<std::string> reports;
  CPxImage result;
};

const Operation* drawnFor(test::Random& random, const CPxImage& image) {
  for (int attempt = 0; attempt < 12; ++attempt) {
    const Operation& operation = drawnOperation(random);
    if (operation.refusal(image).empty()) return &operation;
  }
  return nullptr;
}

// Steps that the twins take with success.
Plan planned(test::Random& random, CPxImage image) {
  Plan plan;
  for (int more = random.between(1, kMostSteps); more > 0; --more) {
    const Operation* const operation = drawnFor(random, image);
    if (!operation) break;
    sweep::Draw draw = sweep::drawn(random, *operation, image);
    for (auto& [name, picture] : draw.images) keepUsualNaNs(image, picture);
    draw.series.clear();  // one image alone is a series too
    const sweep::Outcome outcome = sweep::outcome(*operation, draw, *plain::find(operation->name), CPxImage());
    if (!outcome.succeeded || outcome.dst.bufferSize > kMostBytes) continue;

    Step step{.operation = operation, .arguments = {draw.arguments.begin(), draw.arguments.end()}};
    const auto add = [&](const std::string& parameter, const CPxImage& picture) {
      const std::string name = "picture " + std::to_string(plan.images.size());
      plan.images.emplace(name, picture);
      step.images.emplace(parameter, name);
    };
    for (const auto& [parameter, picture] : draw.images) add(parameter, picture);
    if (draw.masked) add("mask", draw.mask);
    plan.recipe.push_back(std::move(step));
    plan.reports.push_back(outcome.report);
    if (operation->result.where != Where::data) image = outcome.dst;
  }
  plan.result = std::move(image);
  return plan;
}

// Numbers that are none, and those outside a parameter's range, cannot be written.
bool canBeWritten(const Recipe& recipe) {
  for (const Step& step : recipe)
    for (const auto& [name, value] : step.arguments) {
      const Parameter& parameter = *step.operation->find(name);
      try {
        if (!(parse(parameter, format(parameter, value)) == value)) return false;
      } catch (const std::invalid_argument&) {
        return false;
      }
    }
  return true;
}

std::string brokenBy(const Plan& plan, CPxImage image) {
  if (canBeWritten(plan.recipe)) {
    const std::string text = format(plan.recipe);
    if (format(parseRecipe(text)) != text) return "is read as " + format(parseRecipe(text));
  }
  NamedImages images = plan.images;
  RecipeRunner runner(plan.recipe, images);
  try {
    runner.run(image, "the image");
  } catch (const StepError& error) {
    return error.what();
  }
  for (std::size_t i = 0; i < plan.recipe.size(); ++i)
    if (runner.records()[i].report != plan.reports[i])
      return "step " + std::to_string(i + 1) + " reports " + runner.records()[i].report + "\nexpected " +
             plan.reports[i];
  if (const auto same = test::identical(image, plan.result); !same) return same.message();
  for (const auto& [name, picture] : plan.images)
    if (const auto same = test::identical(images.at(name), picture); !same) return name + " changed: " + same.message();
  return "";
}

}  // namespace

std::string brokenByAnyRecipe(test::Random& random) {
  const auto type = random.pick(test::pixelTypes());
  const CPxImage image = randomImage(random, type, random.between(1, 12), random.between(1, 9));
  const Plan plan = planned(random, image);
  useDrawnLevel(random);
  const std::string broken = brokenBy(plan, image);
  if (broken.empty()) return "";
  return format(plan.recipe) + " on " + test::nameOf(type) + ", " + std::to_string(image.width) + " x " +
         std::to_string(image.height) + "\n" + broken;
}

}  // namespace rasterkit::fuzz

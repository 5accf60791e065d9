// Foreign bytes as the text of a recipe: it is refused with a reason, or means something that can be written and read
// again. The seeds are written by rasterkit_recipe_seeds.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "catalogue/recipe.h"

namespace rasterkit::fuzz {
namespace {

using namespace catalogue;

void expect(bool kept, const char* promise, const std::string& text) {
  if (kept) return;
  std::fprintf(stderr, "broken: %s: %s\n", promise, text.c_str());
  std::abort();
}

void run(std::string_view text) {
  Recipe recipe;
  try {
    recipe = parseRecipe(text);
  } catch (const RecipeError& error) {
    const std::string_view message = error.what();
    expect(!message.empty(), "a refusal says why", std::string(text));
    return;
  }
  const std::string written = format(recipe);
  try {
    expect(format(parseRecipe(written)) == written, "what is written is read as the same", written);
  } catch (const RecipeError& error) {
    expect(false, error.what(), written);
  }
  for (const Step& step : recipe) expect(step.operation != nullptr, "a step has an operation", written);
  imageNames(recipe);
  readsSeries(recipe);
}

}  // namespace
}  // namespace rasterkit::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  rasterkit::fuzz::run({reinterpret_cast<const char*>(bytes), count});
  return 0;
}

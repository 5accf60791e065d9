// Writes the catalogue's examples, and every operation with all of its parameters: seeds for recipe_fuzz.
//
//     rasterkit_recipe_seeds FOLDER

#include "catalogue/catalogue.h"
#include "catalogue/recipe.h"
#include "tests/fuzz/seed_files.h"
#include "tests/sweep/draw.h"

int main(int argc, char** argv) {
  using namespace rasterkit;
  using namespace rasterkit::catalogue;
  std::vector<std::string> texts = {"# nothing", "\"setplane\" plane=1 \"other=a picture # 1.png\"\n\tinvert",
                                    "median size=1 mask=area", "median size= ", "size=3"};
  test::Random random(1);
  for (const Operation& operation : operations()) {
    if (!operation.example.empty()) texts.push_back(operation.example);
    const sweep::Draw draw = sweep::drawn(random, operation, CPxImage(CM_RGB, 8, 4, 3));
    Step step{.operation = &operation, .arguments = {draw.arguments.begin(), draw.arguments.end()}};
    for (const auto& [name, image] : draw.images) step.images.emplace(name, "other");
    if (draw.masked) step.images.emplace("mask", "area");
    texts.push_back(format(step));
  }
  return fuzz::writeSeeds(argc, argv, "recipe", texts);
}

#include <CLI/CLI.hpp>

#include <rasterkit/platform/desktop.h>

#include <algorithm>
#include <cstdio>
#include <new>

#include "catalogue/catalogue.h"
#include "catalogue/recipe.h"
#include "rasterkit/version.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/system.h"

namespace rasterkit::tools {
namespace {

// A command that there is not. Options of the program itself come before it.
void checkCommand(const CLI::App& app, const std::vector<std::string>& arguments) {
  if (arguments.size() < 2 || arguments[1].starts_with('-')) return;
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  if (std::ranges::find(names, arguments[1]) == names.end())
    throw Failure(ExitCode::usage,
                  "no command '" + arguments[1] + "'; did you mean '" + catalogue::nearest(arguments[1], names) + "'?");
}

int perform(const std::vector<std::string>& arguments) {
  CLI::App app("Raster image operations. 'rasterkit list' shows them, 'rasterkit help OPERATION' explains one.",
               "rasterkit");
  app.set_version_flag("--version", "rasterkit " RASTERKIT_VERSION);
  // A word that begins with / is a file on every system.
  app.allow_windows_style_options(false);
  app.require_subcommand(0, 1);
  app.footer("Exit codes: rasterkit help exit-codes. How steps are written: rasterkit help recipes.");

  RunOptions options;
  CLI::App* const runs = app.add_subcommand("run", "Run a recipe on images");
  runs->footer("Example: rasterkit run photo.png -o out.png threshold level=128");
  runs->add_option("words", options.words, "images, patterns or folders, then the steps")->type_name("IN... STEP...");
  runs->add_option("-o,--output", options.output,
                   "where the result goes: {stem} {name} {ext} {index} stand for parts of the input's name")
      ->type_name("FILE");
  runs->add_option("--recipe", options.recipeFile, "take steps from a file, before those given here")
      ->type_name("FILE");
  runs->add_option("-j,--jobs", options.jobs, "process that many images at once (default: one a core)")
      ->check(CLI::Range(1, 1024));
  runs->add_flag("--resume", options.resume, "skip inputs whose output exists and is not older");
  runs->add_flag("--time", options.time, "show what each step cost in time and memory");
  runs->add_option("--quality", options.write.quality, "of JPEG files")
      ->check(CLI::Range(1, 100))
      ->capture_default_str();
  runs->add_option("--compression", options.write.compression, "of PNG and TIFF files: 0 none, 9 smallest")
      ->check(CLI::Range(0, 9))
      ->capture_default_str();
  runs->add_flag("-q,--quiet", options.quiet, "show errors only");

  bool json = false;
  CLI::App* const lists = app.add_subcommand("list", "Show the operations");
  lists->add_flag("--json", json, "as JSON, with everything that is known of them");

  std::string topic;
  CLI::App* const helps = app.add_subcommand("help", "Explain an operation");
  helps->add_option("operation", topic, "its name, or exit-codes, or recipes");

  std::vector<std::string> inputs;
  CLI::App* const infos = app.add_subcommand("info", "Show what images are");
  infos->add_option("images", inputs, "files, patterns or folders")->required();
  infos->add_flag("--json", json, "as JSON, one line a file");

  std::string first;
  std::string second;
  std::string picture;
  CLI::App* const compares = app.add_subcommand("compare", "Show how two images differ");
  compares->add_option("a", first, "an image")->required();
  compares->add_option("b", second, "another of the same size and type")->required();
  compares->add_option("-o,--output", picture, "a picture of the differences, the greatest one white")
      ->type_name("FILE");
  compares->add_flag("--json", json, "as JSON, one line an image");

  AnalysisOptions analysis;
  CLI::App* const hists = app.add_subcommand("hist", "Show the histogram of an image, its peaks and valleys");
  CLI::App* const finds = app.add_subcommand("lines", "Find straight lines in a grey image, such as an edge picture");
  for (CLI::App* const command : {hists, finds}) {
    command->add_option("image", analysis.input, "a file")->required();
    command->add_flag("--json", analysis.json, "as JSON");
  }
  hists->add_option("parameters", analysis.arguments, "as in a recipe: rasterkit help hist")
      ->type_name("NAME=VALUE...");
  hists->add_option("--plot", analysis.picture, "draw it, as .svg or .png")->type_name("FILE");
  finds->add_option("--overlay", analysis.picture, "draw the lines over the picture")->type_name("FILE");
  finds->add_option("--over", analysis.over, "draw them over this picture instead, the one whose edges were searched")
      ->type_name("FILE");
  CLI::App* const shades = app.add_subcommand("shade", "Correct uneven illumination with a picture of an empty field");
  shades->footer("Example: rasterkit shade photo.png blank=empty.png -o even.png");
  shades->add_option("words", options.words, "an image, and blank=FILE")->required()->type_name("IN blank=FILE");
  shades->add_option("-o,--output", options.output, "where the result goes")->required()->type_name("FILE");

  std::string folder;
  CLI::App* const galleries = app.add_subcommand("gallery", "Make a page with every operation on images");
  galleries->add_option("images", inputs, "files, patterns or folders")->required();
  galleries->add_option("-o,--output", folder, "the folder for the page")->required()->type_name("FOLDER");
  galleries->add_flag("-q,--quiet", options.quiet, "show errors only");

  std::string shell;
  CLI::App* const completes = app.add_subcommand("completion", "Print the completion file of a shell");
  completes->add_option("shell", shell, "bash, zsh or fish")->required();
  CLI::App* const manuals = app.add_subcommand("manual", "Print the manual page");

  checkCommand(app, arguments);
  try {
    // The parser takes them from the end.
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend() - 1));
  } catch (const CLI::Success& wanted) {
    return app.exit(wanted);
  } catch (const CLI::ParseError& error) {
    complain(std::string(error.what()) + "; see: rasterkit --help");
    return ExitCode::usage;
  }

  if (runs->parsed()) return run(options);
  if (lists->parsed()) return list(json);
  if (infos->parsed()) return info(inputs, json);
  if (compares->parsed()) return compare(first, second, picture, json);
  if (hists->parsed()) return hist(analysis);
  if (finds->parsed()) return lines(analysis);
  if (shades->parsed()) {
    options.words.insert(options.words.begin() + 1, "shade");
    return run(options);
  }
  if (galleries->parsed()) return gallery(inputs, folder, options.quiet);
  if (completes->parsed()) return completion(shell);
  if (manuals->parsed()) return manual();
  if (helps->parsed() && !topic.empty()) return help(topic);
  std::fputs(app.help().c_str(), stdout);
  return helps->parsed() ? ExitCode::success : ExitCode::usage;
}

}  // namespace
}  // namespace rasterkit::tools

int main(int argc, char** argv) {
  using namespace rasterkit;
  // What the library has to say is one line too.
  setMessageHandler([](void*, const char* text, const char*, unsigned) { return tools::complain(text), 1; });
  try {
    return tools::perform(tools::programArguments(argc, argv));
  } catch (const tools::Failure& failure) {
    tools::complain(failure.what());
    return failure.code();
  } catch (const catalogue::RecipeError& error) {
    tools::complain(error.what());
    return tools::ExitCode::badRecipe;
  } catch (const std::bad_alloc&) {
    tools::complain("there is not enough memory");
  } catch (const std::exception& error) {
    tools::complain(error.what());
  }
  return tools::ExitCode::unexpected;
}

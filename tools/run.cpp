// Runs a recipe on one image or on many.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <mutex>
#include <new>
#include <sstream>
#include <string_view>
#include <thread>

#include "catalogue/recipe.h"
#include "tools/batch_files.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/json.h"
#include "tools/paths.h"
#include "tools/system.h"

namespace rasterkit::tools {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

std::string formatted(const char* format, double number) {
  char text[64];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

// One output: of one input, or of all of them where the recipe reads a series.
struct Job {
  std::vector<std::filesystem::path> inputs;
  std::filesystem::path output;  // empty where nothing is written
  std::string name() const {
    return textOf(inputs[0]) + (inputs.size() > 1 ? " and " + std::to_string(inputs.size() - 1) + " more" : "");
  }
};

struct Stopped {};

// What each step cost, over all files.
class Costs {
 public:
  void add(std::size_t place, const std::string& what, double milliseconds, std::size_t bytes) {
    const std::scoped_lock lock(mutex_);
    Cost& cost = costs_[place];
    cost.what = what;
    cost.milliseconds += milliseconds;
    cost.bytes = std::max(cost.bytes, bytes);
  }

  void print() const {
    std::size_t width = 4;
    for (const auto& [place, cost] : costs_) width = std::max(width, cost.what.size());
    std::fprintf(stderr, "%-*s %12s %14s\n", static_cast<int>(width), "step", "time", "memory");
    for (const auto& [place, cost] : costs_)
      std::fprintf(stderr, "%-*s %9.2f ms %10.1f MiB\n", static_cast<int>(width), cost.what.c_str(), cost.milliseconds,
                   static_cast<double>(cost.bytes) / 1048576);
    if (const std::size_t peak = peakMemory())
      std::fprintf(stderr, "%-*s %12s %10.1f MiB\n", static_cast<int>(width), "peak of the program", "",
                   static_cast<double>(peak) / 1048576);
  }

 private:
  struct Cost {
    std::string what;
    double milliseconds = 0;
    std::size_t bytes = 0;
  };
  std::mutex mutex_;
  std::map<std::size_t, Cost> costs_;
};

// A bar on a terminal, a line a file elsewhere, nothing for a single file.
class Progress {
 public:
  Progress(std::size_t count, bool quiet)
      : count_(count), shown_(!quiet && count > 1), bar_(shown_ && errorIsTerminal()) {}

  void finished(const Job& job, const std::string& outcome) {
    const std::scoped_lock lock(mutex_);
    ++done_;
    if (bar_) return draw();
    if (shown_) std::fprintf(stderr, "[%zu/%zu] %s%s\n", done_, count_, job.name().c_str(), outcome.c_str());
  }

  void failed(const std::string& message) {
    const std::scoped_lock lock(mutex_);
    ++done_;
    clear();
    complain(message);
    if (bar_) draw();
  }

  void clear() {
    if (bar_) std::fputs("\r\x1b[K", stderr);
  }

 private:
  void draw() {
    if (done_ < count_ && drawn_ && secondsSince(*drawn_) < 0.1) return;
    drawn_ = Clock::now();
    const double rate = static_cast<double>(done_) / std::max(secondsSince(start_), 1e-3);
    const double left = static_cast<double>(count_ - done_) / rate;
    char text[96];
    std::snprintf(text, sizeof text, " %zu/%zu  %.1f/s  %d:%02d left", done_, count_, rate, static_cast<int>(left) / 60,
                  static_cast<int>(left) % 60);
    const int room = std::clamp(terminalWidth() - static_cast<int>(std::char_traits<char>::length(text)) - 3, 0, 40);
    const int full = static_cast<int>(static_cast<std::size_t>(room) * done_ / count_);
    std::fprintf(stderr, "\r\x1b[K[%s%s]%s", std::string(static_cast<std::size_t>(full), '#').c_str(),
                 std::string(static_cast<std::size_t>(room - full), '.').c_str(), text);
    std::fflush(stderr);
  }

  std::size_t count_;
  bool shown_;
  bool bar_;
  std::size_t done_ = 0;
  Clock::time_point start_ = Clock::now();
  std::optional<Clock::time_point> drawn_;
  std::mutex mutex_;
};

class Batch {
 public:
  Batch(const RunOptions& options, const catalogue::Recipe& recipe, catalogue::NamedImages& images,
        const std::vector<Job>& jobs)
      : options_(options), recipe_(recipe), images_(images), jobs_(jobs), progress_(jobs.size(), options.quiet) {}

  int run() {
    const auto start = Clock::now();
    const unsigned cores = std::max(std::thread::hardware_concurrency(), 1U);
    const std::size_t wanted = options_.jobs > 0 ? static_cast<std::size_t>(options_.jobs) : cores;
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < std::min(wanted, jobs_.size()); ++i) threads.emplace_back([this] { work(); });
    work();
    for (std::thread& thread : threads) thread.join();

    progress_.clear();
    if (options_.time) costs_.print();
    if (stopRequested) {
      complain("stopped; " + summary(start));
      return ExitCode::interrupted;
    }
    if (jobs_.size() > 1 && !options_.quiet) std::fprintf(stderr, "%s\n", summary(start).c_str());
    if (failed_ == 0) return ExitCode::success;
    return jobs_.size() == 1 ? lastCode_.load() : static_cast<int>(ExitCode::someFailed);
  }

 private:
  std::string summary(Clock::time_point start) const {
    return std::to_string(jobs_.size()) + " files: " + std::to_string(done_) + " done, " +
           (skipped_ ? std::to_string(skipped_) + " skipped, " : "") + std::to_string(failed_) + " failed, in " +
           formatted("%.1f s", secondsSince(start));
  }

  void work() {
    catalogue::RecipeRunner runner(recipe_, images_);
    runner.beforeStep = [](std::size_t) {
      if (stopRequested) throw Stopped();
    };
    for (std::size_t i; !stopRequested && (i = next_++) < jobs_.size();) {
      const Job& job = jobs_[i];
      try {
        if (options_.resume && isDone(job)) {
          ++skipped_;
          progress_.finished(job, ": done before");
          continue;
        }
        process(job, runner);
        ++done_;
        progress_.finished(job, job.output.empty() ? "" : " -> " + textOf(job.output));
      } catch (const Stopped&) {
        return;
      } catch (const Failure& failure) {
        fail(failure.code(), failure.what());
      } catch (const catalogue::StepError& error) {
        fail(ExitCode::refused, std::string(error.what()) + "; see: rasterkit help " + error.operation().name);
      } catch (const std::bad_alloc&) {
        fail(ExitCode::unexpected, job.name() + ": there is not enough memory");
      } catch (const std::exception& error) {
        fail(ExitCode::unexpected, job.name() + ": " + error.what());
      }
    }
  }

  void fail(int code, const std::string& message) {
    ++failed_;
    lastCode_ = code;
    progress_.failed(message);
  }

  // An output is complete as soon as it exists.
  static bool isDone(const Job& job) {
    std::error_code error;
    const auto made = std::filesystem::last_write_time(job.output, error);
    return !error && std::ranges::all_of(job.inputs, [&](const std::filesystem::path& input) {
      const auto changed = std::filesystem::last_write_time(input, error);
      return !error && changed <= made;
    });
  }

  void process(const Job& job, catalogue::RecipeRunner& runner) {
    auto start = Clock::now();
    std::vector<CPxImage> pages;
    for (const auto& input : job.inputs) std::ranges::move(readImageFile(input).pages, std::back_inserter(pages));
    std::size_t bytes = 0;
    for (const CPxImage& page : pages) bytes += static_cast<std::size_t>(page.bufferSize);
    if (options_.time) costs_.add(0, "read", 1000 * secondsSince(start), bytes);

    runner.run(pages, job.name());
    const catalogue::Step* const first = recipe_.data();
    for (const auto& record : runner.records()) {
      if (options_.time)
        costs_.add(static_cast<std::size_t>(record.step - first) + 1, format(*record.step), record.milliseconds,
                   record.bytes);
      if (!record.report.empty()) print(job, record);
    }

    if (job.output.empty() || stopRequested) return;
    start = Clock::now();
    writeImageFile(job.output, pages, options_.write);
    if (options_.time) costs_.add(recipe_.size() + 1, "write", 1000 * secondsSince(start), 0);
  }

  void print(const Job& job, const catalogue::StepRecord& record) {
    const std::string line = "{\"file\": " + jsonText(textOf(job.inputs[0])) +
                             ", \"operation\": " + jsonText(record.step->operation->name) +
                             ", \"result\": " + record.report + "}\n";
    const std::scoped_lock lock(printing_);
    progress_.clear();
    std::fputs(line.c_str(), stdout);
    std::fflush(stdout);
  }

  const RunOptions& options_;
  const catalogue::Recipe& recipe_;
  catalogue::NamedImages& images_;
  const std::vector<Job>& jobs_;
  Progress progress_;
  Costs costs_;
  std::mutex printing_;
  std::atomic<std::size_t> next_ = 0, done_ = 0, skipped_ = 0, failed_ = 0;
  std::atomic<int> lastCode_ = 0;
};

// A kernel from a file as a recipe writes it: WIDTHxHEIGHT:weight,... or the weights themselves, a row a line, between
// white space or commas. # starts a comment.
std::string kernelFrom(const std::string& file) {
  const auto bytes = readFile(pathOf(file));
  std::istringstream lines(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  std::string line, weights;
  std::size_t width = 0, height = 0;
  while (std::getline(lines, line)) {
    line.resize(std::min(line.size(), line.find('#')));
    if (line.find(':') != std::string::npos) return line.substr(0, line.find_last_not_of(" \t\r") + 1);
    std::ranges::replace(line, ',', ' ');
    std::istringstream row(line);
    std::size_t count = 0;
    for (std::string weight; row >> weight; ++count) weights += (weights.empty() ? "" : ",") + weight;
    if (count == 0) continue;
    if (height++ > 0 && count != width)
      throw Failure(ExitCode::badRecipe, file + ": row " + std::to_string(height) + " has " + std::to_string(count) +
                                             " weights, the first one " + std::to_string(width));
    width = count;
  }
  if (height == 0) throw Failure(ExitCode::badRecipe, file + ": holds no weights");
  return std::to_string(width) + "x" + std::to_string(height) + ":" + weights;
}

catalogue::Recipe recipeOf(const RunOptions& options, const std::vector<std::string>& steps) {
  std::vector<std::string> words;
  if (!options.recipeFile.empty()) {
    const auto bytes = readFile(pathOf(options.recipeFile));
    try {
      words = catalogue::recipeWords({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    } catch (const catalogue::RecipeError& error) {
      throw Failure(ExitCode::badRecipe, options.recipeFile + ": " + error.what());
    }
  }
  words.insert(words.end(), steps.begin(), steps.end());
  constexpr std::string_view kernelFile = "kernel=@";
  for (std::string& word : words)
    if (word.starts_with(kernelFile)) word = "kernel=" + kernelFrom(word.substr(kernelFile.size()));
  return catalogue::parseRecipe(words);
}

catalogue::NamedImages imagesOf(const catalogue::Recipe& recipe) {
  catalogue::NamedImages images;
  for (const std::string& name : catalogue::imageNames(recipe)) {
    auto pages = readImageFile(pathOf(name)).pages;
    if (pages.size() > 1)
      throw Failure(ExitCode::damaged,
                    name + ": holds " + std::to_string(pages.size()) + " images, one is needed here");
    images.emplace(name, std::move(pages[0]));
  }
  return images;
}

// A recipe that ends with a report needs no place for an image.
bool endsInReport(const catalogue::Recipe& recipe) {
  return !recipe.empty() && recipe.back().operation->result.where == catalogue::Where::data;
}

std::vector<Job> jobsOf(const RunOptions& options, const std::vector<std::filesystem::path>& inputs,
                        const catalogue::Recipe& recipe) {
  std::vector<Job> jobs;
  if (catalogue::readsSeries(recipe))
    jobs.push_back({inputs, {}});
  else
    for (const auto& input : inputs) jobs.push_back({{input}, {}});
  if (options.output.empty()) {
    if (endsInReport(recipe)) return jobs;
    throw Failure(ExitCode::usage, "where should the result go? Add -o FILE");
  }

  const OutputName output(options.output);
  if (jobs.size() > 1 && !output.varies())
    throw Failure(ExitCode::usage, std::to_string(jobs.size()) + " inputs would all be written to " + options.output +
                                       "; put {stem}, {name} or {index} into the name after -o");
  std::map<std::filesystem::path, std::string> makers;
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    jobs[i].output = output.of(jobs[i].inputs[0], i, jobs.size());
    const auto [maker, isNew] = makers.emplace(jobs[i].output, jobs[i].name());
    if (!isNew)
      throw Failure(ExitCode::usage, maker->second + " and " + jobs[i].name() + " would both be written to " +
                                         textOf(jobs[i].output) + "; put {index} into the name after -o");
    std::error_code error;
    const auto folder = jobs[i].output.parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder, error))
      throw Failure(ExitCode::unwritable,
                    textOf(jobs[i].output) + ": there is no folder " + textOf(folder) + "; make it first");
    if (options.resume && std::filesystem::equivalent(jobs[i].output, jobs[i].inputs[0], error))
      throw Failure(ExitCode::usage,
                    "--resume cannot tell what is done where inputs are written over; give -o another name");
  }
  return jobs;
}

}  // namespace

void complain(const std::string& message) {
  std::string line = message;
  std::ranges::replace(line, '\n', ' ');
  std::fprintf(stderr, "rasterkit: %s\n", line.c_str());
}

int run(const RunOptions& options) {
  const RunWords words = splitWords(options.words);
  if (words.inputs.empty()) throw Failure(ExitCode::usage, "which image? rasterkit run IN -o OUT threshold level=128");
  const catalogue::Recipe recipe = recipeOf(options, words.steps);
  const auto inputs = expandInputs(words.inputs);
  const auto jobs = jobsOf(options, inputs, recipe);
  catalogue::NamedImages images = imagesOf(recipe);
  watchForStop();
  returnLargeBlocks();
  return Batch(options, recipe, images, jobs).run();
}

}  // namespace rasterkit::tools

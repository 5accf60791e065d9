// Every operation on real pictures, as a page that works offline.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <set>

#include "catalogue/catalogue.h"
#include "catalogue/describe.h"
#include "catalogue/recipe.h"
#include "tools/batch_files.h"
#include "tools/codecs.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/gallery_page.h"
#include "tools/paths.h"
#include "tools/reference.h"
#include "tools/system.h"

namespace rasterkit::tools {
namespace {

using namespace catalogue;

std::string html(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '&')
      out += "&amp;";
    else if (c == '<')
      out += "&lt;";
    else if (c == '>')
      out += "&gt;";
    else if (c == '"')
      out += "&quot;";
    else
      out += c;
  }
  return out;
}

// The sample (x, y, channel) of any image.
double sampleOf(const CPxImage& image, int x, int y, int channel) {
  const int i = x * image.channels + channel;
  const void* const row = image.Get2DBuffer()[y];
  return sampleBytes(image) == 1   ? static_cast<const unsigned char*>(row)[i]
         : sampleBytes(image) == 2 ? static_cast<const unsigned short*>(row)[i]
                                   : static_cast<double>(static_cast<const float*>(row)[i]);
}

unsigned char byteOf(double value) {
  return static_cast<unsigned char>(std::isnan(value) ? 0 : std::clamp(value, 0.0, 255.0));
}

// Whether a file of the format has a place for such images.
bool holds(Format format, const CPxImage& image) {
  const CPxImage pixel(image.colorModel, image.bitsPerSample, 1, 1, image.palette.GetPaletteNum());
  try {
    return !encode({&pixel, 1}, format, "").empty();
  } catch (const Failure&) {
    return false;
  }
}

// An image that a browser shows: what a PNG holds as it is; colour spaces as RGB; the rest between its extremes.
CPxImage shown(const CPxImage& image) {
  if (holds(Format::png, image)) return image;
  CPxImage rgb(CM_RGB, 8, image.width, image.height);
  static const Operation* const toRgb = find("rgb");
  if (toRgb && toRgb->refusal(image).empty()) {
    CPxImage source = image;
    Call call(*toRgb, source, rgb);
    if (call.succeeded(call.run()) && PXISRGB(&rgb)) return rgb;
  }
  double least = INFINITY;
  double most = -INFINITY;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      for (int c = 0; c < image.channels; ++c) {
        const double sample = sampleOf(image, x, y, c);
        if (std::isfinite(sample)) least = std::min(least, sample), most = std::max(most, sample);
      }
  // Whole ranges stay what they are.
  if (least >= 0 && most <= 255 && most > 1) least = 0, most = 255;
  rgb.Create(CM_RGB, 8, image.width, image.height);
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      for (int c = 0; c < 3; ++c)
        rowOf(rgb, y)[3 * x + c] =
            byteOf((sampleOf(image, x, y, image.channels < 3 ? 0 : c) - least) * 255 / std::max(most - least, 1e-30));
  return rgb;
}

// The picture's brightness in 64 steps, each as a part of the largest.
std::array<double, 64> histogram(const CPxImage& picture) {
  std::array<double, 64> bins{};
  const int full = picture.bitsPerSample > 8 ? 65536 : 256;
  const int colours = picture.channels >= 3 ? 3 : 1;
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x) {
      double sum = 0;
      if (picture.colorModel == CM_INDEX) {
        const tagRGBA* const entry = picture.palette.GetPaletteItem(rowOf(picture, y)[x]);
        if (entry) sum = (entry->blue + entry->green + entry->red) / 3.0;
      } else {
        for (int c = 0; c < colours; ++c) sum += sampleOf(picture, x, y, c) / colours;
      }
      ++bins[std::min<std::size_t>(static_cast<std::size_t>(sum * 64 / full), 63)];
    }
  const double largest = std::max(*std::ranges::max_element(bins), 1.0);
  for (double& bin : bins) bin = std::sqrt(bin / largest);
  return bins;
}

std::string plot(const CPxImage& before, const CPxImage& after) {
  const auto path = [](const std::array<double, 64>& bins) {
    std::string text = "M0 30";
    for (std::size_t i = 0; i < bins.size(); ++i) text += "V" + std::to_string(30 - std::lround(30 * bins[i])) + "h1";
    return text + "V30";
  };
  return "<svg class=\"histogram\" viewBox=\"0 0 64 30\" preserveAspectRatio=\"none\" role=\"img\" "
         "aria-label=\"brightness before and "
         "after\"><path class=\"was\" d=\"" +
         path(histogram(before)) + "\"/><path class=\"is\" d=\"" + path(histogram(after)) + "\"/></svg>";
}

// Where a picture as it is tells less than its edges, or the usual example changes a photograph too little to be seen.
constexpr std::pair<std::string_view, const char*> kTelling[] = {
    {"add", "add value=60"},
    {"add-real", "add-real value=60.5"},
    {"sub", "sub value=60"},
    {"sub-real", "sub-real value=60.5"},
    {"fill", "fill rect=10,10,160,130 value=0 third=255"},
    {"replace", "gray threshold level=128 rgb replace find=0 write=160 write2=60 write3=0"},
    {"lines", "sobel threshold level=200 lines"},
    {"drawlines", "sobel threshold level=200 drawlines"},
    {"hough", "sobel threshold level=200 hough"},
};

// The numbers of an array in a report.
std::vector<double> numbersOf(const std::string& report, const std::string& name) {
  std::vector<double> numbers;
  const std::size_t start = report.find("\"" + name + "\": [");
  if (start == std::string::npos) return numbers;
  const char* at = report.c_str() + start + name.size() + 5;
  for (char* end = nullptr;; at = end + 1) {
    const double number = std::strtod(at, &end);
    if (end == at) return numbers;
    numbers.push_back(number);
    if (*end != ',') return numbers;
  }
}

// The counts of a histogram and, as a line, what smoothing makes of them; the peaks as marks.
std::string plotOf(const std::string& report) {
  const auto counts = numbersOf(report, "counts");
  if (counts.empty()) return "";
  const double most = std::max(*std::ranges::max_element(counts), 1.0);
  const auto path = [&](const std::vector<double>& values) {
    std::string text = "M0 100";
    for (const double value : values)
      text += "V" + std::to_string(100 - std::lround(100 * std::min(value / most, 1.0))) + "h1";
    return text + "V100";
  };
  std::string marks;
  const std::string key = "\"position\": ";
  for (std::size_t at = report.find(key, std::min(report.find("\"peaks\""), report.size())); at != std::string::npos;
       at = report.find(key, at + 1)) {
    const std::string x = std::to_string(std::atoi(report.c_str() + at + key.size()));
    marks += "<line x1=\"" + x + "\" x2=\"" + x + "\" y1=\"0\" y2=\"100\"/>";
  }
  return "<svg class=\"histogram large\" viewBox=\"0 0 " + std::to_string(counts.size()) +
         " 100\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"counts, smoothed counts and peaks\"><path "
         "class=\"was\" d=\"" +
         path(counts) + "\"/><path class=\"is\" d=\"" + path(numbersOf(report, "smoothed")) + "\"/>" + marks +
         "</svg>\n";
}

// The lines of a report over the picture that they were found in.
std::string overlayOf(const std::string& report, const CPxImage& picture) {
  if (report.find("\"lines\": [") == std::string::npos) return "";
  std::string drawn;
  for (std::size_t at = report.find("\"first\": ["); at != std::string::npos;
       at = report.find("\"first\": [", at + 1)) {
    const std::string record = report.substr(at, report.find('}', at) - at);
    const auto first = numbersOf(record, "first");
    const auto second = numbersOf(record, "second");
    if (first.size() != 2 || second.size() != 2) continue;
    const auto number = [](double value) { return std::to_string(std::lround(value)); };
    drawn += "<line x1=\"" + number(first[0]) + "\" y1=\"" + number(first[1]) + "\" x2=\"" + number(second[0]) +
             "\" y2=\"" + number(second[1]) + "\"/>";
  }
  return "<svg viewBox=\"0 0 " + std::to_string(picture.width) + " " + std::to_string(picture.height) +
         "\" role=\"img\" aria-label=\"the lines that were found\">" + drawn + "</svg>";
}

class Gallery {
 public:
  Gallery(const std::filesystem::path& folder, bool quiet) : folder_(folder), quiet_(quiet) {}

  void add(const std::filesystem::path& path) {
    name_ = textOf(path.stem());
    for (int n = 2; !names_.insert(name_).second; ++n) name_ = textOf(path.stem()) + "-" + std::to_string(n);
    source_ = std::move(readImageFile(path).pages[0]);
    before_ = shown(source_);
    pictures_.clear();
    saved_.clear();
    makePictures();
    std::filesystem::create_directory(folder_ / fileOf(kOriginal).parent_path());
    save(kOriginal, before_);
    links_ += "<a href=\"#" + html(name_) + "\">" + html(name_) + "</a>\n";
    sections_ += "<section id=\"" + html(name_) + "\"><h2>" + html(textOf(path.filename()) + ": " + describe(source_)) +
                 "</h2><div class=\"grid\">\n";
    for (const Operation& operation : operations())
      if (const std::string reason = show(operation); !reason.empty())
        missing_[operation.name] = reason;
      else
        shown_.insert(operation.name);
    sections_ += "</div></section>\n";
  }

  void finish() {
    std::string page = kGalleryPage;
    for (const auto& [place, text] : {std::pair(std::string("{{links}}"), links_), {"{{sections}}", sections_}})
      page.replace(page.find(place), place.size(), text);
    replaceFile(folder_ / "index.html", std::span(reinterpret_cast<const unsigned char*>(page.data()), page.size()));
    if (quiet_) return;
    std::printf("%zu operations in %s\n", shown_.size(), textOf(folder_ / "index.html").c_str());
    for (const auto& [operation, reason] : missing_)
      if (!shown_.contains(operation)) std::printf("not shown: %s: %s\n", operation.c_str(), reason.c_str());
  }

 private:
  // A picture of the current image: its original, the result of an operation, or what stands beside it in a recipe.
  // Each image has a folder of its own: one may be called as another one's result.
  static constexpr const char* kOriginal = "original";

  std::filesystem::path fileOf(const std::string& picture) const {
    return std::filesystem::path("images") / pathOf(name_) / pathOf(picture + ".png");
  }

  void save(const std::string& picture, const CPxImage& image) {
    writeImageFile(folder_ / fileOf(picture), {&image, 1});
  }

  // What examples name as other images, made from the picture itself.
  void makePictures() {
    const int width = source_.width;
    const int height = source_.height;
    CPxImage& mirrored = pictures_["mirrored"] = source_;
    const auto pixel = static_cast<std::size_t>(source_.channels * sampleBytes(source_));
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        std::memcpy(rowOf(mirrored, y) + static_cast<std::size_t>(x) * pixel,
                    rowOf(source_, y) + static_cast<std::size_t>(width - 1 - x) * pixel, pixel);
    CPxImage& small = pictures_["small"];
    small.Create(source_.colorModel, source_.bitsPerSample, (width + 2) / 3, (height + 2) / 3);
    small.palette = source_.palette;
    for (int y = 0; y < small.height; ++y)
      for (int x = 0; x < small.width; ++x)
        std::memcpy(rowOf(small, y) + static_cast<std::size_t>(x) * pixel,
                    rowOf(source_, 3 * y) + static_cast<std::size_t>(3 * x) * pixel, pixel);
    CPxImage& mask = pictures_["mask"];
    mask.Create(CM_GRAY, 8, width, height);
    // An empty field, brighter in the middle.
    CPxImage& light = pictures_["light"] = source_;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const double dx = 2.0 * x / width - 1;
        const double dy = 2.0 * y / height - 1;
        const double fromCentre = dx * dx + dy * dy;
        rowOf(mask, y)[x] = fromCentre < 0.6 ? 255 : 0;
        for (int i = x * light.channels; i < (x + 1) * light.channels; ++i) {
          const unsigned char value = byteOf(230 - 60 * fromCentre);
          void* const row = light.Get2DBuffer()[y];
          if (sampleBytes(light) == 1) static_cast<unsigned char*>(row)[i] = value;
          if (sampleBytes(light) == 2) static_cast<unsigned short*>(row)[i] = static_cast<unsigned short>(value * 257);
          if (sampleBytes(light) == 4) static_cast<float*>(row)[i] = value;
        }
      }
    CPxImage& plane = pictures_["plane"];
    plane.Create(CM_GRAY, source_.bitsPerSample, width, height);
    const auto sample = static_cast<std::size_t>(sampleBytes(source_));
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        std::memcpy(rowOf(plane, y) + static_cast<std::size_t>(x) * sample,
                    rowOf(mirrored, y) + static_cast<std::size_t>(x) * pixel, sample);
  }

  // Which of them an example's file name asks for.
  static std::string pictureFor(const std::string& parameter, const std::string& name) {
    const std::string words = parameter + " " + name;
    for (const auto& [word, picture] : std::initializer_list<std::pair<const char*, const char*>>{{"mask", "mask"},
                                                                                                  {"area", "mask"},
                                                                                                  {"stamp", "small"},
                                                                                                  {"empty", "light"},
                                                                                                  {"blank", "light"},
                                                                                                  {"flat", "light"},
                                                                                                  {"green", "plane"},
                                                                                                  {"red", "plane"},
                                                                                                  {"blue", "plane"},
                                                                                                  {"alpha", "plane"},
                                                                                                  {"plane", "plane"}})
      if (words.find(word) != std::string::npos) return picture;
    return "mirrored";
  }

  // The example's steps; before them what makes the picture acceptable.
  Recipe recipeFor(const Operation& operation) const {
    std::string text = operation.example;
    bool isTelling = false;
    for (const auto& [name, telling] : kTelling)
      if (name == operation.name) text = telling, isTelling = true;
    if (text.empty()) {
      text = operation.name;
      for (const Parameter& parameter : operation.parameters)
        if (parameter.required() && parameter.kind == Kind::integer)
          text += " " + parameter.name + "=" +
                  std::to_string(std::lround((parameter.usualLeast + parameter.usualMost) / 2));
    }
    Recipe recipe = parseRecipe(text);
    const Operation& taking = isTelling ? operation : *recipe[0].operation;
    if (!taking.refusal(source_).empty())
      if (const Operation* before = conversion(source_, taking)) recipe.insert(recipe.begin(), {.operation = before});
    for (Step& step : recipe)
      for (auto& [parameter, image] : step.images) image = pictureFor(parameter, image);
    return recipe;
  }

  // "" or why the operation cannot be shown on this picture.
  std::string show(const Operation& operation) {
    try {
      Recipe recipe = recipeFor(operation);
      std::vector<CPxImage> images;
      RecipeRunner runner(recipe, pictures_);
      // The second time everything is in place.
      for (int round = 0; round < 2; ++round) {
        images.assign(1, source_);
        if (readsSeries(recipe)) images.push_back(pictures_.at("mirrored"));
        runner.run(images, name_);
      }
      // What no file holds is shown, and copied, as RGB.
      const Step toRgb = parseRecipe("rgb")[0];
      if (!holds(Format::tiff, images[0]) && !holds(Format::png, images[0]) &&
          toRgb.operation->refusal(images[0]).empty()) {
        recipe.push_back(toRgb);
        images.assign(1, source_);
        runner.run(images, name_);
      }
      double milliseconds = 0;
      std::string report;
      for (const StepRecord& record : runner.records()) {
        milliseconds += record.milliseconds;
        report += record.report;
      }
      card(operation, recipe, images[0], milliseconds, report);
      return "";
    } catch (const std::exception& error) {
      return error.what();
    }
  }

  void card(const Operation& operation, Recipe& recipe, const CPxImage& result, double milliseconds,
            const std::string& report) {
    // The recipe to copy runs from the page's folder.
    for (Step& step : recipe)
      for (auto& [parameter, image] : step.images) {
        const std::string beside = "with-" + image;
        if (saved_.insert(beside).second) save(beside, pictures_.at(image));
        image = plainTextOf(fileOf(beside));
      }
    const std::string words = format(recipe);
    const bool hasPicture = operation.result.where != Where::data;
    const CPxImage after = shown(result);
    if (hasPicture) save(operation.name, after);

    std::string& out = sections_;
    out += "<article data-text=\"" + html(lower(operation.name + " " + operation.summary + " " + operation.method)) +
           "\">\n<h3>" + html(operation.name) + "</h3>\n<p>" + html(operation.summary) + "</p>\n";
    const auto picture = [&](const std::string& name, const CPxImage& image, const std::string& what) {
      return "<img class=\"" + what + "\" src=\"" + html(plainTextOf(fileOf(name))) + "\" width=\"" +
             std::to_string(image.width) + "\" height=\"" + std::to_string(image.height) + "\" alt=\"" + html(name_) +
             " " + what + " " + html(operation.name) + "\">";
    };
    if (hasPicture && PXCOMPARE_SIZE(&before_, &after))
      out += "<div class=\"compare\">" + picture(operation.name, after, "after") +
             picture(kOriginal, before_, "before") +
             "<input type=\"range\" min=\"0\" max=\"100\" value=\"50\" aria-label=\"before and after " +
             html(operation.name) + "\"></div>\n";
    else if (hasPicture)
      out += "<div class=\"pair\">" + picture(kOriginal, before_, "before") + picture(operation.name, after, "after") +
             "</div>\n";
    else if (const std::string overlay = overlayOf(report, before_); !overlay.empty())
      out += "<div class=\"overlay\">" + picture(kOriginal, before_, "under") + overlay + "</div>\n";
    out += "<div class=\"recipe\"><code>rasterkit run " + html(plainTextOf(fileOf(kOriginal))) +
           (hasPicture ? holds(Format::png, result) ? " -o out.png " : " -o out.tif " : " ") + html(words) +
           "</code><button type=\"button\">copy</button></div>\n";
    out += hasPicture ? plot(before_, after) + "\n" : plotOf(report);
    if (!report.empty()) out += "<pre tabindex=\"0\">" + html(report.substr(0, 4000)) + "</pre>\n";
    char time[40];
    std::snprintf(time, sizeof time, "%.2f ms", milliseconds);
    out += "<p class=\"figures\">" + std::string(time) + (hasPicture ? ", " + html(describe(result)) : "") + "</p>\n";
    if (!operation.parameters.empty()) {
      out += "<dl>";
      for (const Parameter& parameter : operation.parameters)
        out += "<dt>" + html(parameter.name) + "</dt><dd>" + html(describeParameter(parameter)) +
               (parameter.helpText.empty() ? "" : "<br>" + html(parameter.helpText)) + "</dd>";
      out += "</dl>\n";
    }
    out += "</article>\n";
  }

  static std::string lower(std::string text) {
    for (char& c : text)
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
  }

  std::filesystem::path folder_;
  bool quiet_;
  std::set<std::string> names_;
  std::string name_;
  CPxImage source_;
  CPxImage before_;
  NamedImages pictures_;
  std::set<std::string> saved_;
  std::string links_;
  std::string sections_;
  std::set<std::string> shown_;
  std::map<std::string, std::string> missing_;
};

}  // namespace

int gallery(const std::vector<std::string>& inputs, const std::string& folder, bool quiet) {
  const auto files = expandInputs(inputs);
  std::error_code error;
  std::filesystem::create_directories(pathOf(folder) / "images", error);
  if (error) throw Failure(ExitCode::unwritable, folder + ": " + error.message());
  Gallery page(pathOf(folder), quiet);
  for (const auto& file : files) page.add(file);
  page.finish();
  return ExitCode::success;
}

}  // namespace rasterkit::tools

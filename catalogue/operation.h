#pragma once
/// One operation as everything outside the library sees it: the command line, its help, the reference pages, the sweep
/// tests and the fuzzer all read these declarations.

#include <rasterkit/core/image.h>
#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace rasterkit::catalogue {

// Values and parameters -----------------------------------------------------------------------------------------------

/// A convolution kernel, row-major, top row first.
struct Kernel {
  int width = 0;
  int height = 0;
  std::vector<double> weights;

  /// The weights as whole numbers, toward zero and within the range of an int; as single-precision ones.
  std::vector<int> whole() const;
  std::vector<float> single() const;
  friend bool operator==(const Kernel&, const Kernel&) = default;
};

/// What a parameter holds. Images are not owned.
using Value = std::variant<std::monostate, int, double, CRect, CPoint, Kernel, std::string, CPxImage*>;

enum class Kind { integer, real, choice, rectangle, point, kernel, text, image };

/// A named value of a choice, passed on as its number.
struct Choice {
  std::string name;
  int number;
};

struct Parameter {
  std::string name;
  Kind kind;
  Value standard;  ///< the default; std::monostate where the parameter must be given
  double least = std::numeric_limits<double>::lowest();  ///< what front ends accept: the library takes anything
  double most = std::numeric_limits<double>::max();
  double usualLeast = 0;  ///< what people use: sliders and random draws stay within
  double usualMost = 255;
  std::string unitName;
  std::string helpText;
  std::vector<Choice> choices;
  bool isOptional = false;   ///< may be left out although it has no default
  bool sizesResult = false;  ///< the memory of the result grows with it: random draws stay within the usual range

  Parameter& range(double from, double to) { return least = from, most = to, *this; }
  Parameter& usually(double from, double to) { return usualLeast = from, usualMost = to, *this; }
  Parameter& unit(std::string name_) { return unitName = std::move(name_), *this; }
  Parameter& help(std::string text) { return helpText = std::move(text), *this; }
  Parameter& growing() { return sizesResult = true, *this; }
  Parameter& optional() { return isOptional = true, *this; }
  bool required() const { return !isOptional && std::holds_alternative<std::monostate>(standard); }
};

Parameter integer(std::string name, std::optional<int> standard = {});
Parameter real(std::string name, std::optional<double> standard = {});
Parameter choice(std::string name, std::vector<Choice> choices, std::optional<int> standard = {});
/// Left, top, right, bottom; the default is the whole image.
Parameter rectangle(std::string name = "rect", std::optional<CRect> standard = CRect(-1, -1, -1, -1));
Parameter point(std::string name, std::optional<CPoint> standard = {});
Parameter kernel(std::string name);
Parameter text(std::string name, std::optional<std::string> standard = {});
/// A second image.
Parameter image(std::string name);

/// The value that a text means for the parameter. Throws std::invalid_argument with one line that says what is wrong
/// and what would be right. Not for images.
Value parse(const Parameter& parameter, std::string_view text);
/// The text that parse understands.
std::string format(const Parameter& parameter, const Value& value);

// What an operation takes and gives -----------------------------------------------------------------------------------

/// Sample classes; deepSamples are those beyond 32 bits, which hardly any operation takes.
enum Samples : unsigned {
  byteSamples = 1,
  wordSamples = 2,
  realSamples = 4,
  wholeSamples = 3,
  anySample = 7,
  deepSamples = 8
};
enum class MaskUse { ignored, honoured };

/// The images that an operation processes.
struct Accepts {
  std::vector<int> channels = {1, 2, 3, 4};
  unsigned samples = anySample;
  MaskUse mask = MaskUse::ignored;                           ///< whether it looks at the area of interest
  std::vector<COLOR_MODEL> models = {};                      ///< empty: every model with these channels
  std::function<std::string(const CPxImage&)> refuses = {};  ///< what else it does not process: why, or ""
};

enum class Where {
  intoDestination,  ///< dst takes the source's shape
  inPlace,          ///< changes the bound image, its shape stays
  inPlaceReshaped,  ///< changes the bound image and its shape
  intoOwnShape,     ///< creates dst in a shape of its own
  intoPrepared,     ///< fills a dst that `prepare` has created
  data,             ///< gives a report instead of an image
};

/// What becomes of dst when the operation does not process the image's type.
enum class Refusal {
  copies,     ///< 0, dst is a copy of the source (in place: unchanged)
  untouched,  ///< 0, dst is as it was
  succeeds,   ///< 1, in-place image unchanged, or dst a copy
  clears,     ///< dst is created and zero
  varies,     ///< none of these; the family's tests tell
};

class Call;

struct Result {
  Where where = Where::intoDestination;
  Refusal refusal = Refusal::copies;
  int done = 1;                                  ///< the flag that means success: some operations deliberately report 0
  std::function<void(Call&)> prepare = {};       ///< creates dst, for intoPrepared
  std::function<int(const Call&)> doneFor = {};  ///< in place of done, where the flag depends on the call
};

/// How far from a pixel its result depends on the source.
struct Reach {
  enum Extent { pixels, whole } extent = pixels;
  std::function<int(const Call&)> distance = {};  ///< none: 0

  static Reach none() { return {}; }
  static Reach of(int n) {
    return {pixels, [n](const Call&) { return n; }};
  }
  static Reach by(std::function<int(const Call&)> distance) { return {pixels, std::move(distance)}; }
  static Reach wholeImage() { return {whole, {}}; }
};

struct Operation {
  std::string name;     ///< the word for it: lower case, as in recipes
  std::string method;   ///< Class::Method
  std::string summary;  ///< one line
  Accepts accepts;
  Result result;
  std::vector<Parameter> parameters;
  std::function<int(Call&)> run;
  Reach reach = {};
  std::string formula = {};                ///< plain text, as in the header
  std::string example = {};                ///< a recipe that shows it
  std::string family = {};                 ///< set by the catalogue
  bool readsSeries = false;                ///< works on several images at once
  std::vector<std::string> alsoUses = {};  ///< other methods, where it chooses by the source's model

  const Parameter* find(std::string_view parameter) const;
  /// "" where the operation processes such images, else why not: "needs 1 channel, this has 3".
  std::string refusal(const CPxImage& source, std::string_view subject = "this") const;
};

// A call --------------------------------------------------------------------------------------------------------------

/// One use of an operation: its images and arguments.
class Call {
 public:
  Call(const Operation& operation, CPxImage& source, CPxImage& dst)
      : operation_(operation), source_(source), dst_(dst) {}

  const Operation& operation() const { return operation_; }
  CPxImage& source() { return source_; }
  const CPxImage& source() const { return source_; }
  CPxImage& dst() { return dst_; }
  /// The image that in-place operations change, else the source.
  CPxImage& bound();

  CPxImage* mask = nullptr;       ///< the area of interest
  std::vector<CPxImage*> series;  ///< for operations over several images, the source first
  std::string report;             ///< what a data operation found, as JSON

  /// Throws std::invalid_argument where the operation has no such parameter.
  void set(std::string_view name, Value value);
  bool has(std::string_view name) const;
  const Value& value(std::string_view name) const;
  int integer(std::string_view name) const;  ///< choices too
  double real(std::string_view name) const;
  float single(std::string_view name) const;
  CRect rectangle(std::string_view name = "rect") const;
  CPoint point(std::string_view name) const;
  const Kernel& kernel(std::string_view name = "kernel") const;
  const std::string& text(std::string_view name) const;
  CPxImage& image(std::string_view name) const;

  /// A processing object on the bound image, with the area of interest.
  template <class Processing>
  Processing on() {
    Processing processing(&bound());
    processing.SetAOIImage(mask);
    return processing;
  }

  /// Runs the operation: copies the source to dst first where it works in place, prepares dst where it is filled only.
  /// Returns the operation's flag.
  int run() { return run(operation_.run); }
  /// The same with another body: a test's slow twin.
  int run(const std::function<int(Call&)>& body);
  bool succeeded(int flag) const {
    const Result& result = operation_.result;
    return flag == (result.doneFor ? result.doneFor(*this) : result.done);
  }

 private:
  const Operation& operation_;
  CPxImage& source_;
  CPxImage& dst_;
  std::map<std::string, Value, std::less<>> arguments_;
};

}  // namespace rasterkit::catalogue

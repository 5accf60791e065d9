#include "catalogue/operation.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <stdexcept>

#include "catalogue/catalogue.h"
#include "catalogue/describe.h"

namespace rasterkit::catalogue {
namespace {

template <class Default>
Parameter make(std::string name, Kind kind, const std::optional<Default>& standard) {
  Parameter parameter{.name = std::move(name), .kind = kind, .standard = {}};
  if (standard) parameter.standard = *standard;
  return parameter;
}

[[noreturn]] void bad(const Parameter& parameter, std::string_view given, const std::string& wanted) {
  throw std::invalid_argument(parameter.name + "=" + std::string(given) + ": " + wanted);
}

// Shortest text that reads back as the same number.
std::string shortest(double number) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, number);
  return std::string(buffer, end.ptr);
}

template <class Number>
bool readNumber(std::string_view text, Number& number) {
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

template <class Number>
Number numberWithin(const Parameter& parameter, std::string_view text, const std::string& wanted) {
  Number number{};
  if (!readNumber(text, number)) bad(parameter, text, "needs " + wanted);
  if (!(static_cast<double>(number) >= parameter.least && static_cast<double>(number) <= parameter.most)) {
    const bool below = parameter.least > std::numeric_limits<double>::lowest();
    const bool above = parameter.most < std::numeric_limits<double>::max();
    bad(parameter, text,
        below && above ? "must be from " + shortest(parameter.least) + " to " + shortest(parameter.most)
        : below        ? "must be at least " + shortest(parameter.least)
        : above        ? "must be at most " + shortest(parameter.most)
                       : "needs " + wanted);
  }
  return number;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const auto at = text.find(separator);
    parts.push_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + 1);
  }
}

std::vector<int> integers(const Parameter& parameter, std::string_view text, std::size_t count,
                          const std::string& wanted) {
  const auto parts = split(text, ',');
  std::vector<int> numbers(parts.size());
  for (std::size_t i = 0; i < parts.size(); ++i)
    if (!readNumber(parts[i], numbers[i])) bad(parameter, text, "needs " + wanted);
  if (numbers.size() != count) bad(parameter, text, "needs " + wanted);
  return numbers;
}

// WIDTHxHEIGHT:weight,weight,...
Kernel readKernel(const Parameter& parameter, std::string_view text) {
  const std::string wanted = "WIDTHxHEIGHT:weight,weight,... such as 3x3:1,2,1,2,4,2,1,2,1";
  const auto colon = text.find(':');
  const auto sizes = split(text.substr(0, colon), 'x');
  Kernel kernel;
  if (colon == std::string_view::npos || sizes.size() != 2 || !readNumber(sizes[0], kernel.width) ||
      !readNumber(sizes[1], kernel.height) || kernel.width < 1 || kernel.height < 1)
    bad(parameter, text, "needs " + wanted);
  for (const auto part : split(text.substr(colon + 1), ',')) {
    double weight = 0;
    if (!readNumber(part, weight) || !std::isfinite(weight)) bad(parameter, text, "needs " + wanted);
    kernel.weights.push_back(weight);
  }
  if (kernel.weights.size() != static_cast<std::size_t>(kernel.width) * static_cast<std::size_t>(kernel.height))
    bad(parameter, text,
        "has " + std::to_string(kernel.weights.size()) + " weights for " + std::string(text.substr(0, colon)));
  return kernel;
}

}  // namespace

Parameter integer(std::string name, std::optional<int> standard) {
  return make(std::move(name), Kind::integer, standard);
}
Parameter real(std::string name, std::optional<double> standard) { return make(std::move(name), Kind::real, standard); }
Parameter rectangle(std::string name, std::optional<CRect> standard) {
  return make(std::move(name), Kind::rectangle, standard);
}
Parameter point(std::string name, std::optional<CPoint> standard) {
  return make(std::move(name), Kind::point, standard);
}
Parameter kernel(std::string name) { return make(std::move(name), Kind::kernel, std::optional<Kernel>()); }
Parameter text(std::string name, std::optional<std::string> standard) {
  return make(std::move(name), Kind::text, standard);
}
Parameter image(std::string name) { return make(std::move(name), Kind::image, std::optional<CPxImage*>()); }

Parameter choice(std::string name, std::vector<Choice> choices, std::optional<int> standard) {
  Parameter parameter = make(std::move(name), Kind::choice, standard);
  parameter.choices = std::move(choices);
  return parameter;
}

Value parse(const Parameter& parameter, std::string_view text) {
  switch (parameter.kind) {
    case Kind::integer: return numberWithin<int>(parameter, text, "a whole number");
    case Kind::real: return numberWithin<double>(parameter, text, "a number");
    case Kind::choice: {
      std::vector<std::string> names;
      for (const Choice& choice : parameter.choices) {
        if (choice.name == text) return choice.number;
        names.push_back(choice.name);
      }
      std::string list;
      for (const auto& name : names) list += (list.empty() ? "" : ", ") + name;
      bad(parameter, text, "is none of " + list + "; did you mean " + nearest(text, names) + "?");
    }
    case Kind::rectangle: {
      if (text == "all") return CRect(-1, -1, -1, -1);
      const auto n = integers(parameter, text, 4, "left,top,right,bottom in pixels, or all");
      return CRect(n[0], n[1], n[2], n[3]);
    }
    case Kind::point: {
      const auto n = integers(parameter, text, 2, "x,y in pixels");
      return CPoint(n[0], n[1]);
    }
    case Kind::kernel: return readKernel(parameter, text);
    case Kind::text: return std::string(text);
    case Kind::image: break;
  }
  bad(parameter, text, "is an image");
}

std::string format(const Parameter& parameter, const Value& value) {
  if (const int* number = std::get_if<int>(&value)) {
    for (const Choice& choice : parameter.choices)
      if (choice.number == *number) return choice.name;
    return std::to_string(*number);
  }
  if (const double* number = std::get_if<double>(&value)) return shortest(*number);
  if (const CRect* r = std::get_if<CRect>(&value)) {
    if (*r == CRect(-1, -1, -1, -1)) return "all";
    return std::to_string(r->left) + "," + std::to_string(r->top) + "," + std::to_string(r->right) + "," +
           std::to_string(r->bottom);
  }
  if (const CPoint* p = std::get_if<CPoint>(&value)) return std::to_string(p->x) + "," + std::to_string(p->y);
  if (const Kernel* k = std::get_if<Kernel>(&value)) {
    std::string out = std::to_string(k->width) + "x" + std::to_string(k->height);
    for (std::size_t i = 0; i < k->weights.size(); ++i) out += (i ? "," : ":") + shortest(k->weights[i]);
    return out;
  }
  if (const std::string* s = std::get_if<std::string>(&value)) return *s;
  return "";
}

std::vector<int> Kernel::whole() const {
  std::vector<int> out;
  for (const double weight : weights) out.push_back(static_cast<int>(std::clamp<double>(weight, INT_MIN, INT_MAX)));
  return out;
}

std::vector<float> Kernel::single() const {
  std::vector<float> out;
  for (const double weight : weights) out.push_back(static_cast<float>(weight));
  return out;
}

const Parameter* Operation::find(std::string_view parameter) const {
  const auto found = std::ranges::find(parameters, parameter, &Parameter::name);
  return found == parameters.end() ? nullptr : &*found;
}

std::string Operation::refusal(const CPxImage& source, std::string_view subject) const {
  const std::string has = ", " + std::string(subject) + " has ";
  if (std::ranges::find(accepts.channels, source.channels) == accepts.channels.end()) {
    std::string counts;
    for (std::size_t i = 0; i < accepts.channels.size(); ++i)
      counts += (i == 0 ? "" : i + 1 == accepts.channels.size() ? " or " : ", ") + std::to_string(accepts.channels[i]);
    return "needs " + counts + (counts == "1" ? " channel" : " channels") + has + std::to_string(source.channels);
  }
  const unsigned samples = source.bitsPerSample <= 8    ? byteSamples
                           : source.bitsPerSample <= 16 ? wordSamples
                           : source.bitsPerSample <= 32 ? realSamples
                                                        : deepSamples;
  if (!(accepts.samples & samples)) {
    const char* const names[] = {"",      "8-bit",          "16-bit",          "8-bit or 16-bit",
                                 "float", "8-bit or float", "16-bit or float", "8-bit, 16-bit or float"};
    return std::string("needs ") + names[accepts.samples & anySample] + " samples" + has +
           (samples == deepSamples ? std::to_string(source.bitsPerSample) + "-bit" : names[samples]) + " samples";
  }
  if (!accepts.models.empty() && std::ranges::find(accepts.models, source.colorModel) == accepts.models.end()) {
    std::string models;
    for (const COLOR_MODEL model : accepts.models) models += (models.empty() ? "" : " or ") + modelName(model);
    return "needs an image in " + models + ", " + std::string(subject) + " is " + modelName(source.colorModel);
  }
  return accepts.refuses ? accepts.refuses(source) : "";
}

CPxImage& Call::bound() {
  const Where where = operation_.result.where;
  return where == Where::inPlace || where == Where::inPlaceReshaped ? dst_ : source_;
}

void Call::set(std::string_view name, Value value) {
  if (!operation_.find(name)) throw std::invalid_argument(operation_.name + " has no parameter " + std::string(name));
  arguments_.insert_or_assign(std::string(name), std::move(value));
}

bool Call::has(std::string_view name) const { return !std::holds_alternative<std::monostate>(value(name)); }

const Value& Call::value(std::string_view name) const {
  const auto found = arguments_.find(name);
  if (found != arguments_.end()) return found->second;
  const Parameter* const parameter = operation_.find(name);
  if (!parameter) throw std::invalid_argument(operation_.name + " has no parameter " + std::string(name));
  return parameter->standard;
}

int Call::integer(std::string_view name) const { return std::get<int>(value(name)); }
double Call::real(std::string_view name) const { return std::get<double>(value(name)); }
float Call::single(std::string_view name) const { return static_cast<float>(real(name)); }
CRect Call::rectangle(std::string_view name) const { return std::get<CRect>(value(name)); }
CPoint Call::point(std::string_view name) const { return std::get<CPoint>(value(name)); }
const Kernel& Call::kernel(std::string_view name) const { return std::get<Kernel>(value(name)); }
const std::string& Call::text(std::string_view name) const { return std::get<std::string>(value(name)); }
CPxImage& Call::image(std::string_view name) const { return *std::get<CPxImage*>(value(name)); }

int Call::run(const std::function<int(Call&)>& body) {
  if (&bound() == &dst_ && &dst_ != &source_) dst_ = source_;
  if (operation_.result.prepare) operation_.result.prepare(*this);
  return body(*this);
}

}  // namespace rasterkit::catalogue

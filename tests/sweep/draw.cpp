#include "tests/sweep/draw.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace rasterkit::sweep {
namespace {

using namespace catalogue;
using test::Random;

double limited(const Parameter& parameter, double value) {
  double least = parameter.least, most = parameter.most;
  if (parameter.sizesResult) least = std::max(least, parameter.usualLeast), most = std::min(most, parameter.usualMost);
  return value < least ? least : value > most ? most : value;
}

int drawnInteger(Random& random, const Parameter& parameter) {
  static const int edges[] = {INT_MIN, INT_MIN + 1, -65536, -256, -2,  -1,  0,     1,     2,
                              3,       127,         128,    254,  255, 256, 65535, 65536, INT_MAX};
  const double value = random.oneIn(3) ? edges[random.between(0, int(std::size(edges)) - 1)]
                                       : random.between(int(parameter.usualLeast), int(parameter.usualMost));
  return int(std::clamp(limited(parameter, value), double(INT_MIN), double(INT_MAX)));
}

double drawnReal(Random& random, const Parameter& parameter) {
  static const double edges[] = {0.0,    -0.0,  0.5,     1.0,     -1.0,     2.0,       255.0,
                                 -255.5, 300.0, -1000.0, 32767.0, 33000.0,  -4e4,      4194304.0,
                                 1e10,   -1e10, 1e-40,   3e38,    INFINITY, -INFINITY, NAN};
  if (random.oneIn(4)) {
    const double edge = edges[random.between(0, int(std::size(edges)) - 1)];
    if (!std::isnan(edge) || (!parameter.sizesResult && parameter.most > 1e300)) return limited(parameter, edge);
  }
  return parameter.usualLeast + random.fraction() * (parameter.usualMost - parameter.usualLeast);
}

int drawnEdge(Random& random, int length) {
  static const int edges[] = {INT_MIN, -1, 0, 1, INT_MAX};
  if (random.oneIn(6)) return edges[random.between(0, 4)];
  return random.between(-3, length + 3);
}

Kernel drawnKernel(Random& random) {
  Kernel kernel{random.between(1, 5), random.between(1, 5), {}};
  if (random.oneIn(2)) kernel.width = kernel.height = 3;
  const int style = random.between(0, 4);
  for (int i = 0; i < kernel.width * kernel.height; ++i) {
    double weight = random.between(-4, 4);
    if (style == 1) weight = random.between(-127, 127);
    if (style == 2) weight = random.between(-70000, 70000);
    if (style == 3) weight = double(float(random.fraction() * 2 - 0.7));
    if (style == 4) weight = random.between(-200, 200) / 64.0;  // of which double precision holds every sum
    kernel.weights.push_back(weight);
  }
  return kernel;
}

CPxImage drawnPartner(Random& random, const Parameter& parameter, const CPxImage& source) {
  int width = source.width, height = source.height;
  if (random.oneIn(5)) width = random.between(0, source.width + 5), height = random.between(0, source.height + 5);
  if (parameter.name == "mask") return test::randomMask(random, width, height);
  test::PixelType type{source.colorModel, source.bitsPerSample};
  if (random.oneIn(6)) type = random.pick(test::pixelTypes());
  return test::randomImage(random, type, width, height);
}

}  // namespace

Draw drawn(Random& random, const Operation& operation, CPxImage source) {
  Draw draw;
  for (const Parameter& parameter : operation.parameters) {
    if (!parameter.required() && random.oneIn(4) && parameter.kind != Kind::image) continue;  // the default
    switch (parameter.kind) {
      case Kind::integer: draw.arguments[parameter.name] = drawnInteger(random, parameter); break;
      case Kind::real: draw.arguments[parameter.name] = drawnReal(random, parameter); break;
      case Kind::choice:
        draw.arguments[parameter.name] =
            random.oneIn(12) ? random.between(-2, 40) : random.pick(parameter.choices).number;
        break;
      case Kind::rectangle: {
        if (random.oneIn(4)) {
          draw.arguments[parameter.name] = CRect(-1, -1, -1, -1);
          break;
        }
        const int left = drawnEdge(random, source.width), top = drawnEdge(random, source.height);
        const int right = drawnEdge(random, source.width), bottom = drawnEdge(random, source.height);
        draw.arguments[parameter.name] = CRect(left, top, right, bottom);
        break;
      }
      case Kind::point:
        draw.arguments[parameter.name] = CPoint{drawnEdge(random, source.width), drawnEdge(random, source.height)};
        break;
      case Kind::kernel: draw.arguments[parameter.name] = drawnKernel(random); break;
      case Kind::text: break;
      case Kind::image: draw.images[parameter.name] = drawnPartner(random, parameter, source); break;
    }
  }
  if (operation.readsSeries) {
    const test::PixelType type{source.colorModel, source.bitsPerSample};
    for (int more = random.between(0, 4); more > 0; --more)
      draw.series.push_back(test::randomImage(random, type, source.width, source.height));
  }
  if (operation.accepts.mask == MaskUse::honoured && random.oneIn(2)) {
    draw.masked = true;
    draw.mask = test::randomMask(random, source.width, source.height);
  }
  draw.source = std::move(source);
  return draw;
}

std::vector<test::PixelType> typesFor(const Operation& operation) {
  std::vector<test::PixelType> types = test::pixelTypes();
  for (const COLOR_MODEL model : operation.accepts.models)
    for (const int bits : {8, 16, 32})
      if (std::ranges::none_of(types, [&](test::PixelType t) { return t.model == model && t.bits == bits; }))
        types.push_back({model, bits});
  types.push_back({CM_GRAY, 5});
  types.push_back({CM_RGB, 12});
  types.push_back({CM_GRAY, 24});
  return types;
}

Outcome outcome(const Operation& operation, const Draw& draw, const std::function<int(Call&)>& body,
                const CPxImage& before, Alias alias) {
  Outcome result;
  result.source = draw.source;
  result.images = draw.images;
  result.series = draw.series;
  result.mask = draw.mask;
  CPxImage other = before;

  CPxImage& dst = alias == Alias::dstIsSource ? result.source : alias == Alias::dstIsMask ? result.mask : other;
  Call call(operation, result.source, dst);
  for (const auto& [name, value] : draw.arguments) call.set(name, value);
  for (auto& [name, image] : result.images)
    call.set(name, alias == Alias::imageIsSource ? &result.source : alias == Alias::imageIsDst ? &dst : &image);
  if (draw.masked) call.mask = alias == Alias::maskIsSource ? &result.source : &result.mask;
  if (operation.readsSeries) {
    call.series.push_back(&result.source);
    for (CPxImage& image : result.series) call.series.push_back(&image);
  }
  result.flag = call.run(body);
  result.succeeded = call.succeeded(result.flag);
  result.dst = dst;
  result.report = call.report;
  return result;
}

std::string describe(const Operation& operation, const Draw& draw) {
  std::string text = operation.name;
  for (const auto& [name, value] : draw.arguments) text += " " + name + "=" + format(*operation.find(name), value);
  auto shape = [](const CPxImage& image) {
    return test::nameOf({image.colorModel, image.bitsPerSample}) + ", " + std::to_string(image.width) + " x " +
           std::to_string(image.height);
  };
  text += " on " + shape(draw.source);
  for (const auto& [name, image] : draw.images) text += "; " + name + " " + shape(image);
  if (operation.readsSeries) text += "; series of " + std::to_string(draw.series.size() + 1);
  if (draw.masked) text += "; masked";
  return text;
}

}  // namespace rasterkit::sweep

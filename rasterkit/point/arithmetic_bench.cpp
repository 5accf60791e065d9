#include <rasterkit/point/arithmetic.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

const CRect kAll(-1, -1, -1, -1);

struct Type {
  COLOR_MODEL model;
  int bits;
  const char* name;
};
constexpr Type kTypes[] = {{CM_GRAY, 8, " grey 8-bit"}, {CM_RGB, 8, " RGB 8-bit"}, {CM_GRAY, 16, " grey 16-bit"}};

// ours(arithmetic) and peer(matrix), both in place.
template <class Ours, class Peer>
void byConstant(Bench& bench, const std::string& name, Ours ours, [[maybe_unused]] Peer peer,
                const char* against = "") {
  for (const auto& [model, bits, type] : kTypes) {
    const auto target = image(model, bits), peers = image(model, bits);
    bench.add({.name = name + type,
               .ours =
                   [=] {
                     CPxArithmeticProcessing arithmetic(target.get());
                     ours(arithmetic);
                   },
               .peer = PEER([peers, m = mat(*peers), peer]() mutable { peer(m); }),
               .copies = static_cast<std::size_t>(target->bufferSize),
               .against = against});
  }
}

BENCH(constants) {
  byConstant(
      bench, "add", [](auto& a) { a.ADD(3, kAll); }, [](auto& m) { PEER(cv::add(m, cv::Scalar::all(3), m)); });
  byConstant(
      bench, "sub", [](auto& a) { a.SUB(3, kAll); }, [](auto& m) { PEER(cv::subtract(m, cv::Scalar::all(3), m)); });
  byConstant(
      bench, "mul", [](auto& a) { a.MUL(3, kAll); }, [](auto& m) { PEER(m.convertTo(m, -1, 3)); },
      "convert with scale");
  byConstant(
      bench, "mul-real", [](auto& a) { a.MUL(1.25F, kAll); }, [](auto& m) { PEER(m.convertTo(m, -1, 1.25)); },
      "convert with scale");
  byConstant(
      bench, "add-real", [](auto& a) { a.ADD(1.25F, kAll); }, [](auto& m) { PEER(m.convertTo(m, -1, 1, 1.25)); },
      "convert with offset");
}

BENCH(partners) {
  for (const auto& [model, bits, type] : kTypes) {
    const auto target = image(model, bits), peers = image(model, bits), other = image(model, bits);
    const auto copies = static_cast<std::size_t>(target->bufferSize);
    bench.add({.name = std::string("or") + type,
               .ours = [=] { CPxArithmeticProcessing(target.get()).OR(*other, kAll); },
               .peer = PEER([peers, other, m = mat(*peers), o = mat(*other)]() mutable { cv::bitwise_or(m, o, m); }),
               .copies = copies});
    bench.add({.name = std::string("div") + type,
               .ours = [=] { CPxArithmeticProcessing(target.get()).DIV(*other, kAll); },
               .peer = PEER([peers, other, m = mat(*peers), o = mat(*other)]() mutable { cv::divide(m, o, m); }),
               .copies = copies});
  }
}

}  // namespace
}  // namespace rasterkit::bench

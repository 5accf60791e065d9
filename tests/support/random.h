#pragma once
/// Random numbers that are the same on every platform and in every run (the standard distributions are not).

#include <cstddef>
#include <cstdint>

namespace rasterkit::test {

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  /// Takes its choices from the bytes while they last: a fuzzer's input. They must outlive the object.
  Random(const std::uint8_t* bytes, std::size_t count) : state_(count), next_(bytes), end_(bytes + count) {}

  /// Whether choices still come from bytes.
  bool hasBytes() const { return next_ != end_; }

  // SplitMix64 (Steele, Lea, Flood 2014), over a byte of the input at a time where there is one.
  std::uint64_t bits() {
    if (next_ != end_) state_ = state_ * 31 + *next_++;
    std::uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
    z = (z ^ z >> 27) * 0x94D049BB133111EBu;
    return z ^ z >> 31;
  }
  int between(int least, int most) {
    return static_cast<int>(
        least + static_cast<std::int64_t>(bits() % (static_cast<std::uint64_t>(std::int64_t{most} - least) + 1)));
  }
  bool oneIn(int n) { return between(1, n) == 1; }
  /// From 0 up to, but not including, 1.
  double fraction() { return static_cast<double>(bits() >> 11) * 0x1p-53; }
  template <class List>
  auto pick(const List& list) {
    return *(list.begin() + between(0, static_cast<int>(list.size()) - 1));
  }

 private:
  std::uint64_t state_;
  const std::uint8_t* next_ = nullptr;
  const std::uint8_t* end_ = nullptr;
};

}  // namespace rasterkit::test

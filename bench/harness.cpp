#include "bench/harness.h"

#include <benchmark/benchmark.h>
#include <rasterkit/core/levels.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string_view>

namespace rasterkit::bench {
namespace {

int width = 4096, height = 3072;

struct Group {
  const char* name;
  void (*fill)(Bench&);
};

std::vector<Group>& groups() {
  static std::vector<Group> list;
  return list;
}

std::uint32_t hash(std::uint32_t x) {
  x = (x ^ x >> 16) * 0x7feb352du;
  x = (x ^ x >> 15) * 0x846ca68bu;
  return x ^ x >> 16;
}

// f(x, y, channel) for every sample.
template <class F>
Image filled(COLOR_MODEL model, int bits, F f) {
  auto made = std::make_shared<CPxImage>(model, bits, width, height);
  for (int y = 0; y < height; ++y) {
    void* const row = made->Get2DBuffer()[y];
    for (int i = 0; i < width * made->channels; ++i) {
      const double value = f(i / made->channels, y, i % made->channels);
      if (bits <= 8)
        static_cast<std::uint8_t*>(row)[i] = static_cast<std::uint8_t>(value);
      else if (bits <= 16)
        static_cast<std::uint16_t*>(row)[i] = static_cast<std::uint16_t>(value);
      else
        static_cast<float*>(row)[i] = static_cast<float>(value);
    }
  }
  return made;
}

// Keeps the time of every repetition, by the benchmark's name.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs)
      if (run.run_type == Run::RT_Iteration) times[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
  }
  double median(const std::string& name) {
    auto& list = times[name];
    if (list.empty()) return 0;
    std::ranges::sort(list);
    return list[list.size() / 2];
  }
  std::map<std::string, std::vector<double>> times;
};

int usage() {
  std::puts(
      "usage: rasterkit_bench [NAME...] [--size WxH] [--level NAME] [--rounds N] [--json FILE]\n"
      "Measures the benches whose name holds one of the words (all without a word).");
  return 2;
}

int run(int argc, char** argv) {
  std::vector<std::string> words;
  const char* json = nullptr;
  int rounds = 9;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const bool more = i + 1 < argc;
    if (argument == "--size" && more) {
      if (std::sscanf(argv[++i], "%dx%d", &width, &height) != 2 || width < 1 || height < 1) return usage();
    } else if (argument == "--level" && more) {
      if (!useLevel(argv[++i])) return std::fprintf(stderr, "no level %s here\n", argv[i]), 2;
    } else if (argument == "--rounds" && more) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else if (argument == "--json" && more) {
      json = argv[++i];
    } else if (argument.starts_with("-")) {
      return usage();
    } else {
      words.emplace_back(argument);
    }
  }
#ifdef RASTERKIT_OPENCV
  cv::setNumThreads(1);
#endif

  char program[] = "rasterkit_bench", interleave[] = "--benchmark_enable_random_interleaving=true";
  char* arguments[] = {program, interleave, nullptr};
  int count = 2;
  benchmark::Initialize(&count, arguments);

  std::FILE* const out = json ? std::fopen(json, "w") : nullptr;
  if (json && !out) return std::fprintf(stderr, "%s cannot be written\n", json), 1;
  if (out) std::fprintf(out, "[");
  bool first = true, any = false;

  std::printf("%d x %d, medians of %d rounds, milliseconds\n", width, height, rounds);
  std::printf("%-44s %9s %9s %9s %12s %12s\n", "case", "ours", "peer", "memcpy", "peer/ours", "ours/memcpy");
  for (const Group& group : groups()) {
    if (!words.empty() && std::ranges::none_of(words, [&](const auto& word) {
          return std::string_view(group.name).find(word) != std::string_view::npos;
        }))
      continue;
    Bench bench;
    group.fill(bench);
    for (const Case& c : bench.cases) {
      any = true;
      benchmark::ClearRegisteredBenchmarks();
      auto measure = [&](const char* name, const std::function<void()>& f) {
        f();  // the first call allocates
        benchmark::RegisterBenchmark(name,
                                     [f](benchmark::State& state) {
                                       for (auto _ : state) {
                                         f();
                                         benchmark::ClobberMemory();
                                       }
                                     })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Repetitions(rounds)
            ->MinTime(0.02);
      };
      std::vector<unsigned char> from(c.copies, 1), to(c.copies);
      measure("ours", c.ours);
      if (c.peer) measure("peer", c.peer);
      if (c.copies) measure("memcpy", [&] { std::memcpy(to.data(), from.data(), from.size()); });
      Collector collector;
      benchmark::RunSpecifiedBenchmarks(&collector);

      const double ours = collector.median("ours"), peer = collector.median("peer"), copy = collector.median("memcpy");
      auto cell = [](double value, const char* format) {
        char text[32] = "-";
        if (value > 0) std::snprintf(text, sizeof text, format, value);
        return std::string(text);
      };
      std::printf("%-44s %9s %9s %9s %12s %12s%s%s\n", c.name.c_str(), cell(ours, "%.3f").c_str(),
                  cell(peer, "%.3f").c_str(), cell(copy, "%.3f").c_str(), cell(peer / ours, "%.2f").c_str(),
                  cell(copy > 0 ? ours / copy : 0, "%.2f").c_str(), c.against.empty() ? "" : "  against ",
                  c.against.c_str());
      std::fflush(stdout);
      if (out)
        std::fprintf(out, "%s\n{\"bench\":\"%s\",\"case\":\"%s\",\"ours_ms\":%g,\"peer_ms\":%g,\"memcpy_ms\":%g}",
                     first ? "" : ",", group.name, c.name.c_str(), ours, peer, copy);
      first = false;
    }
  }
  if (out) {
    std::fprintf(out, "\n]\n");
    std::fclose(out);
  }
  if (any) return 0;
  std::printf("no bench of that name; there are:");
  for (const Group& group : groups()) std::printf(" %s", group.name);
  std::printf("\n");
  return 2;
}

}  // namespace

Registration::Registration(const char* name, void (*fill)(Bench&)) { groups().push_back({name, fill}); }

int benchWidth() { return width; }
int benchHeight() { return height; }

Image image(COLOR_MODEL model, int bits) {
  const double scale = bits > 8 && bits <= 16 ? 257 : 1;
  return filled(model, bits, [&](int x, int y, int c) {
    const double smooth = 96 + 80 * std::sin(x * 0.004 + c) * std::cos(y * 0.005 - c);
    const double noise = hash(static_cast<std::uint32_t>(x) * 2654435761u ^ static_cast<std::uint32_t>(y * 4 + c)) % 64;
    return (smooth + noise) * scale;
  });
}

Image flatImage(COLOR_MODEL model, int bits, double value) {
  return filled(model, bits, [&](int, int, int) { return value; });
}

Image sparseImage(double share) {
  const auto limit = static_cast<std::uint32_t>(share * 4294967295.0);
  return filled(CM_GRAY, 8, [&](int x, int y, int) {
    return hash(static_cast<std::uint32_t>(x) * 2654435761u ^ static_cast<std::uint32_t>(y)) < limit ? 255.0 : 0.0;
  });
}

#ifdef RASTERKIT_OPENCV
cv::Mat mat(CPxImage& image) {
  const int depth = image.bitsPerSample <= 8 ? CV_8U : image.bitsPerSample <= 16 ? CV_16U : CV_32F;
  return cv::Mat(image.height, image.width, CV_MAKETYPE(depth, image.channels), image.GetBuffer(),
                 static_cast<std::size_t>(image.bytesPerLine));
}
#endif

}  // namespace rasterkit::bench

int main(int argc, char** argv) { return rasterkit::bench::run(argc, argv); }

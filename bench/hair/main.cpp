// Holds the person's mask and colours against drawn scenes with known hair, as it was before the mask followed hair and
// as it is now. Prints a table in Markdown.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <opencv2/core.hpp>
#include <string>
#include <thread>
#include <vector>

#include "bench/hair/blur_fusion.h"
#include "bench/hair/lessons.h"
#include "bench/hair/report.h"
#include "bench/hair/times.h"

namespace qx::bench::hair {
namespace {

constexpr char kUsage[] =
    "usage: qx_hair_bench [--half tuning|untuned] [--seeds A-B] [--each] [--before] [--times] [--write DIR] [--dump "
    "DIR] "
    "[--lessons DIR] [--threads N]\n"
    "  --half     settings are chosen on `tuning` (seeds 0-29); `untuned` (90-119) are only looked at\n"
    "  --seeds    any others, say for training: 1000-1999\n"
    "  --each     a row for each scene as well\n"
    "  --before   the figures of the mask before, not what of them is left now\n"
    "  --times    what hair and colours cost, and nothing else; one thread, slow\n"
    "  --write    a PNG per scene: photograph, truth, mask before and now, results over blue before, now and true\n"
    "  --lessons  what the network of hair learns from, a file per scene; nothing is measured\n"
    "  --dump     raw planes for training, see bench/hair/report.h; nothing is measured\n"
    "  --threads  at a time, 1 unless told\n";

struct Options {
  uint32_t first = 0, last = 29;
  bool each = false, before = false, times = false;
  std::string write, dump, lessons;
  int threads = 1;
};

bool Parse(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--before") {
      options->before = true;
      continue;
    }
    if (name == "--times") {
      options->times = true;
      continue;
    }
    if (name == "--each") {
      options->each = true;
      continue;
    }
    if (i + 1 == argc) return false;  // --help among them
    const std::string value = argv[++i];
    if (name == "--half" && value == "tuning") {
      options->first = 0, options->last = 29;
    } else if (name == "--half" && value == "untuned") {
      options->first = 90, options->last = 119;
    } else if (name == "--seeds") {
      if (std::sscanf(value.c_str(), "%u-%u", &options->first, &options->last) != 2) return false;
    } else if (name == "--write") {
      options->write = value;
    } else if (name == "--dump") {
      options->dump = value;
    } else if (name == "--lessons") {
      options->lessons = value;
    } else if (name == "--threads") {
      options->threads = std::atoi(value.c_str());
    } else {
      return false;
    }
  }
  constexpr uint32_t kMostScenes = 1000000;
  return options->threads > 0 && options->first <= options->last && options->last - options->first < kMostScenes;
}

Errors Measure(const Scene& scene, const Cutout& cutout, const photo::Image& coloursOfTruth) {
  return {Compare(scene, cutout.mask), Compare(scene, cutout.mask, cutout.colours),
          Compare(scene, TrueMask(scene), coloursOfTruth)};
}

void WriteLessons(const std::string& file, const std::vector<float>& lessons) {
  FILE* out = std::fopen(file.c_str(), "wb");
  const bool written = out && std::fwrite(lessons.data(), sizeof(float), lessons.size(), out) == lessons.size();
  if ((out && std::fclose(out) != 0) || !written) throw std::runtime_error(file + " cannot be written");
}

Row Work(uint32_t seed, photo::PersonSegmenter& segmenter, const Options& options) {
  const Scene scene = MakeScene(seed);
  if (!options.lessons.empty()) {
    WriteLessons(options.lessons + "/" + std::to_string(seed), MakeLessons(scene, segmenter));
    return {};
  }
  const photo::PersonMap map = FindPerson(segmenter, scene);
  const Cutout before = MakeBefore(scene, map);
  Row row{seed, scene.backdrop, scene.kind, scene.colour, static_cast<int>(scene.face.Width()), {}, {}};
  if (!options.dump.empty()) {
    WriteDump(options.dump, scene, before);
    return row;
  }
  const Cutout now = MakeNow(scene, map);
  const photo::Mask truth = TrueMask(scene);
  row.before = Measure(scene, before, BlurFusionColours(scene.picture, truth, scene.face.Width()));
  row.now = Measure(scene, now, ColoursNow(scene, truth));
  if (!options.write.empty()) WritePicture(options.write, scene, before, now);
  return row;
}

std::vector<Row> WorkAll(const Options& options) {
  std::vector<Row> rows(options.last - options.first + 1);
  std::atomic<size_t> next{0};
  std::exception_ptr failure;
  std::mutex guard;
  auto work = [&] {
    try {
      photo::PersonSegmenter segmenter;
      for (size_t i = next++; i < rows.size(); i = next++) {
        rows[i] = Work(options.first + static_cast<uint32_t>(i), segmenter, options);
      }
    } catch (...) {
      const std::lock_guard<std::mutex> lock(guard);
      failure = std::current_exception();
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < options.threads; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  if (failure) std::rethrow_exception(failure);
  return rows;
}

}  // namespace
}  // namespace qx::bench::hair

int main(int argc, char** argv) {
  using namespace qx::bench::hair;
  Options options;
  if (!Parse(argc, argv, &options)) return std::fputs(kUsage, stderr), 2;
  cv::setNumThreads(1);
  try {
    if (options.times) return PrintTimes(options.first, options.last), 0;
    const std::vector<Row> rows = WorkAll(options);
    if (!options.dump.empty() || !options.lessons.empty()) return 0;
    if (options.each) PrintEach(rows, !options.before);
    PrintTable(rows, !options.before);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qx_hair_bench: %s\n", error.what());
    return 1;
  }
  return 0;
}

// Makes defects from photographs and counts which measure of a face reports which.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/checks/defects.h"
#include "bench/checks/report.h"
#include "codec/codec.h"

namespace qx::bench::checks {
namespace {

constexpr char kUsage[] =
    "usage: qx_check_bench [--markdown] [--each] [--only TEXT] [--faces N] [--write DIR] [--times] PHOTOGRAPH...\n"
    "  --markdown  a table in Markdown\n"
    "  --each      what each portrait's own measures said before and after\n"
    "  --only      defects whose names hold that text\n"
    "  --faces     of a photograph, the largest first; 1 unless told\n"
    "  --write     a PNG per portrait and defect\n"
    "  --times     what the measures of a face cost beside detection and landmarks, and nothing else\n";

struct Options {
  bool markdown = false, each = false, times = false;
  std::string only, write;
  size_t faces = 1;
  std::vector<std::string> photographs;
};

bool Parse(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--markdown") {
      options->markdown = true;
    } else if (name == "--each") {
      options->each = true;
    } else if (name == "--times") {
      options->times = true;
    } else if (name.rfind("--", 0) != 0) {
      options->photographs.push_back(name);
    } else if (i + 1 == argc) {
      return false;  // --help among them
    } else if (name == "--only") {
      options->only = argv[++i];
    } else if (name == "--faces") {
      options->faces = static_cast<size_t>(std::max(1, std::atoi(argv[++i])));
    } else if (name == "--write") {
      options->write = argv[++i];
    } else {
      return false;
    }
  }
  return !options->photographs.empty();
}

void Write(const std::string& folder, const std::string& name, const photo::Image& picture) {
  std::filesystem::create_directories(folder);
  std::string file = name;
  for (char& c : file) {
    if (c == ' ' || c == '/' || c == '%') c = '_';
  }
  const std::vector<uint8_t> bytes = codec::EncodeImage(picture, codec::ImageFormat::kPng);
  std::ofstream out(folder + "/" + file + ".png", std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error(folder + "/" + file + ".png cannot be written");
}

void PrintTimes(const Options& options) {
  Examiner examiner;
  std::printf("%-24s %12s %12s %8s\n", "", "find, ms", "measures, ms", "ratio");
  for (const std::string& file : options.photographs) {
    for (const Portrait& portrait : examiner.Portraits(file, options.faces)) {
      const Examiner::Times times = examiner.Time(portrait);
      std::printf("%-24s %12.1f %12.1f %8.2f\n", portrait.name.c_str(), times.find, times.measure,
                  times.measure / times.find);
    }
  }
}

void Run(const Options& options) {
  Examiner examiner;
  Report report(options.markdown);
  std::vector<Portrait> portraits;
  std::vector<std::vector<photo::Measure>> before, beforeWall;
  for (const std::string& file : options.photographs) {
    for (Portrait& portrait : examiner.Portraits(file, options.faces)) {
      before.push_back(examiner.Measure(portrait.picture));
      report.PrintPortrait(portrait.name, before.back());
      beforeWall.push_back(examiner.Measure(BeforePlainWall(portrait)));
      report.PrintPortrait(portrait.name + " before a plain wall", beforeWall.back());
      if (!options.write.empty()) Write(options.write, portrait.name, portrait.picture);
      portraits.push_back(std::move(portrait));
    }
  }
  std::printf("\n");
  report.PrintHead();
  for (const Defect& defect : AllDefects()) {
    if (defect.name.find(options.only) == std::string::npos) continue;
    std::vector<Result> results;
    for (size_t i = 0; i < portraits.size(); ++i) {
      const photo::Image picture = defect.make(portraits[i]);
      if (!options.write.empty()) {
        Write(options.write, portraits[i].name + " " + defect.name + " " + defect.strength, picture);
      }
      results.push_back({portraits[i].name, (defect.isOfWall ? beforeWall : before)[i], examiner.Measure(picture)});
    }
    report.PrintDefect(defect, results, options.each);
  }
  report.PrintSum();
}

}  // namespace
}  // namespace qx::bench::checks

int main(int argc, char** argv) {
  using namespace qx::bench::checks;
  Options options;
  if (!Parse(argc, argv, &options)) return std::fputs(kUsage, stderr), 2;
  cv::setNumThreads(1);
  const qx::codec::ImageLibrary library;
  try {
    options.times ? PrintTimes(options) : Run(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qx_check_bench: %s\n", error.what());
    return 1;
  }
  return 0;
}

// Times everything in rounds, in random order within each, and prints one table of medians. Takes the options of
// Google Benchmark, such as --benchmark_filter=grey.
#include <cstdio>
#include <fstream>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "bench/cases.h"
#include "kernels/kernels.h"

namespace {

std::string ProcessorName() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown processor";
}

}  // namespace

int main(int argc, char** argv) {
  // The machine may be shared, so each pair is timed side by side many times, for a short while each.
  std::vector<std::string> arguments = {argv[0], "--benchmark_enable_random_interleaving=true",
                                        "--benchmark_repetitions=15", "--benchmark_min_time=0.03"};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  std::vector<char*> pointers;
  pointers.reserve(arguments.size());
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  auto count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 1;

  cv::setNumThreads(1);
  qx::bench::Table table;
  qx::bench::AddKernelCases(&table);
  qx::bench::AddLoopCases(&table);
  qx::bench::AddMathCases(&table);
  qx::bench::AddCropCases(&table);
  qx::bench::AddBeautyCases(&table);
  qx::bench::AddSkinCases(&table);
  qx::bench::AddAdjustCases(&table);
  if (std::string(QX_SAMPLE_PHOTO).empty()) {
    std::fputs("qx_bench: detection and landmarks are left out; configure with -DQX_SAMPLE_PHOTO=FILE\n", stderr);
  } else if (!qx::bench::AddEngineCases(QX_SAMPLE_PHOTO, &table)) {
    return 1;
  }
  std::printf("%s, %s row loops, compiler %s, OpenCV %s\n\n", ProcessorName().c_str(), qx::ActiveKernels().name,
              __VERSION__, CV_VERSION);
  benchmark::RunSpecifiedBenchmarks(&table);
  return 0;
}

// Runs the benchmarks of a program in turns and prints how many times as fast one is as another, by
// the medians of their repetitions: times of one run only can be compared.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

namespace tavo::bench {

struct Ratio {
  const char* label;
  const char* fast;  // names as the program prints them
  const char* slow;
  double goal;
};

class RatioReporter final : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      Times& times = times_[run.benchmark_name()];
      times.wall.push_back(run.GetAdjustedRealTime());
      times.processor.push_back(run.GetAdjustedCPUTime());
    }
  }

  void print(std::initializer_list<Ratio> ratios) {
    for (const Ratio& ratio : ratios) {
      const Times& fast = times_[ratio.fast];
      const Times& slow = times_[ratio.slow];
      if (fast.wall.empty() || slow.wall.empty()) continue;
      std::printf("%s: %.2f times as fast, %.2f by processor time (goal %.1f)\n", ratio.label,
                  median(slow.wall) / median(fast.wall),
                  median(slow.processor) / median(fast.processor), ratio.goal);
    }
  }

 private:
  struct Times {
    std::vector<double> wall, processor;
  };
  static double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
  }

  std::map<std::string, Times> times_;
};

inline int run(int argc, char** argv, std::initializer_list<Ratio> ratios) {
  char repetitions[] = "--benchmark_repetitions=5";
  char turns[] = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> arguments(argv, argv + argc);
  arguments.insert(arguments.begin() + 1, {repetitions, turns});  // given ones hold
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.print(ratios);
  return 0;
}

}  // namespace tavo::bench

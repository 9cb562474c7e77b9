// The object interface: collection and sorting of 1,000,000 time-stamped points, and its sort
// against std::sort on the same keys.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "api/timeline.h"
#include "tavo/itavo.h"

namespace {

constexpr int kPoints = 1000000;

std::string pathOf(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

std::vector<tavo::api::TimeOrder> randomOrder() {
  std::mt19937 random(11);
  std::vector<tavo::api::TimeOrder> order(kPoints);
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = {static_cast<int32_t>(random()), i};
  return order;
}

template <class Sort>
void sortKeys(benchmark::State& state, Sort sort) {
  const std::vector<tavo::api::TimeOrder> source = randomOrder();
  std::vector<tavo::api::TimeOrder> order;
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    order = source;
    state.ResumeTiming();
    sort(order);
    benchmark::DoNotOptimize(order.data());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void ownSort(benchmark::State& state) {
  sortKeys(state, [](std::vector<tavo::api::TimeOrder>& order) { tavo::api::sortByTime(order); });
}

void standardSort(benchmark::State& state) {
  sortKeys(state, [](std::vector<tavo::api::TimeOrder>& order) {
    std::sort(order.begin(), order.end(),
              [](const auto& a, const auto& b) { return a.key < b.key; });
  });
}

void collectAndSort(benchmark::State& state) {
  const std::string input = pathOf("tavo_bench_times.tvo");
  const std::string log = pathOf("tavo_bench_times.log");
  std::FILE* const file = std::fopen(input.c_str(), "wb");
  std::fputs("DATABASE\nPOINTS (PointNo,East,North,Date)\n", file);
  std::mt19937 random(5);
  for (int i = 0; i < kPoints; ++i) {
    const auto second = static_cast<uint32_t>(random() % (28U * 86400U));
    std::fprintf(file, "%d,%.3f,%.3f,%02u-06-2024/%02u:%02u:%02u.%02d;\n", i + 1, i * 0.5, i * 0.25,
                 second / 86400 + 1, second / 3600 % 24, second / 60 % 60, second % 60, i % 100);
  }
  std::fputs("END POINTS\nEND DATABASE\n", file);
  std::fclose(file);
  for ([[maybe_unused]] auto _ : state) {
    ITavo* const object = GetITavo();
    uint16_t errors = 0;
    uint16_t warnings = 0;
    object->Analyse(input.c_str(), log.c_str(), 10, &errors, &warnings);
    TimeCursor* const cursor = object->CreateCursor();
    if (errors != 0 || cursor->First() == 0) state.SkipWithError("nothing collected");
    object->Delete();
  }
  std::remove(input.c_str());
  std::remove(log.c_str());
  state.SetItemsProcessed(state.iterations() * kPoints);
}

BENCHMARK(ownSort)->Unit(benchmark::kMillisecond);
BENCHMARK(standardSort)->Unit(benchmark::kMillisecond);
BENCHMARK(collectAndSort)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

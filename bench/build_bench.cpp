// Building a text of 1,000,000 points from records in memory, against a plain fprintf loop that
// writes the same bytes. Both write to a file; the bytes are compared before anything is measured.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "bench/ratios.h"
#include "tavo/records.h"
#include "writers/build.h"

namespace {

using namespace tavo;

constexpr size_t kPoints = 1000000;
constexpr const char* kLibraryFile = "build_bench_library.txt";
constexpr const char* kLoopFile = "build_bench_loop.txt";

constexpr ColumnsRecord kColumns = {
    {},
    {TVO_FIELD_PointNo, TVO_FIELD_PointID, TVO_FIELD_East, TVO_FIELD_North, TVO_FIELD_Elevation,
     TVO_FIELD_CLASS, TVO_FIELD_JobNo, TVO_FIELD_Code, TVO_FIELD_End}};

std::vector<PointRecord> makePoints() {
  std::vector<PointRecord> points(kPoints);
  for (size_t i = 0; i < kPoints; ++i) {
    PointRecord& p = points[i];
    p = {};
    const auto x = static_cast<double>(i);
    p.PointNo = static_cast<uint32_t>(i + 1);
    snprintf(p.PointID, sizeof p.PointID, "P%zu", i % 5000);
    p.East = 500000 + x * 0.37137;
    p.North = 5200000 - x * 0.77171;
    p.Elevation = 400 + x * 0.00013;
    p.CLASS = TVO_ENUM_MEAS;
    p.JobNo = static_cast<uint16_t>(i % 300);
    snprintf(p.Code, sizeof p.Code, "C%zu", i % 90);
  }
  return points;
}

const std::vector<PointRecord>& points() {
  static const std::vector<PointRecord> all = makePoints();
  return all;
}

class MemorySource final : public writers::RecordSource {
 public:
  uint16_t fetch(uint32_t mode, uint32_t* type, void** record) override {
    if (mode == TVO_FIRST) at_ = 0;
    if (mode == TVO_NEXT) ++at_;
    if (mode == TVO_PREVIOUS) --at_;
    if (at_ > points_.size()) return TVO_ERR_STORE;
    *type = at_ == 0 ? TVO_RECORD_POINTS_COLUMNS : TVO_RECORD_POINTS;
    *record =
        at_ == 0 ? static_cast<void*>(&columns_) : const_cast<PointRecord*>(&points_[at_ - 1]);
    return TVO_OK;
  }

 private:
  const std::vector<PointRecord>& points_ = points();
  ColumnsRecord columns_ = kColumns;
  size_t at_ = 0;
};

// The values are those of makePoints, so the widths of their columns are known.
void printLoop(bool align) {
  FILE* file = fopen(kLoopFile, "wt");
  fputs("DATABASE\n  POINTS (PointNo,PointID,East,North,Elevation,CLASS,JobNo,Code)\n", file);
  for (const PointRecord& p : points()) {
    const int id = static_cast<int>(strlen(p.PointID)) + 2;
    if (align) {
      fprintf(file, "    %7u,  \"%s\",%*s%11.4f,  %12.4f,  %8.4f,  %s,  %3u,  \"%s\";\n", p.PointNo,
              p.PointID, 7 - id + 2, "", p.East, p.North, p.Elevation, "MEAS", p.JobNo, p.Code);
    } else {
      fprintf(file, "    %u,  \"%s\",%*s%.4f,  %.4f,  %.4f,  %s,  %u,  \"%s\";\n", p.PointNo,
              p.PointID, id - 2, "", p.East, p.North, p.Elevation, "MEAS", p.JobNo, p.Code);
    }
  }
  fputs("  END POINTS\nEND DATABASE\n", file);
  fclose(file);
}

void buildText(bool align) {
  MemorySource source;
  if (writers::build(kLibraryFile, source, {align, {4, 4, 10}}) != TVO_OK) abort();
}

std::string read(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void checkBytes() {
  for (const bool align : {false, true}) {
    buildText(align);
    printLoop(align);
    if (read(kLibraryFile) != read(kLoopFile)) {
      fprintf(stderr, "the two texts differ (alignment %s)\n", align ? "on" : "off");
      exit(1);
    }
  }
}

void library(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) buildText(state.range(0) != 0);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kPoints));
}

void fprintfLoop(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) printLoop(state.range(0) != 0);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kPoints));
}

BENCHMARK(library)->ArgName("align")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(fprintfLoop)
    ->ArgName("align")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  checkBytes();
  const int status =
      tavo::bench::run(argc, argv,
                       {{"alignment off, against fprintf", "library/align:0/real_time",
                         "fprintfLoop/align:0/real_time", 6},
                        {"alignment on, against fprintf", "library/align:1/real_time",
                         "fprintfLoop/align:1/real_time", 4.5}});
  remove(kLibraryFile);
  remove(kLoopFile);
  return status;
}

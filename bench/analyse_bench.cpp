// Analysis of large generated files: points and slope observations, against the plain program that
// a user would write for the same bytes, and against a floor that only finds the line ends.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "api/library.h"
#include "bench/ratios.h"
#include "tavo/records.h"

namespace {

constexpr int kPoints = 1000000;
constexpr int kSetups = 5000;
constexpr int kSlopesPerSetup = 40;

std::string pathOf(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

// A generated file, removed at the end.
class GeneratedFile {
 public:
  GeneratedFile(const char* name, void (*write)(std::FILE*)) : path_(pathOf(name)) {
    std::FILE* const file = std::fopen(path_.c_str(), "wb");
    write(file);
    std::fclose(file);
    size_ = static_cast<int64_t>(std::filesystem::file_size(path_));
  }
  ~GeneratedFile() { std::remove(path_.c_str()); }
  const char* path() const { return path_.c_str(); }
  int64_t size() const { return size_; }

 private:
  std::string path_;
  int64_t size_ = 0;
};

void writePoints(std::FILE* file) {
  std::fputs("DATABASE\n  POINTS (PointNo,PointID,JobNo,CLASS,East,North,Elevation,Code)\n", file);
  for (int i = 0; i < kPoints; ++i) {
    std::fprintf(file, "    %d,\"P%d\",%d,MEAS,%.4f,%.4f,%.4f,\"TREE%d\";\n", i + 1, i + 1, i % 9,
                 600000 + i * 0.3717, 200000 + i * 0.1193, 400 + (i % 1000) * 0.0137, i % 7);
  }
  std::fputs("  END POINTS\nEND DATABASE\n", file);
}

void writeSlopes(std::FILE* file) {
  std::fputs("THEODOLITE\n", file);
  for (int s = 0; s < kSetups; ++s) {
    std::fprintf(file,
                 "  SETUP\n    STN_NO %d\n    STN_ID \"S%d\"\n    INST_HT 1.523\n  END SETUP\n",
                 s + 1, s + 1);
    std::fputs("  SLOPE (TgtNo,TgtID,Hz,Vz,SDist,RefHt,CfgNo,Date)\n", file);
    for (int i = 0; i < kSlopesPerSetup; ++i) {
      std::fprintf(file, "    %d,\"T%d\",%.4f,%.4f,%.4f,1.700,1,%02d-06-2024/%02d:%02d:%02d.5;\n",
                   s * 100 + i, i, (i * 9.8765), 95 + i * 0.1234, 10 + i * 3.3333, 1 + s % 28,
                   7 + i % 12, s % 60, i);
    }
    std::fputs("  END SLOPE\n", file);
  }
  std::fputs("END THEODOLITE\n", file);
}

const GeneratedFile& points() {
  static const GeneratedFile file("tavo_bench_points.tvo", writePoints);
  return file;
}

const GeneratedFile& slopes() {
  static const GeneratedFile file("tavo_bench_slopes.tvo", writeSlopes);
  return file;
}

uint32_t countRecord(void* context, const tavo::reader::DeliveredRecord&) {
  ++*static_cast<int64_t*>(context);
  return 0;
}

void analyse(benchmark::State& state, const GeneratedFile& file) {
  const std::string log = pathOf("tavo_bench.log");
  int64_t records = 0;
  for ([[maybe_unused]] auto _ : state) {
    tavo::api::Library library;
    tavo::api::AnalysisRequest request;
    request.inputPath = file.path();
    request.logPath = log.c_str();
    request.sink = {&countRecord, &records};
    tavo::api::AnalysisCounts counts;
    if (library.analyse(request, &counts) != TVO_OK) state.SkipWithError("findings");
  }
  std::remove(log.c_str());
  state.SetBytesProcessed(state.iterations() * file.size());
  state.counters["records"] =
      static_cast<double>(records) / static_cast<double>(state.iterations());
}

// Splits a line at its commas, in place; texts lose their quotes.
size_t split(char* line, char** fields, size_t most) {
  size_t count = 0;
  char* save = nullptr;
  for (char* field = strtok_r(line, ",;\n", &save); field != nullptr && count < most;
       field = strtok_r(nullptr, ",;\n", &save)) {
    while (*field == ' ' || *field == '"') ++field;
    if (char* const quote = std::strchr(field, '"')) *quote = '\0';
    fields[count++] = field;
  }
  return count;
}

void copyText(char* target, size_t width, const char* text) {
  std::strncpy(target, text, width - 1);
  target[width - 1] = '\0';
}

void plainPoints(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) {
    std::FILE* const file = std::fopen(points().path(), "r");
    char line[256];
    char* fields[8];
    while (std::fgets(line, sizeof line, file) != nullptr) {
      if (split(line, fields, 8) < 8 || *fields[0] < '0' || *fields[0] > '9') continue;
      PointRecord point = {};
      point.PointNo = static_cast<uint32_t>(std::strtoul(fields[0], nullptr, 10));
      copyText(point.PointID, sizeof point.PointID, fields[1]);
      point.JobNo = static_cast<uint16_t>(std::strtoul(fields[2], nullptr, 10));
      point.CLASS = std::strcmp(fields[3], "MEAS") == 0 ? TVO_ENUM_MEAS : TVO_ENUM_UNKNOWN;
      point.East = std::strtod(fields[4], nullptr);
      point.North = std::strtod(fields[5], nullptr);
      point.Elevation = std::strtod(fields[6], nullptr);
      copyText(point.Code, sizeof point.Code, fields[7]);
      benchmark::DoNotOptimize(point);
    }
    std::fclose(file);
  }
  state.SetBytesProcessed(state.iterations() * points().size());
}

void plainSlopes(benchmark::State& state) {
  for ([[maybe_unused]] auto _ : state) {
    std::FILE* const file = std::fopen(slopes().path(), "r");
    char line[256];
    char* fields[8];
    while (std::fgets(line, sizeof line, file) != nullptr) {
      if (split(line, fields, 8) < 8 || *fields[0] < '0' || *fields[0] > '9') continue;
      SlopeRecord slope = {};
      slope.TgtNo = static_cast<uint32_t>(std::strtoul(fields[0], nullptr, 10));
      copyText(slope.TgtID, sizeof slope.TgtID, fields[1]);
      slope.Hz = std::strtod(fields[2], nullptr);
      slope.Vz = std::strtod(fields[3], nullptr);
      slope.SDist = std::strtod(fields[4], nullptr);
      slope.RefHt = std::strtof(fields[5], nullptr);
      slope.CfgNo = static_cast<uint16_t>(std::strtoul(fields[6], nullptr, 10));
      int date[7];
      std::sscanf(fields[7], "%2d-%2d-%4d/%2d:%2d:%2d.%2d", &date[2], &date[1], &date[0], &date[3],
                  &date[4], &date[5], &date[6]);
      benchmark::DoNotOptimize(slope);
      benchmark::DoNotOptimize(date);
    }
    std::fclose(file);
  }
  state.SetBytesProcessed(state.iterations() * slopes().size());
}

void findLineEnds(benchmark::State& state, const GeneratedFile& file) {
  std::vector<char> block(1 << 18);
  for ([[maybe_unused]] auto _ : state) {
    std::FILE* const input = std::fopen(file.path(), "rb");
    int64_t lines = 0;
    size_t n = 0;
    while ((n = std::fread(block.data(), 1, block.size(), input)) > 0) {
      const char* p = block.data();
      const char* const end = p + n;
      while ((p = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)))) !=
             nullptr) {
        ++p;
        ++lines;
      }
    }
    std::fclose(input);
    benchmark::DoNotOptimize(lines);
  }
  state.SetBytesProcessed(state.iterations() * file.size());
}

void pointsAnalyse(benchmark::State& state) { analyse(state, points()); }
void pointsFloor(benchmark::State& state) { findLineEnds(state, points()); }
void slopesAnalyse(benchmark::State& state) { analyse(state, slopes()); }
void slopesFloor(benchmark::State& state) { findLineEnds(state, slopes()); }

BENCHMARK(pointsAnalyse)->Unit(benchmark::kMillisecond);
BENCHMARK(plainPoints)->Unit(benchmark::kMillisecond);
BENCHMARK(pointsFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(slopesAnalyse)->Unit(benchmark::kMillisecond);
BENCHMARK(plainSlopes)->Unit(benchmark::kMillisecond);
BENCHMARK(slopesFloor)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  return tavo::bench::run(
      argc, argv,
      {{"points, against the plain program", "pointsAnalyse", "plainPoints", 5},
       {"slopes, against the plain program", "slopesAnalyse", "plainSlopes", 7}});
}

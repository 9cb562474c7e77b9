// Memory of surveys: every allocation fails in turn, and a large survey is never held twice.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>

#include "support/failing_allocations.h"
#include "survey/handles.h"
#include "tavo/tavo.h"

#if defined(__linux__)
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

// What grows by reallocation or takes address space fails, too; the program is linked so that it
// comes here.
extern "C" void* __real_realloc(void* memory, size_t size);
extern "C" void* __wrap_realloc(void* memory, size_t size) {
  return tavo::tests::allocationFails() ? nullptr : __real_realloc(memory, size);
}

// How many takings of address space there still are until one fails; 0 while none is to.
static size_t untilRefusal = 0;
static bool isRefused() { return untilRefusal > 0 && --untilRefusal == 0; }
extern "C" void* __real_mmap(void* at, size_t size, int access, int kind, int file, off_t from);
extern "C" void* __wrap_mmap(void* at, size_t size, int access, int kind, int file, off_t from) {
  return isRefused() ? MAP_FAILED : __real_mmap(at, size, access, kind, file, from);
}
extern "C" void* __real_mremap(void* old, size_t size, size_t wanted, int how, void* at);
extern "C" void* __wrap_mremap(void* old, size_t size, size_t wanted, int how, void* at) {
  return isRefused() ? MAP_FAILED : __real_mremap(old, size, wanted, how, at);
}
#endif

namespace tavo::tests {
namespace {

TEST(SurveyMemory, EveryAllocationMayFail) {
  constexpr const char* kText =
      "HEADER\nUNITS\nLINEAR METRE\nEND UNITS\nEND HEADER\nDATABASE\nPOINTS "
      "(PointNo,PointID,Date)\n"
      "1,\"A\",15-06-2024/10:30:00.0;\nEXTRAINFO (PointNo,East)\n1,1.23456789012345678;\n"
      "END EXTRAINFO\nEND POINTS\nJOBS (JobNo,JobNo,Nope)\nx,1,2;\n65537,1,2;\nEND JOBS\nEND "
      "DATABASE\n"
      "TIME_TAGGED_CODES\n\"C\",15-06-2024/10:30:00.0,1,\"a\",\"b\";\nEND TIME_TAGGED_CODES\n"
      "OPERATIONS\nCIRCLE_CENT\n1,2;\nEND OPERATIONS\n";
  std::string built, log;
  for (size_t k = 1;; ++k) {
    ASSERT_LT(k, 2000U);
    failures = 0;
    untilFailure = k;
    char* memory = nullptr;
    size_t size = 0;
    tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
    options.log.memory = &memory;
    options.log.memory_size = &size;
    const tavo_input input = inputOf(kText);
    tavo_survey* survey = nullptr;
    tavo_status status = tavo_survey_read(&survey, &input, &options);
    const SurveyHandle owned(survey);
    const bool whole = status == TVO_ERR_ERRORS_FOUND;
    EXPECT_TRUE(whole || status == uint32_t{TAVO_ERR_MEMORY}) << k << ": " << status;
    EXPECT_EQ(survey != nullptr, whole);
    EXPECT_EQ(memory != nullptr, whole);
    tavo_free(memory);
    if (!whole) {
      untilFailure = 0;
      continue;
    }
    memory = nullptr;
    tavo_target target = TAVO_TARGET_INIT;
    target.memory = &memory;
    target.memory_size = &size;
    status = tavo_survey_build(survey, &target, nullptr);
    size_t moments = 0;
    tavo_survey_timeline(survey, &moments);
    untilFailure = 0;
    EXPECT_TRUE(status == TAVO_OK || status == uint32_t{TAVO_ERR_MEMORY}) << k << ": " << status;
    EXPECT_EQ(memory != nullptr, status == TAVO_OK);
    tavo_free(memory);
    if (failures == 0) break;
    EXPECT_NE(tavo_survey_timeline(survey, &moments), nullptr) << "with memory again";
    EXPECT_EQ(moments, 2U);
  }
}

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

constexpr int kPoints = 1000000;

// A text that is nowhere whole, since its own memory must not count.
struct Generator {
  int count = kPoints;
  int next = 0;
  std::string piece = "DATABASE\nPOINTS (PointNo,PointID,JobNo,CLASS,East,North,Elevation,Code)\n";

  static int64_t read(void* bytes, size_t room, void* user) {
    auto& [count, next, piece] = *static_cast<Generator*>(user);
    while (piece.size() < room && next < count) {
      const std::string number = std::to_string(next++);
      piece += number + ",\"P" + number + "\",1,MEAS,600000.3717,200000.1193,400.25,\"TREE\";\n";
    }
    const size_t n = piece.copy(static_cast<char*>(bytes), room);
    piece.erase(0, n);
    return static_cast<int64_t>(n);
  }
};

// Reads `count` points and hands the survey to the caller.
tavo_status readPoints(int count, tavo_survey** survey) {
  Generator generator{.count = count};
  tavo_input input = TAVO_INPUT_INIT;
  input.read = &Generator::read;
  input.user = &generator;
  return tavo_survey_read(survey, &input, nullptr);
}

TEST(SurveyMemory, EveryTakingOfAddressSpaceMayFail) {
  constexpr int kMovingTwice = 40000;
  size_t refusals = 0;
  for (tavo_status status = TAVO_ERR_MEMORY; status != TVO_ERR_ERRORS_FOUND; ++refusals) {
    untilRefusal = refusals + 1;
    tavo_survey* survey = nullptr;
    status = readPoints(kMovingTwice, &survey);
    const SurveyHandle owned(survey);
    ASSERT_TRUE(status == TVO_ERR_ERRORS_FOUND || status == uint32_t{TAVO_ERR_MEMORY}) << status;
    EXPECT_EQ(survey != nullptr, status == TVO_ERR_ERRORS_FOUND);
  }
  untilRefusal = 0;
  EXPECT_GT(refusals, 5U) << "a first taking, and two for each move";
}

long statusKilobytes(const char* name) {
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(name))
      return std::strtol(line.c_str() + std::strlen(name) + 1, nullptr, 10);
  }
  return -1;
}

int peakInPercent() {
  const long before = statusKilobytes("VmRSS");
  tavo_survey* survey = nullptr;
  if (readPoints(kPoints, &survey) != TVO_ERR_ERRORS_FOUND) return 0;
  const tavo_records& points = *tavo_survey_records(survey, TVO_RECORD_POINTS);
  if (points.count != kPoints) return 0;
  const auto packed = static_cast<long>(points.count * points.size / 1024);
  return static_cast<int>((statusKilobytes("VmHWM") - before) * 100 / packed);
}

// In a process of its own, whose peak is that of the reading.
TEST(SurveyMemory, AMillionPointsArePeakedAtHalfAgainTheirSize) {
  const pid_t child = fork();
  if (child == 0) _exit(std::min(peakInPercent(), 255));
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_GE(WEXITSTATUS(status), 100);
  EXPECT_LE(WEXITSTATUS(status), 150);
}

#endif

}  // namespace
}  // namespace tavo::tests

// Many handles in many threads at once: each does what one thread alone does. The thread sanitizer
// runs this program, too.
#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "support/analysis.h"
#include "survey/handles.h"
#include "tavo/tavo.h"

namespace tavo::tests {
namespace {

constexpr int kThreads = 8;

// Text, findings and log of an analysis.
std::string analyse(const tavo_input& input, const std::string& log) {
  std::string told;
  tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
  options.log.path = log.c_str();
  options.record_user = options.finding_user = &told;
  options.on_record = [](const tavo_record* record, void* user) -> uint32_t {
    *static_cast<std::string*>(user) += recordText(record->type, record->bytes) + "\n";
    return TVO_OK;
  };
  options.on_finding = [](const tavo_finding* finding, void* user) {
    *static_cast<std::string*>(user) += std::to_string(finding->number) + "\n";
  };
  tavo_analysis_counts counts = TAVO_ANALYSIS_COUNTS_INIT;
  const tavo_status status = tavo_analyse(&input, &options, &counts);
  told +=
      std::to_string(status) + " " + std::to_string(counts.records) + "\n" + readFile(log.c_str());
  std::remove(log.c_str());
  return told;
}

// Writes all of the survey into a data file of its own, finds its points and walks along it, and
// verifies the file.
std::string walkStore(const std::string& path, const tavo_survey* survey) {
  std::remove(path.c_str());
  tavo_store_options options = TAVO_STORE_OPTIONS_INIT;
  options.mode = TAVO_STORE_CREATE;
  tavo_store* store = nullptr;
  std::string told = std::to_string(tavo_store_open(&store, path.c_str(), &options));
  for (uint32_t type = 1; type < 128; ++type) {
    const tavo_records& records = *tavo_survey_records(survey, type);
    for (size_t i = 0; i < records.count; ++i) {
      const char* const bytes = static_cast<const char*>(records.bytes) + i * records.size;
      told += " " + std::to_string(tavo_store_write(store, type, bytes));
    }
  }
  const tavo_records& points = *tavo_survey_records(survey, TVO_RECORD_POINTS);
  for (size_t i = 0; i < points.count; ++i) {
    for (const uint32_t lookup : {TAVO_BY_NUMBER, TAVO_BY_ID}) {
      PointRecord point = static_cast<const PointRecord*>(points.bytes)[i];
      told += " " + std::to_string(tavo_store_find(store, TVO_RECORD_POINTS, lookup, &point)) +
              recordText(TVO_RECORD_POINTS, &point);
    }
  }
  tavo_record record = {};
  for (uint32_t move = TVO_FIRST; tavo_store_read(store, move, &record) == TAVO_OK;
       move = TVO_NEXT) {
    told += "\n" + recordText(record.type, record.bytes);
  }
  told += " " + std::to_string(tavo_store_close(store));
  tavo_store_statistics found = TAVO_STORE_STATISTICS_INIT;
  const tavo_status verified = tavo_store_verify(path.c_str(), nullptr, nullptr, &found);
  told += " verified " + std::to_string(verified) + ", " + std::to_string(found.findings) +
          " findings in " + std::to_string(found.records);
  std::remove(path.c_str());
  return told;
}

// An analysis with a log, a survey in memory, the text built from it, its order in time, and a
// store.
std::string work(const std::string& name) {
  std::string all;
  for (const char* const example : {"all-sections.tvo", "mistakes.tvo"}) {
    const std::string path = std::string(TAVO_EXAMPLES_DIR "/") + example;
    tavo_input input = TAVO_INPUT_INIT;
    input.path = path.c_str();
    all += analyse(input, name + ".log");
    tavo_survey* survey = nullptr;
    all += std::to_string(tavo_survey_read(&survey, &input, nullptr));
    const SurveyHandle owned(survey);
    size_t moments = 0;
    tavo_survey_timeline(survey, &moments);
    all += findingsOf(survey) + buildText(survey) + std::to_string(moments) +
           walkStore(name + ".dat", survey);
  }
  return all;
}

TEST(SurveyThreads, ManyHandlesAtOnceDoWhatOneDoes) {
  const std::string expected = work("alone");
  EXPECT_NE(expected.find(" verified 0, 0 findings in 183"), std::string::npos);
  std::vector<std::string> results(kThreads);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&results, i] { results[i] = work("thread" + std::to_string(i)); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& result : results) EXPECT_EQ(result, expected);
}

}  // namespace
}  // namespace tavo::tests

// Many handles in many threads at once: each does what one thread alone does. The thread sanitizer
// runs this program, too.
#include <gtest/gtest.h>

#include <thread>

#include "store/record_store.h"
#include "support/analysis.h"
#include "survey/handles.h"
#include "tavo/tavo.h"

namespace tavo::tests {
namespace {

constexpr int kThreads = 8;

// Stores the survey's points and setups in a data file of its own and reads them back.
std::string walkStore(const std::string& path, const tavo_survey* survey) {
  std::remove(path.c_str());
  store::RecordStore store;
  std::string walked = std::to_string(store.setDataFile(path.c_str()));
  for (const RecordType type : {TVO_RECORD_POINTS, TVO_RECORD_SETUP}) {
    const tavo_records& records = *tavo_survey_records(survey, type);
    for (size_t i = 0; i < records.count; ++i) {
      walked += " " + std::to_string(store.write(
                          type, static_cast<const char*>(records.bytes) + i * records.size));
    }
  }
  uint32_t type = 0;
  void* record = nullptr;
  for (uint32_t move = TVO_FIRST; TVO_CODE(store.read(move, &type, &record)) == TVO_OK;
       move = TVO_NEXT) {
    walked += "\n" + recordText(type, record);
  }
  store.closeDataFile();
  std::remove(path.c_str());
  return walked;
}

// Analysis with a log, a survey in memory, the text built from it, its order in time, and a store.
std::string work(const std::string& name) {
  std::string all;
  for (const char* const example : {"all-sections.tvo", "mistakes.tvo"}) {
    const std::string path = std::string(TAVO_EXAMPLES_DIR "/") + example;
    tavo_input input = TAVO_INPUT_INIT;
    input.path = path.c_str();
    const std::string log = name + ".log";
    tavo_analysis_options options = TAVO_ANALYSIS_OPTIONS_INIT;
    options.log.path = log.c_str();
    tavo_survey* survey = nullptr;
    all += std::to_string(tavo_survey_read(&survey, &input, &options)) + readFile(log.c_str());
    const SurveyHandle owned(survey);
    std::remove(log.c_str());
    size_t moments = 0;
    tavo_survey_timeline(survey, &moments);
    all += findingsOf(survey) + buildText(survey) + std::to_string(moments) +
           walkStore(name + ".dat", survey);
  }
  return all;
}

TEST(SurveyThreads, ManyHandlesAtOnceDoWhatOneDoes) {
  const std::string expected = work("alone");
  EXPECT_GT(expected.size(), 1000U);
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

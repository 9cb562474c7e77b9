// Analyses arbitrary bytes with a sink that reads every delivered byte, once without limits and
// once with an error limit and a callback that stops, both taken from the input.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "api/library.h"
#include "schema/catalogue.h"

namespace {

constexpr const char* kInput = "analyse_fuzz.input";
constexpr const char* kLog = "analyse_fuzz.log";

struct Sink {
  uint64_t stopAt;
  uint64_t count = 0;
  uint64_t sum = 0;

  void read(const void* data, size_t size) {
    const auto* const bytes = static_cast<const uint8_t*>(data);
    for (size_t i = 0; i < size; ++i) sum += bytes[i];
  }

  static uint32_t deliver(void* context, const tavo::reader::DeliveredRecord& record) {
    auto* const self = static_cast<Sink*>(context);
    self->read(record.bytes, tavo::schema::recordDef(record.type).size);
    if (record.type == TVO_RECORD_TIME_TAGGED_CODES) {
      TimeTaggedRecord codes;
      memcpy(&codes, record.bytes, sizeof codes);
      const TimeTaggedEntry* const entries = codes.entries;
      self->read(entries, codes.EntryCount * sizeof *entries);
    }
    return ++self->count == self->stopAt ? TVO_ERR_ABORTED : TVO_OK;
  }
};

void require(bool holds) {
  if (!holds) std::abort();
}

tavo::api::AnalysisCounts analyse(uint16_t maxErrors, uint64_t stopAt) {
  tavo::api::Library library;
  Sink sink{stopAt};
  tavo::api::AnalysisRequest request;
  request.inputPath = kInput;
  request.logPath = kLog;
  request.maxErrors = maxErrors;
  request.sink = {&Sink::deliver, &sink};
  tavo::api::AnalysisCounts counts;
  const uint32_t status = library.analyse(request, &counts);
  require(counts.errors <= maxErrors && counts.records == sink.count);
  require(status == TVO_ERR_ABORTED ||
          status == (counts.errors > 0 ? uint32_t{TVO_ERR_ERRORS_FOUND} : uint32_t{TVO_OK}));
  return counts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::FILE* const file = std::fopen(kInput, "wb");
  require(file != nullptr);
  require(size == 0 || std::fwrite(data, 1, size, file) == size);
  require(std::fclose(file) == 0);
  const tavo::api::AnalysisCounts whole = analyse(UINT16_MAX, 0);
  const auto limit = static_cast<uint16_t>(size == 0 ? 0 : data[size - 1]);
  const tavo::api::AnalysisCounts cut = analyse(limit, size % 64);
  require(cut.errors <= whole.errors && cut.lines <= whole.lines);
  return 0;
}

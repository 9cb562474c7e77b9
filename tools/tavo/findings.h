// What an analysis found: kept whole and printed for a person, in the form that editors and build
// servers know.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "api/library.h"
#include "input_text.h"
#include "interrupt.h"

namespace tavo::tool {

struct Found {
  int number;        // as in reader::Finding
  uint64_t line;     // of a note the line of the finding that it explains
  std::string text;  // the offending text, of a note the message
  std::string_view message;

  bool isNote() const;
  bool isError() const;
};

class FindingList final : public reader::FindingObserver {
 public:
  void onFinding(const reader::Finding& finding) override;
  void onLoss(reader::Loss loss, const reader::Finding& number) override;

  const std::vector<Found>& all() const { return found_; }
  // Not wrapped, unlike the counts of the log.
  size_t errors() const { return errors_; }
  size_t warnings() const { return warnings_; }
  // Whole numbers that were read as other ones; a note stands among the findings for each.
  size_t changedNumbers() const { return changedNumbers_; }
  // Real numbers with more digits than are kept, and the first of them as a note.
  size_t shortenedReals() const { return shortenedReals_; }
  const Found& firstShortened() const { return firstShortened_; }

 private:
  std::vector<Found> found_;
  size_t errors_ = 0;
  size_t warnings_ = 0;
  size_t changedNumbers_ = 0;
  size_t shortenedReals_ = 0;
  Found firstShortened_{};
};

// Result of reading a text. readable is false when it, the log or the data file cannot be opened.
struct Analysis {
  uint32_t status = TVO_ERR_OPEN;
  api::AnalysisCounts counts;
  FindingList findings;
  // What the file is instead of a text with data in it, one sentence each.
  std::vector<std::string> notes;

  bool readable() const { return status != TVO_ERR_OPEN; }
  // "3 errors, 1 warning; 120 lines and 96 records read"
  std::string summary() const;
};

// What an analysis does besides reading and checking.
struct AnalysisOptions {
  platform::TextOutput* log = nullptr;  // none: no log is kept
  uint16_t maxErrors = UINT16_MAX;
  bool intoStore = false;
};

// Runs the analysis of a text with a progress bar. The records go to the sink.
Analysis analyse(api::Library& library, InputText& text, reader::RecordSink sink,
                 const AnalysisOptions& options = {});

// A sink that calls a function object for each record, with its type and bytes or with all that is
// known of it; its result as in reader::RecordSink. Stops the run when the program is interrupted.
template <class Function>
reader::RecordSink sinkOf(Function& function) {
  constexpr bool kWhole = std::is_invocable_v<Function&, const reader::DeliveredRecord&>;
  return {[](void* context, const reader::DeliveredRecord& record) -> uint32_t {
            if (interrupted()) return TVO_ERR_ABORTED;
            Function& take = *static_cast<Function*>(context);
            if constexpr (kWhole) {
              return take(record);
            } else {
              return take(record.type, record.bytes);
            }
          },
          &function, kWhole};
}

// "E2500", "W7014", or an empty text for a note.
std::string codeOf(const Found& found);

// Prints "FILE:LINE: error E2500: syntax error: 'ABC'" for each finding, with the line of the file
// under it, and the notes on the file behind them.
void printFindings(std::FILE* stream, InputText& text, const Analysis& analysis, bool colour);
// The notes alone, on standard error.
void complainOfNotes(const InputText& text, const Analysis& analysis);

}  // namespace tavo::tool

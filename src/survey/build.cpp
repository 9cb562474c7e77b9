// Building a text from a host's source, and from a survey in memory: what an analysis delivers in
// file order, with the columns records that begin a section and that it does not deliver, and
// without the columns that the format does not know.
#include "writers/build.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "schema/catalogue.h"
#include "survey/guard.h"
#include "survey/survey.h"
#include "survey/texts.h"
#include "tavo/tavo.h"

namespace tavo::survey {

namespace {

// A record as an analysis delivers it; block 0: as a host delivers it, who puts the sections
// together himself.
struct Delivered {
  RecordType type = 0;  // 0: none
  const void* bytes = nullptr;
  uint32_t block = 0;
};

class CallbackRecords {
 public:
  CallbackRecords(tavo_source_fn source, void* user) : source_(source), user_(user) {}

  uint16_t fetch(uint32_t mode, Delivered* record) {
    tavo_record view = {};
    const uint32_t status = source_(mode, &view, user_);
    if (TVO_CODE(status) != TVO_OK) return TVO_CODE(status);
    misused_ = view.bytes == nullptr;
    if (misused_) return TVO_ERR_ABORTED;
    *record = {view.type, view.bytes, view.block};
    return TVO_OK;
  }

  // It said that there is a record and gave none.
  bool misused() const { return misused_; }

 private:
  tavo_source_fn source_;
  void* user_;
  bool misused_ = false;
};

// Drops columns without a name, which have no values, and repeated ones: EXTRAINFO blocks may list
// a column more often than a definition has room for. Whether anything was dropped; a list of
// nothing else stays, since a block has at least one column.
bool dropNeedlessColumns(ColumnsRecord* record) {
  FieldId list[TVO_COLUMNS_ROOM];
  std::memcpy(list, reinterpret_cast<const char*>(record) + offsetof(ColumnsRecord, fields),
              sizeof list);
  size_t kept = 0, i = 0;
  for (; i + 1 < TVO_COLUMNS_ROOM && list[i] != TVO_FIELD_End; ++i) {
    const FieldId id = list[i];
    if (id != 0 && std::find(list, list + kept, id) == list + kept) list[kept++] = id;
  }
  if (kept == 0 || kept == i) return false;
  std::fill(list + kept, list + TVO_COLUMNS_ROOM, FieldId{0});
  list[kept] = TVO_FIELD_End;
  std::memcpy(reinterpret_cast<char*>(record) + offsetof(ColumnsRecord, fields), list, sizeof list);
  return true;
}

// Sections of what an analysis delivers. OPERATIONS and TIME_TAGGED_CODES get the columns record
// that begins each of them, and columns of the format's alone are listed. It keeps its place by the
// record that the walk stands on and whether it is still in front of it, at an added one.
template <class Records>
class Sections final : public writers::RecordSource {
 public:
  explicit Sections(Records& records) : records_(records) {}

  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override {
    const bool wasInFront = std::exchange(inFront_, false);
    if (wasInFront && mode == TVO_NEXT) return deliver(recordType, record);
    const Delivered from = current_;
    const uint16_t status = move(mode);
    if (mode == TVO_PREVIOUS) {
      // The way back leads over what was added in front of the record that it left.
      const bool added = !wasInFront && begins(from, current_);
      if (!added) return status == TVO_OK ? deliver(recordType, record) : status;
      const uint16_t back = move(status == TVO_OK ? TVO_NEXT : TVO_FIRST);
      return back == TVO_OK ? deliverColumns(recordType, record) : back;
    }
    if (status != TVO_OK) return status;
    const bool added = begins(current_, mode == TVO_NEXT ? from : Delivered());
    return added ? deliverColumns(recordType, record) : deliver(recordType, record);
  }

 private:
  // Passes over the columns records that are added where they are needed.
  uint16_t move(uint32_t mode) {
    uint16_t status = records_.fetch(mode, &current_);
    while (status == TVO_OK && current_.block != 0 &&
           (current_.type == TVO_RECORD_OPERATIONS_COLUMNS ||
            current_.type == TVO_RECORD_TIME_TAGGED_CODES_COLUMNS)) {
      if (current_.type == TVO_RECORD_OPERATIONS_COLUMNS) {
        std::memcpy(&operationColumns_, current_.bytes, sizeof operationColumns_);
      }
      status = records_.fetch(mode == TVO_PREVIOUS ? TVO_PREVIOUS : TVO_NEXT, &current_);
    }
    if (status != TVO_OK) current_ = {};
    return status;
  }

  // Whether a record is the first of a section that needs its columns record added.
  static bool begins(const Delivered& record, const Delivered& before) {
    if (record.block == 0) return false;
    if (record.type == TVO_RECORD_TIME_TAGGED_CODES) return before.type != record.type;
    return record.type == TVO_RECORD_OPERATIONS && before.type != TVO_RECORD_OPERATIONS &&
           before.type != TVO_RECORD_OPERATION_POINTS;
  }

  uint16_t deliver(uint32_t* recordType, void** record) {
    *recordType = current_.type;
    *record = const_cast<void*>(current_.bytes);
    if (current_.block == 0 || !schema::recordDef(current_.type).columns) return TVO_OK;
    std::memcpy(&columns_, current_.bytes, sizeof columns_);
    if (dropNeedlessColumns(&columns_)) *record = &columns_;
    return TVO_OK;
  }

  uint16_t deliverColumns(uint32_t* recordType, void** record) {
    inFront_ = true;
    columns_ = operationColumns_;
    *recordType = TVO_RECORD_OPERATIONS_COLUMNS;
    if (current_.type == TVO_RECORD_TIME_TAGGED_CODES) {
      columns_ = {{}, {TVO_FIELD_End}};
      *recordType = TVO_RECORD_TIME_TAGGED_CODES_COLUMNS;
    }
    *record = &columns_;
    return TVO_OK;
  }

  Records& records_;
  Delivered current_;
  bool inFront_ = false;
  ColumnsRecord columns_ = {};  // the one last delivered
  // The latest of OPERATIONS.
  ColumnsRecord operationColumns_ = {{}, {TVO_FIELD_PointNo, TVO_FIELD_PointID, TVO_FIELD_End}};
};

// A survey's records, forward and backward.
class SurveyRecords {
 public:
  explicit SurveyRecords(const SurveyData& survey) : survey_(survey) {
    for (const tavo_block& block : survey.blocks()) add(block);
  }

  uint16_t fetch(uint32_t mode, Delivered* record) {
    if (mode == TVO_FIRST) {
      piece_ = 0;
      at_ = 0;
    } else if (mode == TVO_NEXT) {
      forward();
    } else if (mode == TVO_PREVIOUS && !backward()) {
      return TVO_ERR_STORE;
    }
    if (piece_ >= pieces_.size()) return TVO_ERR_STORE;
    const Piece& piece = pieces_[piece_];
    const bool second = piece.pairs && at_ % 2 != 0;
    const tavo_records* const records = second ? points_ : nullptr;
    const size_t place = piece.pairs ? at_ / 2 : at_;
    const uint8_t* const bytes =
        second ? static_cast<const uint8_t*>(records->bytes) + (piece.first + place) * records->size
               : piece.bytes + place * piece.size;
    *record = {second ? records->type : piece.type, bytes, kSomeBlock};
    return TVO_OK;
  }

 private:
  static constexpr uint32_t kSomeBlock = 1;

  // Records that lie one behind the other; of OPERATIONS each is followed by its points.
  struct Piece {
    const uint8_t* bytes;
    RecordType type;
    uint32_t size;
    size_t first, count;
    bool pairs;
  };

  void add(const tavo_block& block) {
    if (block.continued == 0) {
      pieces_.push_back({static_cast<const uint8_t*>(block.columns_record), block.columns_type,
                         sizeof(ColumnsRecord), 0, 1, false});
    }
    if (block.count == 0) return;
    const tavo_records& records = survey_.records(block.data_type);
    const bool operations = block.data_type == TVO_RECORD_OPERATIONS;
    pieces_.push_back({static_cast<const uint8_t*>(records.bytes) + block.first * records.size,
                       block.data_type, records.size, block.first,
                       operations ? 2 * block.count : block.count, operations});
  }

  void forward() {
    if (piece_ < pieces_.size() && ++at_ == pieces_[piece_].count) {
      ++piece_;
      at_ = 0;
    }
  }

  // Behind the last record a step back leads to it.
  bool backward() {
    if (at_ == 0) {
      if (piece_ == 0) return false;
      at_ = pieces_[--piece_].count;
    }
    --at_;
    return true;
  }

  const SurveyData& survey_;
  const tavo_records* points_ = &survey_.records(TVO_RECORD_OPERATION_POINTS);
  std::vector<Piece> pieces_;
  size_t piece_ = 0;  // the current record's; behind the last one: none
  size_t at_ = 0;     // its place in it
};

writers::BuildSettings settingsOf(const tavo_build_options& options) {
  writers::BuildSettings settings;
  settings.setColumns(options.align != 0);
  settings.decimals = {options.angular_decimals, options.linear_decimals,
                       options.geographic_decimals};
  return settings;
}

constexpr tavo_build_options kDefaults = TAVO_BUILD_OPTIONS_INIT;

tavo_status build(const tavo_target* target, writers::RecordSource& source,
                  const tavo_build_options* wanted) {
  const tavo_build_options& options = wanted == nullptr ? kDefaults : *wanted;
  if (options.version != 1) return TAVO_ERR_ARGUMENT;
  Target output;
  if (const tavo_status status = output.open(target, nullptr); status != TAVO_OK) return status;
  if (output.isNowhere()) return TAVO_ERR_ARGUMENT;
  const tavo_status status = writers::writeText(output, source, settingsOf(options));
  if (status == TVO_ERR_WRITE) return output.failure();
  return status == TAVO_OK ? output.commit() : status;
}

}  // namespace

}  // namespace tavo::survey

using tavo::survey::guarded;

extern "C" {

tavo_status tavo_build(const tavo_target* target, tavo_source_fn source, void* user,
                       const tavo_build_options* options) {
  if (source == nullptr) return TAVO_ERR_ARGUMENT;
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    tavo::survey::CallbackRecords records(source, user);
    tavo::survey::Sections sections(records);
    const tavo_status status = tavo::survey::build(target, sections, options);
    return records.misused() ? tavo_status{TAVO_ERR_ARGUMENT} : status;
  });
}

tavo_status tavo_survey_build(const tavo_survey* survey, const tavo_target* target,
                              const tavo_build_options* options) {
  if (survey == nullptr) return TAVO_ERR_ARGUMENT;
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    tavo::survey::SurveyRecords records(survey->data);
    tavo::survey::Sections sections(records);
    return tavo::survey::build(target, sections, options);
  });
}

}  // extern "C"

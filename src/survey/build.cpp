// Building a text from a host's source, and from a survey in memory: its blocks in file order, with
// the columns records that begin a section and that an analysis does not deliver, and without the
// columns that the format does not know.
#include "writers/build.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <vector>

#include "schema/catalogue.h"
#include "survey/guard.h"
#include "survey/survey.h"
#include "survey/texts.h"
#include "tavo/tavo.h"

namespace tavo::survey {

namespace {

class CallbackSource final : public writers::RecordSource {
 public:
  CallbackSource(tavo_source_fn source, void* user) : source_(source), user_(user) {}

  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override {
    tavo_record view = {};
    const uint32_t status = source_(mode, &view, user_);
    if (TVO_CODE(status) != TVO_OK) return TVO_CODE(status);
    misused_ = view.bytes == nullptr;
    if (misused_) return TVO_ERR_ABORTED;
    *recordType = view.type;
    *record = const_cast<void*>(view.bytes);
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

// Delivers a survey's records, forward and backward.
class SurveySource final : public writers::RecordSource {
 public:
  explicit SurveySource(const SurveyData& survey) : survey_(survey) {
    for (const tavo_block& block : survey.blocks()) add(block);
  }

  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override {
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
    *recordType = second ? records->type : piece.type;
    const uint8_t* const bytes =
        second ? static_cast<const uint8_t*>(records->bytes) + (piece.first + place) * records->size
               : piece.bytes + place * piece.size;
    *record = const_cast<uint8_t*>(bytes);
    return TVO_OK;
  }

 private:
  // Records that lie one behind the other; of OPERATIONS each is followed by its points.
  struct Piece {
    const uint8_t* bytes;
    RecordType type;
    uint32_t size;
    size_t first, count;
    bool pairs;
  };

  // A columns record that begins no section is left out: one that no operation follows, and that of
  // a section of OPERATIONS or TIME_TAGGED_CODES right behind another, which goes on with it.
  void add(const tavo_block& block) {
    const bool operations = block.data_type == TVO_RECORD_OPERATIONS;
    const bool special = operations || block.data_type == TVO_RECORD_TIME_TAGGED_CODES;
    if (special && block.count == 0) return;
    const bool goesOn = special && !pieces_.empty() && pieces_.back().type == block.data_type;
    if (block.continued == 0 && !goesOn) addColumns(block);
    if (block.count == 0) return;
    const tavo_records& records = survey_.records(block.data_type);
    pieces_.push_back({static_cast<const uint8_t*>(records.bytes) + block.first * records.size,
                       block.data_type, records.size, block.first,
                       operations ? 2 * block.count : block.count, operations});
  }

  void addColumns(const tavo_block& block) {
    ColumnsRecord record;
    std::memcpy(&record, block.columns_record, sizeof record);
    const void* bytes = block.columns_record;
    if (dropNeedlessColumns(&record)) bytes = &changed_.emplace_back(record);
    pieces_.push_back(
        {static_cast<const uint8_t*>(bytes), block.columns_type, sizeof record, 0, 1, false});
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
  std::deque<ColumnsRecord> changed_;
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
    tavo::survey::CallbackSource records(source, user);
    const tavo_status status = tavo::survey::build(target, records, options);
    return records.misused() ? tavo_status{TAVO_ERR_ARGUMENT} : status;
  });
}

tavo_status tavo_survey_build(const tavo_survey* survey, const tavo_target* target,
                              const tavo_build_options* options) {
  if (survey == nullptr) return TAVO_ERR_ARGUMENT;
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    tavo::survey::SurveySource records(survey->data);
    return tavo::survey::build(target, records, options);
  });
}

}  // extern "C"

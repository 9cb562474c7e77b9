// Collecting a survey: records go to their type's array as they come; what points into an array is
// kept as a place until the last record is there, since a growing array moves.
#include "survey/survey_data.h"

#include <algorithm>
#include <cstring>

#include "schema/catalogue.h"
#include "survey/units.h"

namespace tavo::survey {

namespace {

// TIME_TAGGED_CODES has no column definition; a writer's input has its columns record all the same.
constexpr ColumnsRecord kNoColumns = {{}, {TVO_FIELD_End}};

// Orders in time without wrapping. Months count 31 days, so that dates that no calendar has keep a
// place, too.
int64_t orderOf(const DateTime& time) {
  int64_t order = time.year;
  order = order * 12 + time.month;
  order = order * 31 + time.day;
  order = order * 24 + time.hour;
  order = order * 60 + time.minute;
  order = order * 60 + time.second;
  return order * 100 + time.hundredths;
}

// The types that carry a time, in the order that equal times take, and where it stands.
struct Stamped {
  RecordType type;
  size_t offset;
};
constexpr Stamped kStamped[] = {
    {TVO_RECORD_POINTS, offsetof(PointRecord, Date)},
    {TVO_RECORD_SETUP, offsetof(SetupRecord, Date)},
    {TVO_RECORD_SLOPE, offsetof(SlopeRecord, Date)},
    {TVO_RECORD_TIME_TAGGED_CODES, offsetof(TimeTaggedRecord, TimeTag)},
};

template <class T>
void appendValue(platform::GrowingMemory& memory, const T& value) {
  std::memcpy(memory.append(sizeof value), &value, sizeof value);
}

}  // namespace

SurveyData::SurveyData() {
  for (RecordType type = 0; type < schema::kRecordTypes; ++type) {
    views_[type].type = type;
    views_[type].size = schema::recordDef(type).size;
  }
}

void SurveyData::append(const reader::DeliveredRecord& record) {
  const bool columns = schema::recordDef(record.type).columns;
  // The points of an operation stand beside it, in the same block.
  if (record.type != TVO_RECORD_OPERATION_POINTS) {
    const bool goesOn = !columns && !blocks_.empty() && origins_.back().block == record.block;
    if (!goesOn) beginBlock(record, columns);
    if (!columns) ++blocks_.back().count;
  }
  store(record);
}

void SurveyData::store(const reader::DeliveredRecord& record) {
  Records& records = records_[record.type];
  const size_t size = schema::recordDef(record.type).size;
  uint8_t* const bytes = records.bytes.append(size);
  std::memcpy(bytes, record.bytes, size);
  if (record.type == TVO_RECORD_TIME_TAGGED_CODES) keepEntries(bytes);
  appendValue(records.lines, record.line);
  appendValue(records.given, record.given);
  ++records.count;
}

void SurveyData::keepEntries(const uint8_t* bytes) {
  TimeTaggedRecord record;
  std::memcpy(&record, bytes, sizeof record);
  const size_t size = record.EntryCount * sizeof(TimeTaggedEntry);
  if (size > 0) std::memcpy(entries_.append(size), record.entries, size);
}

// A block goes on behind one that stands in it, without its columns record; a later section of
// OPERATIONS takes the columns of the first.
void SurveyData::beginBlock(const reader::DeliveredRecord& record, bool columns) {
  tavo_block block = {};
  block.columns_type = columns ? record.type : schema::columnsOf(record.type);
  const schema::BlockDef* const row = schema::blockOfColumns(block.columns_type);
  block.data_type = row == nullptr ? 0 : row->data;
  block.first = records_[block.data_type].count;
  block.line = record.line;
  block.units = inForce(*record.units);
  BlockOrigin origin = {record.block, kNone};
  if (columns) {
    origin.columns = records_[record.type].count;
  } else {
    // Only what has stood inside the block lies between, so that the search is short.
    const bool nests = row != nullptr && schema::hasSubSections(row->keyword);
    const auto first = nests ? origins_.rbegin() : origins_.rend();
    const auto before = std::find_if(
        first, origins_.rend(), [&](const auto& other) { return other.block == record.block; });
    block.continued = before != origins_.rend();
    if (block.continued != 0) origin.columns = before->columns;
    if (block.continued == 0 && records_[block.columns_type].count > 0) {
      origin.columns = records_[block.columns_type].count - 1;
    }
  }
  blocks_.push_back(block);
  origins_.push_back(origin);
}

const tavo_units* SurveyData::inForce(const schema::Units& units) {
  const tavo_units now = viewOf(units);
  const auto bytesOf = [](const tavo_units& value) { return std::as_bytes(std::span(&value, 1)); };
  if (units_.empty() || !std::ranges::equal(bytesOf(units_.back()), bytesOf(now))) {
    units_.push_back(now);
  }
  return &units_.back();
}

void SurveyData::append(const tavo_finding& finding) {
  FindingTexts& texts = findingTexts_.emplace_back();
  texts.text.assign(finding.text, finding.text_size);
  if (finding.source != nullptr) texts.source.assign(finding.source, finding.source_size);
  tavo_finding& view = findings_.emplace_back(finding);
  view.text = texts.text.data();
  if (finding.source != nullptr) view.source = texts.source.data();
}

void SurveyData::finish() {
  for (RecordType type = 0; type < schema::kRecordTypes; ++type) {
    const Records& records = records_[type];
    views_[type].count = records.count;
    views_[type].bytes = records.bytes.data();
    views_[type].lines = reinterpret_cast<const uint64_t*>(records.lines.data());
    views_[type].given = reinterpret_cast<const tavo_given*>(records.given.data());
  }
  pointToEntries();
  for (size_t i = 0; i < blocks_.size(); ++i) listColumns(blocks_[i], origins_[i].columns);
}

void SurveyData::pointToEntries() {
  Records& codes = records_[TVO_RECORD_TIME_TAGGED_CODES];
  size_t at = 0;
  for (size_t i = 0; i < codes.count; ++i) {
    uint8_t* const bytes = codes.bytes.data() + i * sizeof(TimeTaggedRecord);
    TimeTaggedRecord record;
    std::memcpy(&record, bytes, sizeof record);
    record.entries = reinterpret_cast<const TimeTaggedEntry*>(entries_.data() + at);
    at += record.EntryCount * sizeof(TimeTaggedEntry);
    std::memcpy(bytes, &record, sizeof record);
  }
}

void SurveyData::listColumns(tavo_block& block, size_t columns) {
  const uint8_t* const record = columns == kNone ? reinterpret_cast<const uint8_t*>(&kNoColumns)
                                                 : records_[block.columns_type].bytes.data() +
                                                       columns * sizeof(ColumnsRecord);
  FieldId room[TVO_COLUMNS_ROOM];
  std::memcpy(room, record + offsetof(ColumnsRecord, fields), sizeof room);
  const std::vector<FieldId>& list =
      columnLists_.emplace_back(room, std::ranges::find(room, FieldId{TVO_FIELD_End}));
  block.columns_record = record;
  block.columns = list.data();
  block.column_count = list.size();
}

void SurveyData::addMoments(RecordType type, size_t offset) {
  const tavo_records& records = views_[type];
  for (size_t i = 0; i < records.count; ++i) {
    DateTime time;
    std::memcpy(&time, static_cast<const uint8_t*>(records.bytes) + i * records.size + offset,
                sizeof time);
    if (time.year != 0) timeline_.push_back({orderOf(time), type, i});
  }
}

std::span<const tavo_moment> SurveyData::timeline() {
  if (!sorted_) {
    timeline_.clear();
    for (const Stamped& stamped : kStamped) addMoments(stamped.type, stamped.offset);
    // Each type's records were added in the order that equal times take.
    std::ranges::stable_sort(timeline_, {}, &tavo_moment::time);
    sorted_ = true;
  }
  return timeline_;
}

}  // namespace tavo::survey

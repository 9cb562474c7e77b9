// Comparison block by block, record by record, field by field.
#include "compare_records.h"

#include <cstring>
#include <vector>

#include "record_json.h"

namespace tavo::tool {

namespace {

bool equalText(const char* a, const char* b, size_t room) { return std::strncmp(a, b, room) == 0; }

// A block's columns as they are written: known ones, each once.
std::vector<FieldId> columnsOf(const tavo_block& block) {
  std::vector<FieldId> columns;
  for (size_t i = 0; i < block.column_count; ++i) {
    const FieldId id = block.columns[i];
    if (id != 0 && std::ranges::find(columns, id) == columns.end()) columns.push_back(id);
  }
  return columns;
}

class Comparer {
 public:
  Comparer(const tavo_survey* original, const tavo_survey* written)
      : original_(original), written_(written) {}

  Comparison compare() {
    const size_t count = tavo_survey_block_count(original_);
    for (size_t i = 0; i < count && result_.difference.empty(); ++i) {
      const tavo_block* const a = tavo_survey_block(original_, i);
      const tavo_block* const b = tavo_survey_block(written_, i);
      const std::string name = recordName(a->columns_type);
      if (b == nullptr) {
        differ("a missing block of " + name);
      } else if (a->columns_type != b->columns_type || a->count != b->count ||
                 a->continued != b->continued) {
        differ("another number of records under " + name);
      } else if (columnsOf(*a) != columnsOf(*b) && !onlyUnknown(*a)) {
        differ("other " + name);
      } else {
        compareRecords(a->data_type, *a, *b);
      }
    }
    if (tavo_survey_block(written_, count) != nullptr) differ("a block too many");
    return std::move(result_);
  }

 private:
  void differ(const std::string& what) {
    if (result_.difference.empty()) result_.difference = what;
  }

  // A definition of columns that the format does not know is written as it is.
  static bool onlyUnknown(const tavo_block& block) {
    return std::all_of(block.columns, block.columns + block.column_count,
                       [](FieldId id) { return id == 0; });
  }

  void compareRecords(uint32_t type, const tavo_block& a, const tavo_block& b) {
    const tavo_schema_block* const block = tavo_schema_block_of(type);
    const char* left = record(original_, type, a.first);
    const char* right = record(written_, type, b.first);
    const size_t size = tavo_schema_record_size(type);
    for (size_t i = 0; i < a.count; ++i, left += size, right += size) {
      if (type == TVO_RECORD_TIME_TAGGED_CODES) {
        compareTimeTagged(left, right);
      } else if (block->field_count == 0) {
        if (std::memcmp(left, right, size) != 0) differ("another record of " + recordName(type));
      } else {
        compareFields(block, left, right);
      }
    }
    if (type == TVO_RECORD_OPERATIONS) {
      const char* const points = record(original_, TVO_RECORD_OPERATION_POINTS, a.first);
      const char* const others = record(written_, TVO_RECORD_OPERATION_POINTS, b.first);
      const size_t bytes = a.count * sizeof(OperationPointsRecord);
      if (bytes > 0 && std::memcmp(points, others, bytes) != 0) differ("other OPERATIONS points");
    }
  }

  static const char* record(const tavo_survey* survey, uint32_t type, size_t index) {
    const tavo_records* const records = tavo_survey_records(survey, type);
    return static_cast<const char*>(records->bytes) + index * records->size;
  }

  void compareFields(const tavo_schema_block* block, const char* a, const char* b) {
    const tavo_schema_field* field = nullptr;
    for (size_t i = 0; (field = tavo_schema_field_at(block, i)) != nullptr; ++i) {
      if (field->offset == UINT32_MAX || field->alias != 0) continue;
      const std::string_view name = field->name;
      if (!equalValue(*field, block->keyword, a + field->offset, b + field->offset)) {
        differ("another " + std::string(block->keyword) + " " + std::string(name));
      }
    }
  }

  // Whether a value is the same or, which is noted, a rounded one.
  bool equalValue(const tavo_schema_field& field, const char* block, const char* a, const char* b) {
    if (std::memcmp(a, b, field.size) == 0) return true;
    const auto real = [&](auto x, auto y) {
      const Match match = matchReals(x, y);
      if (match == Match::kRounded) ++result_.rounded[std::string(block) + " " + field.name];
      return match != Match::kOther;
    };
    switch (field.type) {
      case TAVO_TYPE_FLOAT:
        return real(load<float>(a), load<float>(b));
      case TAVO_TYPE_DOUBLE:
        return real(load<double>(a), load<double>(b));
      case TAVO_TYPE_TEXT:
        return equalText(a, b, field.width);
      case TAVO_TYPE_DATE_TIME:
        // The hundredths are written as tenths.
        ++result_.rounded[std::string(block) + " " + field.name];
        return std::memcmp(a, b, offsetof(DateTime, hundredths)) == 0;
      case TAVO_TYPE_DEFAULT: {
        const auto x = load<DefaultValue>(a), y = load<DefaultValue>(b);
        return x.kind == y.kind && equalText(x.text, y.text, sizeof x.text) &&
               real(double{x.real}, double{y.real});
      }
      case TAVO_TYPE_FREE: {
        const auto x = load<FreeValue>(a), y = load<FreeValue>(b);
        return x.kind == y.kind && x.integer == y.integer &&
               equalText(x.text, y.text, sizeof x.text) && real(double{x.real}, double{y.real});
      }
      default:
        return false;
    }
  }

  void compareTimeTagged(const char* original, const char* written) {
    constexpr char kBlock[] = "TIME_TAGGED_CODES";
    const auto a = load<TimeTaggedRecord>(original), b = load<TimeTaggedRecord>(written);
    tavo_schema_field tag{};
    tag.name = "TimeTag";
    tag.type = TAVO_TYPE_DATE_TIME;
    tag.size = sizeof(DateTime);
    tavo_schema_field values{};
    values.name = "values";
    values.type = TAVO_TYPE_DOUBLE;
    values.size = sizeof(double);
    const DateTime x = a.TimeTag, y = b.TimeTag;
    bool equal = equalText(a.Code, b.Code, sizeof a.Code) && a.Number == b.Number &&
                 a.EntryCount == b.EntryCount &&
                 equalValue(tag, kBlock, reinterpret_cast<const char*>(&x),
                            reinterpret_cast<const char*>(&y));
    for (size_t i = 0; equal && i < a.EntryCount; ++i) {
      const TimeTaggedEntry& left = a.entries[i];
      const TimeTaggedEntry& right = b.entries[i];
      const double r = left.real, s = right.real;
      equal = equalText(left.name, right.name, sizeof left.name) && left.kind == right.kind &&
              left.integer == right.integer && equalText(left.text, right.text, sizeof left.text) &&
              equalValue(values, kBlock, reinterpret_cast<const char*>(&r),
                         reinterpret_cast<const char*>(&s));
    }
    if (!equal) differ("another record of " + std::string(kBlock));
  }

  const tavo_survey* original_;
  const tavo_survey* written_;
  Comparison result_;
};

}  // namespace

Comparison compareSurveys(const tavo_survey* original, const tavo_survey* written) {
  return Comparer(original, written).compare();
}

}  // namespace tavo::tool

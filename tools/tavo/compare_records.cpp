// Comparison record by record, field by field.
#include "compare_records.h"

#include <cstring>
#include <utility>
#include <vector>

#include "record_json.h"

namespace tavo::tool {

namespace {

bool equalText(const char* a, const char* b, size_t room) { return std::strncmp(a, b, room) == 0; }

// The columns of a definition as they are written: those that the format knows, each once. One of
// others alone is written with them and compared as an empty one.
std::vector<FieldId> columnsOf(const char* record) {
  const auto list = load<ColumnsRecord>(record);
  std::vector<FieldId> columns;
  for (size_t i = 0; i < TVO_COLUMNS_ROOM && list.fields[i] != TVO_FIELD_End; ++i) {
    const FieldId id = list.fields[i];
    if (id != 0 && std::ranges::find(columns, id) == columns.end()) columns.push_back(id);
  }
  return columns;
}

}  // namespace

void Comparer::differ(const std::string& what) {
  if (result_.difference.empty()) result_.difference = what;
}

void Comparer::compare(const tavo_record* original, const tavo_record* written) {
  if (original == nullptr || written == nullptr) {
    const tavo_record* const rest = original == nullptr ? written : original;
    const char* const what = original == nullptr ? "a record too many: " : "a missing record of ";
    if (rest != nullptr) differ(what + recordName(rest->type));
    return;
  }
  const uint32_t type = original->type;
  if (type != written->type) {
    return differ("a record of " + recordName(written->type) + " in the place of one of " +
                  recordName(type));
  }
  const bool begins = std::exchange(originalBlock_, original->block) != original->block;
  const bool again = std::exchange(writtenBlock_, written->block) != written->block;
  // Sections of lines of a fixed layout that follow each other are written as one.
  const bool joins = type == TVO_RECORD_OPERATIONS || type == TVO_RECORD_OPERATION_POINTS ||
                     type == TVO_RECORD_TIME_TAGGED_CODES;
  if (begins != again && !joins) {
    return differ("other blocks of " + recordName(type));
  }
  const auto* const a = static_cast<const char*>(original->bytes);
  const auto* const b = static_cast<const char*>(written->bytes);
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  const bool columns = block != nullptr && block->columns_type == type;
  if (columns) {
    if (columnsOf(a) != columnsOf(b)) differ("other " + recordName(type));
  } else if (type == TVO_RECORD_TIME_TAGGED_CODES) {
    if (!equalTimeTagged(a, b)) differ("another record of " + recordName(type));
  } else if (block == nullptr || block->field_count == 0) {
    if (std::memcmp(a, b, original->size) != 0) differ("another record of " + recordName(type));
  } else {
    compareFields(block, a, b);
  }
}

void Comparer::compareFields(const tavo_schema_block* block, const char* a, const char* b) {
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
bool Comparer::equalValue(const tavo_schema_field& field, const char* block, const char* a,
                          const char* b) {
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

bool Comparer::equalTimeTagged(const char* original, const char* written) {
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
  bool equal =
      equalText(a.Code, b.Code, sizeof a.Code) && a.Number == b.Number &&
      a.EntryCount == b.EntryCount &&
      equalValue(tag, kBlock, reinterpret_cast<const char*>(&x), reinterpret_cast<const char*>(&y));
  for (size_t i = 0; equal && i < a.EntryCount; ++i) {
    const TimeTaggedEntry& left = a.entries[i];
    const TimeTaggedEntry& right = b.entries[i];
    const double r = left.real, s = right.real;
    equal = equalText(left.name, right.name, sizeof left.name) && left.kind == right.kind &&
            left.integer == right.integer && equalText(left.text, right.text, sizeof left.text) &&
            equalValue(values, kBlock, reinterpret_cast<const char*>(&r),
                       reinterpret_cast<const char*>(&s));
  }
  return equal;
}

}  // namespace tavo::tool

// Comparison field by field.
#include "compare_records.h"

#include <cstring>

#include "record_json.h"
#include "schema/bytes.h"
#include "schema/catalogue.h"
#include "schema/fields.h"

namespace tavo::tool {

namespace {

using schema::DataType;
using schema::FieldDef;
using schema::load;

bool equalText(const char* a, const char* b, size_t room) { return std::strncmp(a, b, room) == 0; }

}  // namespace

void RecordComparison::differ(const std::string& what) {
  if (difference_.empty()) difference_ = what;
}

// Passes over the columns records that stand for section keywords and are not read back.
const char* RecordComparison::nextOriginal(RecordType* type) {
  for (; next_ < originals_.size(); ++next_) {
    *type = originals_.type(next_);
    const bool repeated = *type == TVO_RECORD_OPERATIONS_COLUMNS && operationColumns_;
    if (*type == TVO_RECORD_OPERATIONS_COLUMNS) operationColumns_ = true;
    if (*type != TVO_RECORD_TIME_TAGGED_CODES_COLUMNS && !repeated) {
      return static_cast<const char*>(originals_.record(next_++));
    }
  }
  return nullptr;
}

void RecordComparison::take(RecordType type, const void* record) {
  if (!difference_.empty()) return;
  RecordType expected = 0;
  const char* const original = nextOriginal(&expected);
  const char* const written = static_cast<const char*>(record);
  if (original == nullptr) return differ("a record too many (" + recordName(type) + ")");
  if (expected != type) {
    return differ("a record of " + recordName(type) + " instead of " + recordName(expected));
  }
  if (type == TVO_RECORD_TIME_TAGGED_CODES) return compareTimeTagged(original, written);
  const schema::RecordDef& def = schema::recordDef(type);
  if (def.columns || def.fields == nullptr) {
    if (std::memcmp(original, written, def.size) != 0) differ("a record of " + recordName(type));
    return;
  }
  compareFields(type, original, written);
}

void RecordComparison::finish() {
  RecordType type = 0;
  if (nextOriginal(&type) != nullptr) differ("a missing record of " + recordName(type));
}

template <class Real>
bool RecordComparison::equalReal(const std::string& name, Real a, Real b) {
  const Match match = matchReals(a, b);
  if (match == Match::kRounded) ++rounded_[name];
  return match != Match::kOther;
}

void RecordComparison::compareFields(RecordType type, const char* original, const char* written) {
  for (const FieldDef& field : schema::rows(schema::recordDef(type).fields)) {
    if (field.offset == schema::kNotKept) continue;
    if (!equalField(type, field, original + field.offset, written + field.offset)) {
      differ("another " + recordName(type) + " " + field.name);
    }
  }
}

bool RecordComparison::equalField(RecordType type, const FieldDef& field, const char* a,
                                  const char* b) {
  const std::string name = recordName(type) + " " + field.name;
  switch (field.type) {
    case DataType::kFloat:
      return equalReal(name, load<float>(a), load<float>(b));
    case DataType::kDouble:
      return equalReal(name, load<double>(a), load<double>(b));
    case DataType::kText:
      return equalText(a, b, field.width);
    case DataType::kDateTime: {
      constexpr size_t kToTheSecond = offsetof(DateTime, hundredths);
      if (std::memcmp(a, b, sizeof(DateTime)) != 0) ++rounded_[name];
      return std::memcmp(a, b, kToTheSecond) == 0;
    }
    case DataType::kDefault: {
      const auto x = load<DefaultValue>(a), y = load<DefaultValue>(b);
      return x.kind == y.kind && equalText(x.text, y.text, sizeof x.text) &&
             equalReal(name, double{x.real}, double{y.real});
    }
    case DataType::kFree: {
      const auto x = load<FreeValue>(a), y = load<FreeValue>(b);
      return x.kind == y.kind && x.integer == y.integer &&
             equalText(x.text, y.text, sizeof x.text) &&
             equalReal(name, double{x.real}, double{y.real});
    }
    default:
      return std::memcmp(a, b, schema::storedSize(field.type, field.width)) == 0;
  }
}

void RecordComparison::compareTimeTagged(const char* original, const char* written) {
  const auto a = load<TimeTaggedRecord>(original), b = load<TimeTaggedRecord>(written);
  const FieldDef tag{TVO_FIELD_Date, "TimeTag", DataType::kDateTime};
  bool equal =
      equalText(a.Code, b.Code, sizeof a.Code) && a.Number == b.Number &&
      a.EntryCount == b.EntryCount &&
      equalField(TVO_RECORD_TIME_TAGGED_CODES, tag, original + offsetof(TimeTaggedRecord, TimeTag),
                 written + offsetof(TimeTaggedRecord, TimeTag));
  for (size_t i = 0; equal && i < a.EntryCount; ++i) {
    const TimeTaggedEntry &x = a.entries[i], &y = b.entries[i];
    equal = equalText(x.name, y.name, sizeof x.name) && x.kind == y.kind &&
            x.integer == y.integer && equalText(x.text, y.text, sizeof x.text) &&
            equalReal(recordName(TVO_RECORD_TIME_TAGGED_CODES) + " values", double{x.real},
                      double{y.real});
  }
  if (!equal) differ("another record of " + recordName(TVO_RECORD_TIME_TAGGED_CODES));
}

}  // namespace tavo::tool

// Joins named values to the rows that they belong to.
#include "attributes.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <unordered_map>

#include "texts.h"

namespace tavo::gdal {

namespace {

// Owners of a type by number, or where there is none by identifier; of several the first.
class OwnerIndex {
 public:
  OwnerIndex(const Source& source, uint32_t type)
      : records_(source.records(type)),
        // The number and the identifier of all three are their first fields.
        number_(tavo_schema_field_at(tavo_schema_block_of(type), 0)->offset),
        id_(*tavo_schema_field_at(tavo_schema_block_of(type), 1)) {
    numbers_.reserve(records_.count);
    for (size_t i = 0; i < records_.count; ++i) {
      numbers_.try_emplace(load<uint32_t>(at(i) + number_), i);
    }
  }
  size_t find(uint32_t number, std::string_view id) {
    if (number == 0) return findId(id);
    const auto found = numbers_.find(number);
    return found == numbers_.end() ? SIZE_MAX : found->second;
  }

 private:
  const char* at(size_t i) const { return recordAt(records_, i); }
  // Most surveys name owners by number alone.
  size_t findId(std::string_view id) {
    if (!idsKnown_) {
      for (size_t i = 0; i < records_.count; ++i) {
        ids_.try_emplace(viewAt(at(i) + id_.offset, id_.width), i);
      }
      idsKnown_ = true;
    }
    const auto found = ids_.find(id);
    return id.empty() || found == ids_.end() ? SIZE_MAX : found->second;
  }

  const tavo_records& records_;
  size_t number_;
  const tavo_schema_field& id_;
  std::unordered_map<uint32_t, size_t> numbers_;
  std::unordered_map<std::string_view, size_t> ids_;  // there from the first search on
  bool idsKnown_ = false;
};

// The codes that the owners of a type have, by number and by text; a code that CODES defines counts
// under both.
struct UsedCodes {
  std::set<uint16_t> numbers;
  std::set<std::string_view> texts;

  UsedCodes(const Source& source, uint32_t owner) {
    const tavo_schema_block& block = *tavo_schema_block_of(owner);
    const Member number = memberOf(block, TVO_FIELD_CodeNo);
    const Member text = memberOf(block, TVO_FIELD_Code);
    const tavo_records& records = source.records(owner);
    for (size_t i = 0; i < records.count; ++i) {
      const char* const at = recordAt(records, i);
      const Row row{owner, i, at, records.given[i], nullptr};
      if (number.in(row)) numbers.insert(load<uint16_t>(at + number.offset));
      if (text.in(row)) {
        texts.insert(viewAt(at + text.offset, sizeof(TVO_CodeRecord::Code)));
      }
    }
    for (const CodeEntry& code : source.survey().codes()) {
      if (!has(code.CodeNo(), code.Code())) continue;
      if (const auto no = code.CodeNo()) numbers.insert(*no);
      if (const auto name = code.Code()) texts.insert(*name);
    }
  }
  bool has(std::optional<uint16_t> number, std::optional<std::string_view> text) const {
    return (number && numbers.contains(*number)) || (text && texts.contains(*text));
  }
};

}  // namespace

size_t Attributes::attributeOf(std::string_view name) {
  const auto found = names_.find(name);
  if (found != names_.end()) return found->second;
  names_.emplace(name, attributes_.size());
  attributes_.push_back({toUtf8(name), Kind::kNone, {}});
  return attributes_.size() - 1;
}

void Attributes::define(const Source& source, uint32_t owner) {
  if (source.survey().attributes().empty()) return;
  std::map<uint16_t, std::vector<std::string>> lists;
  for (const Choicelist& choice : source.survey().choicelist()) {
    if (const auto list = choice.ListNo()) {
      lists[*list].push_back(toUtf8(choice.Element().value_or("")));
    }
  }
  const UsedCodes used(source, owner);
  for (const AttributeEntry& defined : source.survey().attributes()) {
    const auto name = defined.Attribute();
    if (!name || !used.has(defined.CodeNo(), defined.Code())) continue;
    Attribute& attribute = attributes_[attributeOf(*name)];
    const uint32_t type = defined.DATATYPE().value_or(TVO_ENUM_UNKNOWN);
    const Kind kind = kindOf(type);
    const auto list = lists.find(defined.ListNo().value_or(0));
    const auto& choices = list == lists.end() ? std::vector<std::string>() : list->second;
    // Codes that do not agree leave the choice free.
    if (attribute.kind == Kind::kNone) attribute.choices = choices;
    if (attribute.choices != choices) attribute.choices.clear();
    attribute.kind = std::max(attribute.kind, kind);
  }
}

template <class Packed>
Attributes::Value Attributes::valueOf(const Packed& packed, const char* text, uint32_t type,
                                      size_t index) {
  return {0,
          0,
          kindOf(packed.kind),
          viewAt(text, sizeof packed.text),
          packed.real,
          packed.integer,
          type,
          index};
}

Attributes::Kind Attributes::kindOf(uint32_t type) {
  return type == TVO_ENUM_INT ? Kind::kInteger : type == TVO_ENUM_REAL ? Kind::kReal : Kind::kText;
}

void Attributes::add(size_t row, std::string_view name, Value value) {
  value.row = row;
  value.attribute = attributeOf(name);
  Kind& kind = attributes_[value.attribute].kind;
  kind = std::max(kind, value.kind);
  values_.push_back(value);
}

std::string Attributes::asText(const Value& value) {
  if (value.kind == Kind::kText) return toUtf8(value.text);
  char digits[32];
  const auto end = value.kind == Kind::kReal
                       ? std::to_chars(digits, digits + sizeof digits, value.real).ptr
                       : std::to_chars(digits, digits + sizeof digits, value.integer).ptr;
  return {digits, end};
}

// Of several values of one row under one name the first is the column's.
void Attributes::settle() {
  const auto key = [](const Value& value) { return std::pair(value.row, value.attribute); };
  std::ranges::stable_sort(values_, {}, key);
  const auto twin = [&](const Value& first, const Value& next) {
    if (key(first) != key(next)) return false;
    left_.push_back({next.type, next.index,
                     "A further value of attribute \"" + attributes_[next.attribute].name +
                         "\": " + asText(next)});
    return true;
  };
  values_.erase(std::unique(values_.begin(), values_.end(), twin), values_.end());
}

Attributes Attributes::ofOwners(const Source& source, uint32_t owner, uint32_t theminfo) {
  Attributes made;
  made.define(source, owner);
  const tavo_records& records = source.records(theminfo);
  if (records.count == 0) return made;
  OwnerIndex owners(source, owner);
  const Member given = memberOf(*tavo_schema_block_of(theminfo), TVO_FIELD_Value);
  for (size_t i = 0; i < records.count; ++i) {
    using Record = TVO_ThemInfoRecord;
    const char* const at = recordAt(records, i);
    if (!given.in({theminfo, i, at, records.given[i], nullptr})) continue;
    const auto record = load<Record>(at);
    const std::string_view name = viewAt(at + offsetof(Record, Attribute), sizeof record.Attribute);
    const std::string_view id = viewAt(at + offsetof(Record, PointID), sizeof record.PointID);
    const size_t row = owners.find(record.OwnerNo, id);
    const Value value = valueOf(
        record.Value, at + offsetof(Record, Value) + offsetof(TVO_FreeValue, text), theminfo, i);
    if (row != SIZE_MAX) {
      made.add(row, name, value);
      continue;
    }
    const std::string whose = record.OwnerNo != 0 ? std::to_string(record.OwnerNo) : toUtf8(id);
    made.left_.push_back({theminfo, i,
                          "Attribute \"" + toUtf8(name) + "\" of " + whose +
                              ", which is not there: " + asText(value)});
  }
  made.settle();
  return made;
}

Attributes Attributes::ofTimeTaggedCodes(const Source& source) {
  Attributes made;
  constexpr uint32_t kType = TVO_RECORD_TIME_TAGGED_CODES;
  const tavo_records& records = source.records(kType);
  for (size_t i = 0; i < records.count; ++i) {
    const auto record = load<TVO_TimeTaggedRecord>(recordAt(records, i));
    const char* at = reinterpret_cast<const char*>(record.entries);
    for (size_t n = 0; n < record.EntryCount; ++n, at += sizeof(TVO_TimeTaggedEntry)) {
      constexpr size_t kFirstEntry = 3;  // of the bits
      if ((records.given[i] >> (kFirstEntry + n) & 1) == 0) continue;
      const auto entry = load<TVO_TimeTaggedEntry>(at);
      made.add(i, viewAt(at, sizeof entry.name),
               valueOf(entry, at + offsetof(TVO_TimeTaggedEntry, text), kType, i));
    }
  }
  made.settle();
  return made;
}

void Attributes::set(OGRFeature& feature, int field, Kind kind, const Value& value) {
  if (kind == Kind::kText) {
    feature.SetField(field, asText(value).c_str());
  } else if (value.kind == Kind::kInteger) {
    feature.SetField(field, int{value.integer});
  } else {
    feature.SetField(field, value.real);
  }
}

std::vector<Column> Attributes::columns() const {
  std::vector<Column> columns;
  for (size_t i = 0; i < attributes_.size(); ++i) {
    const Attribute& attribute = attributes_[i];
    const OGRFieldType type = attribute.kind == Kind::kInteger ? OFTInteger
                              : attribute.kind == Kind::kReal  ? OFTReal
                                                               : OFTString;
    Column column{"a_" + attribute.name, type, 0, {}, {}, {}, {}};
    if (type == OFTString) column.choices = attribute.choices;
    column.fill = [this, i, kind = attribute.kind](OGRFeature& feature, int at, const Row& row) {
      const auto key = [](const Value& value) { return std::pair(value.row, value.attribute); };
      const auto found = std::ranges::lower_bound(values_, std::pair(row.index, i), {}, key);
      if (found != values_.end() && key(*found) == std::pair(row.index, i)) {
        set(feature, at, kind, *found);
      }
    };
    columns.push_back(std::move(column));
  }
  return columns;
}

}  // namespace tavo::gdal

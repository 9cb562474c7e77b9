// Rules on THEMINFO, which must keep to the ATTRIBUTES of its owner's code.
#include <algorithm>
#include <cmath>
#include <set>

#include "deep_survey.h"
#include "text.h"

namespace tavo::tool {

namespace {

constexpr uint32_t kUnknown = 131, kWrongType = 132, kOutOfRange = 133, kNotInList = 134,
                   kMissing = 135;

struct Attribute {
  size_t index;  // among ATTRIBUTES
  AttributeRecord record;
  bool mandatory() const { return record.MANDATORY == TVO_ENUM_YES; }
};

// Which block's things have which block of values.
struct OwnerKind {
  uint32_t type, values;
  FieldId number;
};
constexpr OwnerKind kOwners[] = {
    {TVO_RECORD_POINTS, TVO_RECORD_POINT_THEMINFO, TVO_FIELD_PointNo},
    {TVO_RECORD_LINES, TVO_RECORD_LINE_THEMINFO, TVO_FIELD_LineNo},
    {TVO_RECORD_POLYGONS, TVO_RECORD_POLYGON_THEMINFO, TVO_FIELD_PolygonNo},
};

class Attributes {
 public:
  explicit Attributes(DeepSurvey& survey) : survey_(survey) {
    for (size_t i = 0; i < survey.of(TVO_RECORD_ATTRIBUTES).count; ++i) {
      const auto record = survey.record<AttributeRecord>({TVO_RECORD_ATTRIBUTES, i});
      const RecordAt* const code =
          survey.target(TVO_FIELD_CodeNo, record.CodeNo, TVO_FIELD_Code, textOf(record.Code));
      if (code != nullptr) byCode_[code->index].push_back({i, record});
    }
    for (size_t i = 0; i < survey.of(TVO_RECORD_CHOICELIST).count; ++i) {
      const auto choice = survey.record<ChoiceRecord>({TVO_RECORD_CHOICELIST, i});
      choices_[choice.ListNo].emplace(textOf(choice.Element));
    }
  }

  void check() {
    if (byCode_.empty()) return;
    for (const OwnerKind& kind : kOwners) check(kind);
  }

 private:
  void check(const OwnerKind& kind);
  const std::vector<Attribute>* attributesOf(RecordAt owner) const;
  const RecordAt* ownerOf(const OwnerKind& kind, const ThemInfoRecord& value) const {
    return survey_.target(kind.number, value.OwnerNo,
                          kind.type == TVO_RECORD_POINTS ? FieldId{TVO_FIELD_PointID} : FieldId{0},
                          textOf(value.PointID));
  }
  void checkValue(RecordAt at, const ThemInfoRecord& value, const Attribute& attribute);
  void checkNumber(RecordAt at, double value, const Attribute& attribute);

  DeepSurvey& survey_;
  std::map<size_t, std::vector<Attribute>> byCode_;  // by the code's place among CODES
  std::map<uint32_t, std::set<std::string, std::less<>>> choices_;
};

// Null where the owner's code has none.
const std::vector<Attribute>* Attributes::attributesOf(RecordAt owner) const {
  const char* const bytes = survey_.bytes(owner);
  const PlacedField number = fieldOf(owner.type, TVO_FIELD_CodeNo);
  const PlacedField text = fieldOf(owner.type, TVO_FIELD_Code);
  const RecordAt* const code = survey_.target(TVO_FIELD_CodeNo, wholeNumber(*number.field, bytes),
                                              TVO_FIELD_Code, textAt(*text.field, bytes));
  const auto found = code == nullptr ? byCode_.end() : byCode_.find(code->index);
  return found == byCode_.end() ? nullptr : &found->second;
}

void Attributes::check(const OwnerKind& kind) {
  std::set<std::pair<size_t, size_t>> given;  // owners and their mandatory attributes
  for (size_t i = 0; i < survey_.of(kind.values).count; ++i) {
    const RecordAt at{kind.values, i};
    const auto value = survey_.record<ThemInfoRecord>(at);
    const RecordAt* const owner = ownerOf(kind, value);
    const auto* const all = owner == nullptr ? nullptr : attributesOf(*owner);
    if (all == nullptr) continue;
    const std::string_view name = textOf(value.Attribute);
    const auto attribute = std::ranges::find_if(
        *all, [&](const Attribute& known) { return textOf(known.record.Attribute) == name; });
    if (attribute == all->end()) {
      survey_.find(kUnknown, at, TVO_FIELD_Attribute,
                   "the code has no attribute \"" + toUtf8(name) + "\"");
      continue;
    }
    if (attribute->mandatory() && value.Value.kind != 0) {
      given.insert({owner->index, attribute->index});
    }
    checkValue(at, value, *attribute);
  }
  for (size_t i = 0; i < survey_.of(kind.type).count; ++i) {
    const auto* const all = attributesOf({kind.type, i});
    if (all == nullptr) continue;
    for (const Attribute& attribute : *all) {
      if (!attribute.mandatory() || given.contains({i, attribute.index})) continue;
      survey_.find(kMissing, {kind.type, i}, 0,
                   "there is no value for \"" + toUtf8(textOf(attribute.record.Attribute)) +
                       "\", which is mandatory");
    }
  }
}

void Attributes::checkValue(RecordAt at, const ThemInfoRecord& value, const Attribute& attribute) {
  const EnumId kind = value.Value.kind, wanted = attribute.record.DATATYPE;
  const bool numbers = wanted == TVO_ENUM_REAL || wanted == TVO_ENUM_INT;
  const bool fits = kind == wanted || (kind == TVO_ENUM_INT && wanted == TVO_ENUM_REAL);
  if (!fits && (numbers || wanted == TVO_ENUM_TEXT)) {
    survey_.find(kWrongType, at, TVO_FIELD_Value,
                 "\"" + toUtf8(textOf(attribute.record.Attribute)) + "\" takes " +
                     tavo_schema_value_name(wanted) + ", not " + tavo_schema_value_name(kind));
    return;
  }
  if (kind == TVO_ENUM_INT) checkNumber(at, value.Value.integer, attribute);
  if (kind == TVO_ENUM_REAL) checkNumber(at, value.Value.real, attribute);
  const auto list = choices_.find(attribute.record.ListNo);
  if (kind != TVO_ENUM_TEXT || list == choices_.end()) return;
  if (list->second.contains(textOf(value.Value.text))) return;
  survey_.find(kNotInList, at, TVO_FIELD_Value,
               "\"" + toUtf8(textOf(value.Value.text)) + "\" is not in choice list " +
                   std::to_string(list->first));
}

// Both limits of 0, or none given, are no range.
void Attributes::checkNumber(RecordAt at, double value, const Attribute& attribute) {
  const double low = attribute.record.RangeLow, high = attribute.record.RangeHigh;
  if ((low == 0 && high == 0) || (value >= low && value <= high)) return;
  char detail[120];
  std::snprintf(detail, sizeof detail, "%.10g is not between %.10g and %.10g", value, low, high);
  survey_.find(kOutOfRange, at, TVO_FIELD_Value, detail);
}

}  // namespace

void checkAttributes(DeepSurvey& survey) { Attributes(survey).check(); }

}  // namespace tavo::tool

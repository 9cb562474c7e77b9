// Rules on keys and references, driven by the key and reference columns of the format's tables.
#include <algorithm>
#include <set>
#include <tuple>
#include <unordered_set>

#include "deep_survey.h"
#include "text.h"
#include "topics.h"

namespace tavo::tool {

namespace {

constexpr uint32_t kDoubledNumber = 101, kDoubledIdentifier = 102, kUnknownPoint = 103,
                   kUnknownShape = 104, kUnknownLayer = 105, kUnknownCode = 106, kUnknownJob = 107,
                   kUnknownProjection = 108, kUnknownInstrument = 109, kUnknownConfig = 110,
                   kUnknownOther = 111, kUnknownTarget = 112, kDisagree = 113, kNoDefinitions = 114,
                   kUnused = 171;

// What a reference is called, by the key field that it leads to, and the rule for one into nothing.
struct Kind {
  FieldId key;
  const char* name;
  uint32_t rule;
};
constexpr Kind kKinds[] = {
    {TVO_FIELD_PointNo, "point", kUnknownPoint},
    {TVO_FIELD_PointID, "point", kUnknownPoint},
    {TVO_FIELD_LineNo, "line", kUnknownShape},
    {TVO_FIELD_PolygonNo, "polygon", kUnknownShape},
    {TVO_FIELD_LayerNo, "layer", kUnknownLayer},
    {TVO_FIELD_SubjectNo, "subject", kUnknownLayer},
    {TVO_FIELD_CodeNo, "code", kUnknownCode},
    {TVO_FIELD_Code, "code", kUnknownCode},
    {TVO_FIELD_JobNo, "job", kUnknownJob},
    {TVO_FIELD_PrjSetNo, "projection set", kUnknownProjection},
    {TVO_FIELD_MapPrjNo, "map projection", kUnknownProjection},
    {TVO_FIELD_EllipsoidNo, "ellipsoid", kUnknownProjection},
    {TVO_FIELD_TrfNo, "transformation", kUnknownProjection},
    {TVO_FIELD_InstrName, "instrument", kUnknownInstrument},
    {TVO_FIELD_CfgNo, "configuration", kUnknownConfig},
    {TVO_FIELD_ListNo, "choice list", kUnknownOther},
    {TVO_FIELD_TextBoxNo, "text box", kUnknownOther},
    {TVO_FIELD_TextPropertyNo, "text property", kUnknownOther},
};

std::string pluralOf(std::string name) {
  if (!name.ends_with('y')) return name + "s";
  name.pop_back();
  return name + "ies";
}

const Kind& kindOf(FieldId key) {
  static constexpr Kind kOther{0, "definition", kUnknownOther};
  const auto* const at = std::ranges::find(kKinds, key, &Kind::key);
  return at == std::end(kKinds) ? kOther : *at;
}

// Stations, targets and what is measured there.
bool isObservation(uint32_t type) {
  return type == TVO_RECORD_SETUP || type == TVO_RECORD_SLOPE || type == TVO_RECORD_ELEMENTS;
}

// Of these a survey has many that nothing refers to.
bool isThing(uint32_t type) {
  return type == TVO_RECORD_POINTS || type == TVO_RECORD_LINES || type == TVO_RECORD_POLYGONS;
}

class References {
 public:
  explicit References(DeepSurvey& survey) : survey_(survey) {}

  void check() {
    for (const uint32_t type : survey_.types()) {
      findDoubles(type);
      const std::vector<PlacedField>& fields = survey_.fields(type);
      for (size_t i = 0; i < fields.size(); ++i) {
        if (fields[i].field->refers != 0) follow(type, i);
      }
    }
    followOperations();
    tellCounts();
    findUnused();
  }

 private:
  using Key = std::tuple<uint32_t, FieldId, std::string>;  // type, field, value
  struct Missed {
    size_t draft = SIZE_MAX;
    uint64_t count = 0;
    std::string first = {};  // value, of what is not defined at all
    const char* kind = "";
  };

  std::string valueText(const PlacedField& field, RecordAt at) const {
    return nameOf(wholeNumber(*field.field, survey_.bytes(at)),
                  textAt(*field.field, survey_.bytes(at)));
  }
  std::string lineOf(RecordAt at) const {
    return "line " + std::to_string(survey_.of(at.type).lines[at.index]);
  }
  bool isEmpty(const PlacedField& field, RecordAt at) const {
    if (!survey_.given(at, field)) return true;
    const char* const bytes = survey_.bytes(at);
    return wholeNumber(*field.field, bytes) == 0 && textAt(*field.field, bytes).empty();
  }

  void findDoubles(uint32_t type);
  void findDoublesOf(uint32_t type, const PlacedField& field);
  void findDoubledParts(uint32_t type, const std::vector<PlacedField>& parts);
  void follow(uint32_t type, size_t place);
  void resolve(RecordAt at, const PlacedField& field, const PlacedField* number);
  void miss(RecordAt at, const PlacedField& field);
  void missPoint(RecordAt at, const std::string& name);
  void followOperations();
  void tellCounts();
  void findUnused();

  DeepSurvey& survey_;
  std::map<Key, Missed> missed_;
  std::map<uint32_t, Missed> undefined_;  // by the first type that would define it
  std::map<uint32_t, std::vector<bool>> used_;
};

void References::findDoubles(uint32_t type) {
  std::vector<PlacedField> parts;
  for (const PlacedField& field : survey_.fields(type)) {
    if (field.field->key == TAVO_KEY_IDENTIFIER) findDoublesOf(type, field);
    if (field.field->key == TAVO_KEY_PART) parts.push_back(field);
  }
  if (parts.size() == 1 && parts[0].field->refers == 0) {
    findDoublesOf(type, parts[0]);
  } else if (!parts.empty()) {
    findDoubledParts(type, parts);
  }
}

// Blocks that define the same field share its numbers: a MapPrjNo is one in all projections.
void References::findDoublesOf(uint32_t type, const PlacedField& field) {
  const Definitions& all = survey_.definitions(field.field->id);
  const bool identifier = field.field->key == TAVO_KEY_IDENTIFIER;
  for (size_t i = 0; i < survey_.of(type).count; ++i) {
    const RecordAt at{type, i};
    if (isEmpty(field, at)) continue;
    const RecordAt first = *all.find(*field.field, survey_.bytes(at));
    if (first.type == type && first.index == i) continue;
    survey_.find(identifier ? kDoubledIdentifier : kDoubledNumber, at, field.field->id,
                 std::string(field.field->name) + " " + valueText(field, at) +
                     " is given before, " + "on " + lineOf(first));
  }
}

// A key of several parts, or one that repeats another block's: each combination once.
void References::findDoubledParts(uint32_t type, const std::vector<PlacedField>& parts) {
  std::unordered_map<std::string, size_t> seen;
  for (size_t i = 0; i < survey_.of(type).count; ++i) {
    const RecordAt at{type, i};
    std::string key;
    bool empty = true;
    for (const PlacedField& part : parts) {
      if (!isEmpty(part, at)) {
        empty = false;
        key += part.field->name + (" " + valueText(part, at)) + ", ";
      }
    }
    if (empty) continue;
    key.resize(key.size() - 2);
    const auto [first, fresh] = seen.try_emplace(key, i);
    if (fresh) continue;
    survey_.find(kDoubledNumber, at, parts.front().field->id,
                 key + " is given before, on " + lineOf({type, first->second}));
  }
}

// An identifier beside a number that refers to the same block counts where the number is not given.
void References::follow(uint32_t type, size_t place) {
  const std::vector<PlacedField>& fields = survey_.fields(type);
  const PlacedField& field = fields[place];
  const PlacedField* number = nullptr;
  if (place > 0 && field.field->type == TAVO_TYPE_TEXT && fields[place - 1].field->refers != 0) {
    const auto& ours = survey_.definitions(field.field->refers).types;
    if (survey_.definitions(fields[place - 1].field->refers).types == ours) {
      number = &fields[place - 1];
    }
  }
  for (size_t i = 0; i < survey_.of(type).count; ++i) {
    const RecordAt at{type, i};
    if (!isEmpty(field, at)) resolve(at, field, number);
  }
}

void References::resolve(RecordAt at, const PlacedField& field, const PlacedField* number) {
  const char* const bytes = survey_.bytes(at);
  if (number != nullptr && !isEmpty(*number, at)) {
    const RecordAt* const named =
        survey_.definitions(number->field->refers).find(*number->field, bytes);
    const PlacedField own =
        named == nullptr ? PlacedField{} : fieldOf(named->type, field.field->refers);
    if (own.field == nullptr) return;
    const std::string_view id = textAt(*own.field, survey_.bytes(*named));
    if (id.empty() || id == textAt(*field.field, bytes)) return;
    survey_.find(kDisagree, at, field.field->id,
                 std::string(kindOf(field.field->refers).name) + " " + valueText(*number, at) +
                     " is " + nameOf(0, id) + ", not " + valueText(field, at));
    return;
  }
  const RecordAt* const named = survey_.definitions(field.field->refers).find(*field.field, bytes);
  if (named == nullptr) return miss(at, field);
  std::vector<bool>& used = used_[named->type];
  used.resize(survey_.of(named->type).count);
  used[named->index] = true;
}

// Told once for each value that a column of a block names.
void References::miss(RecordAt at, const PlacedField& field) {
  const FieldId key = field.field->refers;
  const Kind& kind = kindOf(key);
  const Definitions& all = survey_.definitions(key);
  const bool observation = isObservation(at.type) && kind.rule == kUnknownPoint;
  const bool thing = std::ranges::any_of(all.types, isThing) && !observation;
  const bool none =
      std::ranges::all_of(all.types, [this](uint32_t type) { return survey_.of(type).count == 0; });
  if (none && !thing) {
    // One for numbers and identifiers of a block alike.
    Missed& missed = undefined_[all.types.empty() ? 0 : all.types.front()];
    if (missed.count++ > 0) return;
    missed.first = valueText(field, at);
    missed.kind = kind.name;
    missed.draft = survey_.find(kNoDefinitions, at, field.field->id, "");
    return;
  }
  Missed& missed = missed_[{at.type, field.field->id, valueText(field, at)}];
  if (missed.count++ > 0) return;
  missed.draft =
      survey_.find(observation ? kUnknownTarget : kind.rule, at, field.field->id,
                   std::string(kind.name) + " " + valueText(field, at) + " is not there");
}

void References::missPoint(RecordAt at, const std::string& name) {
  Missed& missed = missed_[{at.type, TVO_FIELD_PointNo, name}];
  if (missed.count++ > 0) return;
  missed.draft = survey_.find(kUnknownPoint, at, 0, "point " + name + " is not there");
}

// Operations have lines of their own form.
void References::followOperations() {
  const uint32_t type = TVO_RECORD_OPERATION_POINTS;
  for (size_t i = 0; i < survey_.of(type).count; ++i) {
    const auto record = survey_.record<OperationPointsRecord>({type, i});
    for (const OperationPoint& point : record.points) {
      const std::string_view id = textOf(point.PointID);
      if (point.PointNo == 0 && id.empty()) continue;
      if (survey_.target(TVO_FIELD_PointNo, point.PointNo, TVO_FIELD_PointID, id) == nullptr) {
        missPoint({type, i}, nameOf(point.PointNo, id));
      }
    }
  }
}

void References::tellCounts() {
  for (const auto& [key, missed] : missed_) {
    if (missed.count < 2 || missed.draft == SIZE_MAX) continue;
    survey_.drafts()[missed.draft].detail += " (named by " + counted(missed.count, "record") + ")";
  }
  for (const auto& [type, missed] : undefined_) {
    if (missed.draft == SIZE_MAX) continue;
    survey_.drafts()[missed.draft].detail = "the file defines no " + pluralOf(missed.kind) +
                                            ", which " + counted(missed.count, "record") +
                                            (missed.count == 1 ? " names" : " name") +
                                            "; the first is " + missed.first;
  }
}

// Definitions that something could refer to, and nothing does.
void References::findUnused() {
  // A single projection set applies to points that name none.
  const tavo_records& sets = survey_.of(TVO_RECORD_PROJECTION_SETS);
  if (sets.count == 1 && survey_.of(TVO_RECORD_POINTS).count > 0) {
    used_[TVO_RECORD_PROJECTION_SETS].assign(1, true);
  }
  for (const uint32_t type : survey_.types()) {
    const PlacedField* key = nullptr;
    for (const PlacedField& field : survey_.fields(type)) {
      const bool named = std::ranges::any_of(
          kKinds, [&](const Kind& kind) { return kind.key == field.field->id; });
      const bool defines = field.field->key == TAVO_KEY_PART && field.field->refers == 0;
      if (key == nullptr && defines && named) key = &field;
    }
    if (key == nullptr || isThing(type)) continue;
    std::vector<bool>& used = used_[type];
    used.resize(survey_.of(type).count);
    for (size_t i = 0; i < used.size(); ++i) {
      const RecordAt at{type, i};
      if (used[i] || isEmpty(*key, at)) continue;
      const RecordAt first =
          *survey_.definitions(key->field->id).find(*key->field, survey_.bytes(at));
      if (first.type != type || first.index != i) continue;
      survey_.find(kUnused, at, key->field->id,
                   std::string(kindOf(key->field->id).name) + " " + valueText(*key, at) +
                       " is used by nothing");
    }
  }
}

}  // namespace

void checkReferences(DeepSurvey& survey) { References(survey).check(); }

}  // namespace tavo::tool

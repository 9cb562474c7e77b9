// Runs the rules and gives what they drafted its place in the text.
#include "deep.h"

#include <algorithm>

#include "deep_survey.h"
#include "source_places.h"
#include "topics.h"

namespace tavo::tool {

namespace {

// The rules that stand for notes of the layer.
constexpr struct {
  uint32_t note, rule;
} kNotes[] = {{TAVO_NOTE_WRAPPED, 141}, {TAVO_NOTE_ROUNDED, 142}};

// Notes on values that lost something become findings of their rules, unless these are off.
void takeNotes(const DeepSurvey& survey, Analysis* analysis) {
  for (Found& found : analysis->findings) {
    for (const auto& [note, rule] : kNotes) {
      const uint32_t severity = survey.severity(rule);
      if (found.deep || found.number != note || severity == kOff) continue;
      found.detail = "'" + found.text + "' " + found.message();
      found.number = rule;
      found.kind = severity;
      found.deep = true;
    }
  }
}

// Where the draft's value stands: among the columns of its block, or as an item.
Wanted wantedOf(const DeepSurvey& survey, const Draft& draft) {
  const tavo_records& records = survey.of(draft.record.type);
  if (draft.record.type == 0 || draft.record.index >= records.count) return {0};
  Wanted wanted{records.lines[draft.record.index]};
  const tavo_block* const block = survey.blockOf(draft.record);
  if (draft.field == 0 || block == nullptr) return wanted;
  if (tavo_schema_block_of(draft.record.type)->kind == TAVO_BLOCK_ITEMS) {
    wanted.item = fieldOf(draft.record.type, draft.field).field->name;
    return wanted;
  }
  const FieldId* const end = block->columns + block->column_count;
  const FieldId* const at = std::find(block->columns, end, draft.field);
  if (at != end) wanted.value = static_cast<size_t>(at - block->columns);
  return wanted;
}

Found foundOf(const DeepSurvey& survey, Draft& draft, uint64_t line, SourcePlace& place) {
  Found found;
  found.deep = true;
  found.number = draft.rule;
  found.kind = survey.severity(draft.rule);
  found.line = place.column > 0 ? place.line : line;
  found.column = place.column;
  found.length = place.length;
  found.text = std::move(place.text);
  found.source = std::move(place.source);
  found.detail = std::move(draft.detail);
  if (draft.record.type != 0) found.owner = survey.ownerOf(draft.record);
  if (draft.position) found.owner.position = draft.position;
  return found;
}

// The library's findings keep their order; each of the others comes in front of the first one of a
// later line.
void merge(std::vector<Found> deep, Analysis* analysis) {
  std::ranges::stable_sort(deep, {}, &Found::line);
  std::vector<Found> all;
  all.reserve(deep.size() + analysis->findings.size());
  size_t next = 0;
  for (Found& found : analysis->findings) {
    while (next < deep.size() && deep[next].line < found.line) {
      all.push_back(std::move(deep[next++]));
    }
    all.push_back(std::move(found));
  }
  std::move(deep.begin() + static_cast<std::ptrdiff_t>(next), deep.end(), std::back_inserter(all));
  analysis->findings = std::move(all);
}

}  // namespace

void checkDeep(const InputText& text, tavo_survey* survey, const RuleSettings& settings,
               Analysis* analysis) try {
  DeepSurvey deep(survey, settings);
  for (const auto rules :
       {&checkReferences, &checkShapes, &checkAttributes, &checkValues, &checkObservations}) {
    rules(deep);
  }
  takeNotes(deep, analysis);
  std::vector<Wanted> wanted;
  for (const Draft& draft : deep.drafts()) wanted.push_back(wantedOf(deep, draft));
  std::vector<SourcePlace> places = findPlaces(text, survey, wanted);
  std::vector<Found> found;
  for (size_t i = 0; i < places.size(); ++i) {
    found.push_back(foundOf(deep, deep.drafts()[i], wanted[i].line, places[i]));
  }
  merge(std::move(found), analysis);
} catch (const Interruption&) {
  analysis->status = TVO_ERR_ABORTED;
}

}  // namespace tavo::tool

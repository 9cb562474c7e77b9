// tavo diff: compares the records of two surveys, matched by their keys, field by field.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "console.h"
#include "findings.h"
#include "record_fields.h"
#include "stored_records.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// All records of a type. Those that no field table describes are kept as one line of JSON.
struct Records {
  std::vector<std::string> bytes;
  std::vector<tavo_given> given;
  std::vector<uint64_t> lines;
  std::vector<size_t> units;  // in force, places in Compared::units
  std::vector<std::string> keys;
};

// All of them, to be compared at once and to be part of a key.
std::string_view bytesOf(const tavo_units& units) {
  static_assert(sizeof units == 6 * sizeof(TVO_EnumId) + 6 * sizeof(double));  // nothing between
  return {reinterpret_cast<const char*>(&units), sizeof units};
}

// A record's label and key.
class Keys {
 public:
  explicit Keys(uint32_t type) : type_(type) {
    const tavo_schema_block* const block = tavo_schema_block_of(type);
    const tavo_schema_field* field = nullptr;
    for (size_t i = 0; (field = tavo_schema_field_at(block, i)) != nullptr; ++i) {
      if (field->hidden != 0 || field->alias != 0 || field->offset == UINT32_MAX) continue;
      if (field->key == TAVO_KEY_PART) parts_.push_back(field);
      if (field->key == TAVO_KEY_IDENTIFIER) identifiers_.push_back(field);
      if (field->refers != 0) references_.push_back(field);
    }
  }

  // What tells records apart: their key, without one their identifier, without both what they refer
  // to. The records that it leaves together are matched by their content and order.
  std::string keyOf(const char* record) const {
    for (const auto* fields : {&parts_, &identifiers_, &references_}) {
      std::string key;
      for (const tavo_schema_field* field : *fields) key += valueOf(*field, record) + '\n';
      if (key.find_first_not_of('\n') != key.npos) return key;
    }
    return {};
  }
  // "DATABASE/POINTS 17 \"P17\"", of a block without keys "THEODOLITE/SLOPE TgtNo 17".
  std::string labelOf(const char* record) const {
    std::string label = blockPath(tavo_schema_block_of(type_));
    const bool keyed = !parts_.empty();
    for (const auto* fields : {&parts_, &identifiers_}) {
      for (const tavo_schema_field* field : *fields) add(&label, "", valueOf(*field, record));
    }
    if (keyed) return label;
    for (const tavo_schema_field* field : references_) {
      add(&label, field->name, valueOf(*field, record));
    }
    return label;
  }

 private:
  static void add(std::string* label, const char* name, const std::string& value) {
    if (value.empty()) return;
    *label += *name == '\0' ? " " : std::string(" ") + name + " ";
    *label += value;
  }
  static std::string valueOf(const tavo_schema_field& field, const char* record) {
    if (field.type == TAVO_TYPE_TEXT) {
      const std::string_view text = textAt(field, record);
      return text.empty() ? std::string() : "\"" + toUtf8(text) + "\"";
    }
    const uint32_t number = wholeNumber(field, record);
    return number == 0 ? std::string() : std::to_string(number);
  }

  uint32_t type_;
  std::vector<const tavo_schema_field*> parts_, identifiers_, references_;
};

bool hasTable(uint32_t type) {
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  return block->field_count > 0 && type == block->data_type;
}

// One of the two surveys, whole.
class Compared {
 public:
  // kFindings: it is there, but some of it could not be read.
  ExitStatus read(const std::string& path) {
    const InputKind kind = inputKind(path);
    return kind.stored ? readDataFile(path, kind.head) : readText(path, kind.head);
  }

  const std::string& name() const { return name_; }
  const std::string& hash() const { return hash_; }
  const std::map<uint32_t, Records>& types() const { return types_; }
  const tavo_units& units(const Records& records, size_t i) const {
    return units_[records.units[i]];
  }

 private:
  void take(const tavo_record& record);
  ExitStatus readText(const std::string& path, const std::string& head);
  ExitStatus readDataFile(const std::string& path, const std::string& head);

  std::string name_, hash_;
  std::map<uint32_t, Records> types_;
  std::map<uint32_t, Keys> keys_;
  std::vector<tavo_units> units_{*tavo_default_units()};
  ColumnsRecord columns_{};
  RecordPrinter printer_{RecordPrinter::Order::kText, RecordPrinter::Values::kFile, true};
};

void Compared::take(const tavo_record& record) {
  const tavo_schema_block* const block = tavo_schema_block_of(record.type);
  if (record.type == block->columns_type) {
    std::memcpy(&columns_, record.bytes, sizeof columns_);
    return;
  }
  const auto* const bytes = static_cast<const char*>(record.bytes);
  Records& records = types_[record.type];
  if (hasTable(record.type)) {
    records.bytes.emplace_back(bytes, record.size);
    records.keys.push_back(keys_.try_emplace(record.type, record.type).first->second.keyOf(bytes));
  } else {
    const Json line = printer_.print(record.type, bytes);
    records.bytes.push_back(oneLine(line.contains("fields") ? line["fields"] : line["points"]));
    const bool codes = record.type == TVO_RECORD_TIME_TAGGED_CODES;
    records.keys.push_back(codes ? oneLine(line["fields"]["Code"]) + " " +
                                       oneLine(line["fields"].value("TimeTag", Json("")))
                                 : "");
  }
  records.given.push_back(record.given);
  records.lines.push_back(record.line);
  tavo_units now = units_.back();
  tavo_units_follow(&now, &columns_, record.type, bytes);
  if (bytesOf(now) != bytesOf(units_.back())) units_.push_back(now);
  records.units.push_back(units_.size() - 1);
}

ExitStatus Compared::readText(const std::string& path, const std::string& head) {
  InputText text;
  if (const std::string problem = text.open(path, head); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  name_ = text.name();
  hash_ = text.hash();
  const Analysis analysis = analyse(text, [this](const tavo_record& record) -> uint32_t {
    take(record);
    return TAVO_OK;
  });
  if (!isWhole(text, analysis)) return kFailed;
  complainOfNotes(text, analysis);
  return complainOfFindings(text, analysis);
}

ExitStatus Compared::readDataFile(const std::string& path, const std::string& head) {
  DataFileInput file;
  if (const std::string problem = file.open(path, head); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  const Json told = jsonOf("", file);
  name_ = file.name();
  if (told.contains("sha256")) hash_ = told["sha256"];
  StoredRecords records;
  if (records.open(file, StoredRecords::Use::kPrint, false) != kSound) return kFailed;
  tavo_record record{};
  for (uint32_t move = TVO_FIRST; records.fetch(move, &record) == TAVO_OK; move = TVO_NEXT) {
    take(record);
  }
  return records.complainOfLosses() ? kFindings : kSound;
}

// A field that changed, with both values; null where it is not given.
struct Change {
  std::string field;
  Json before, after;
};

// --- Comparing
// ------------------------------------------------------------------------------------

class Comparer {
 public:
  Comparer(const Compared& first, const Compared& second, const DiffOptions& options)
      : first_(first), second_(second), options_(options) {}

  // Compares all and prints each difference.
  void run();
  void finish() const;
  bool same() const { return added_ + removed_ + changed_ == 0; }

 private:
  struct Group {
    std::vector<size_t> first, second;
  };

  void compareType(uint32_t type, const Records& first, const Records& second);
  void pairEqual(const Records& first, const Records& second, Group* group);
  void comparePair(uint32_t type, const Records& first, size_t i, const Records& second, size_t j);
  std::vector<Change> changes(uint32_t type, const Records& first, size_t i, const Records& second,
                              size_t j) const;
  bool sameValue(const tavo_schema_field& field, const char* a, const char* b, const tavo_units& ua,
                 const tavo_units& ub, Change* change) const;
  bool sameReal(const char* name, double a, double b) const;
  void print(const char* change, uint32_t type, const Records& records, size_t i,
             const std::vector<Change>& fields, uint64_t otherLine);

  const Compared& first_;
  const Compared& second_;
  const DiffOptions& options_;
  RecordPrinter printer_{RecordPrinter::Order::kText, RecordPrinter::Values::kFile, true};
  uint64_t added_ = 0, removed_ = 0, changed_ = 0, same_ = 0;
};

void Comparer::run() {
  static const Records kNone;
  std::map<uint32_t, std::pair<const Records*, const Records*>> types;
  for (const auto& [type, records] : first_.types()) types[type] = {&records, &kNone};
  for (const auto& [type, records] : second_.types()) {
    auto& pair = types.try_emplace(type, &kNone, &kNone).first->second;
    pair.second = &records;
  }
  for (const auto& [type, pair] : types) compareType(type, *pair.first, *pair.second);
}

void Comparer::compareType(uint32_t type, const Records& first, const Records& second) {
  std::unordered_map<std::string_view, Group> groups;
  for (size_t i = 0; i < first.keys.size(); ++i) groups[first.keys[i]].first.push_back(i);
  for (size_t j = 0; j < second.keys.size(); ++j) groups[second.keys[j]].second.push_back(j);
  // In the order of A, what only B has behind it in the order of B.
  const auto take = [&](Group group) {
    if (group.first.size() + group.second.size() > 2) pairEqual(first, second, &group);
    const size_t pairs = std::min(group.first.size(), group.second.size());
    for (size_t k = 0; k < pairs; ++k) {
      comparePair(type, first, group.first[k], second, group.second[k]);
    }
    for (size_t k = pairs; k < group.first.size(); ++k) {
      ++removed_;
      print("removed", type, first, group.first[k], {}, 0);
    }
    for (size_t k = pairs; k < group.second.size(); ++k) {
      ++added_;
      print("added", type, second, group.second[k], {}, 0);
    }
  };
  for (const auto* keys : {&first.keys, &second.keys}) {
    for (const std::string& key : *keys) {
      const auto group = groups.find(key);
      if (group == groups.end()) continue;
      Group now = std::move(group->second);
      groups.erase(group);
      take(std::move(now));
    }
  }
}

// Of records of one key those that are the same go out together, so that one more in between does
// not shift the others.
void Comparer::pairEqual(const Records& first, const Records& second, Group* group) {
  std::unordered_map<std::string, std::vector<size_t>> contents;
  const auto contentOf = [](const Compared& side, const Records& records, size_t i) {
    return records.bytes[i] + std::string(bytesOf(side.units(records, i))) +
           std::to_string(records.given[i]);
  };
  std::for_each(group->first.rbegin(), group->first.rend(),
                [&](size_t i) { contents[contentOf(first_, first, i)].push_back(i); });
  std::vector<size_t> gone;
  std::erase_if(group->second, [&](size_t j) {
    const auto found = contents.find(contentOf(second_, second, j));
    if (found == contents.end() || found->second.empty()) return false;
    gone.push_back(found->second.back());
    found->second.pop_back();
    ++same_;
    return true;
  });
  std::ranges::sort(gone);
  std::erase_if(group->first, [&](size_t i) { return std::ranges::binary_search(gone, i); });
}

void Comparer::comparePair(uint32_t type, const Records& first, size_t i, const Records& second,
                           size_t j) {
  const std::vector<Change> fields = changes(type, first, i, second, j);
  if (fields.empty()) {
    ++same_;
    return;
  }
  ++changed_;
  print("changed", type, first, i, fields, second.lines[j]);
}

std::vector<Change> Comparer::changes(uint32_t type, const Records& first, size_t i,
                                      const Records& second, size_t j) const {
  const std::string &a = first.bytes[i], &b = second.bytes[j];
  if (!hasTable(type)) {
    if (a == b) return {};
    return {{"record", Json::parse(a), Json::parse(b)}};
  }
  const tavo_units &ua = first_.units(first, i), &ub = second_.units(second, j);
  const bool units = bytesOf(ua) == bytesOf(ub);
  if (units && a == b && first.given[i] == second.given[j]) return {};
  const bool known = first.given[i] != TAVO_GIVEN_UNKNOWN && second.given[j] != TAVO_GIVEN_UNKNOWN;
  std::vector<Change> all;
  const tavo_schema_block* const block = tavo_schema_block_of(type);
  const tavo_schema_field* field = nullptr;
  for (size_t place = 0; (field = tavo_schema_field_at(block, place)) != nullptr; ++place) {
    if (field->offset == UINT32_MAX || field->alias != 0) continue;
    const PlacedField at{field, place};
    const bool mine = !known || field->hidden != 0 || at.given(first.given[i]);
    const bool other = !known || field->hidden != 0 || at.given(second.given[j]);
    if (!mine && !other) continue;
    Change change{field->name, nullptr, nullptr};
    const bool same =
        sameValue(*field, a.data() + field->offset, b.data() + field->offset, ua, ub, &change);
    // A real that is not given is another thing than 0. A number of 0, an empty text or date says
    // as little as none.
    const bool real = change.before.is_number_float() || change.after.is_number_float();
    if (same && (mine == other || !real)) continue;
    if (!mine) change.before = nullptr;
    if (!other) change.after = nullptr;
    all.push_back(std::move(change));
  }
  return all;
}

// A real in the units of A, as its file has it; `units` are its own.
double shownIn(const tavo_schema_field& field, const tavo_units& shown, double value,
               const tavo_units& units) {
  if (field.unit == TAVO_UNIT_NONE) return value;
  const bool same = bytesOf(shown) == bytesOf(units);
  if (same && field.converted == 0) return value;
  const double si =
      field.converted != 0 ? value : tavo_to_si(&units, field.unit, value) + offsetOf(field, units);
  const double file = tavo_to_file(&shown, field.unit, si - offsetOf(field, shown));
  return withoutNoise(file, field.type == TAVO_TYPE_FLOAT ? 7 : 13);
}

bool Comparer::sameReal(const char* name, double a, double b) const {
  if (a == b || (std::isnan(a) && std::isnan(b))) return true;
  const auto named = options_.tolerances.find(name);
  const auto any = options_.tolerances.find("");
  const double tolerance = named != options_.tolerances.end() ? named->second
                           : any != options_.tolerances.end() ? any->second
                                                              : 0;
  // The last digits of a difference of large numbers are noise.
  const double noise = tolerance > 0 ? 1e-13 * std::max(std::fabs(a), std::fabs(b)) : 0;
  return std::fabs(a - b) <= tolerance + noise;
}

bool Comparer::sameValue(const tavo_schema_field& field, const char* a, const char* b,
                         const tavo_units& ua, const tavo_units& ub, Change* change) const {
  const bool real = field.type == TAVO_TYPE_DOUBLE || field.type == TAVO_TYPE_FLOAT;
  if (real) {
    const auto valueOf = [&](const char* at) {
      return field.type == TAVO_TYPE_FLOAT ? shortest(load<float>(at)) : load<double>(at);
    };
    const double before = shownIn(field, ua, valueOf(a), ua);
    const double after = shownIn(field, ua, valueOf(b), ub);
    change->before = before;
    change->after = after;
    return sameReal(field.name, before, after);
  }
  change->before = printer_.value(field, a);
  change->after = printer_.value(field, b);
  if (change->before.is_number_float() && change->after.is_number_float()) {
    return sameReal(field.name, change->before.get<double>(), change->after.get<double>());
  }
  return change->before == change->after;
}

std::string valueText(const Json& value) {
  if (value.is_null()) return "(none)";
  return value.is_string() ? "\"" + value.get<std::string>() + "\"" : oneLine(value);
}

void Comparer::print(const char* change, uint32_t type, const Records& records, size_t i,
                     const std::vector<Change>& fields, uint64_t otherLine) {
  std::string label = recordName(type);
  if (hasTable(type)) {
    label = Keys(type).labelOf(records.bytes[i].data());
  } else if (!records.keys[i].empty()) {
    label += " " + records.keys[i];
  }
  const uint64_t line = records.lines[i];
  if (options_.form == Form::kJson) {
    const bool added = *change == 'a';
    Json json{{"change", change}, {"type", type}, {"record", label}};
    if (line != 0) json[added ? "lineB" : "lineA"] = line;
    if (otherLine != 0) json["lineB"] = otherLine;
    for (const Change& field : fields) {
      json["fields"][field.field] = {{"a", field.before}, {"b", field.after}};
    }
    printLine(json);
    return;
  }
  const char mark = *change == 'a' ? '+' : *change == 'r' ? '-' : '!';
  std::string where;
  if (line != 0) where = " (line " + std::to_string(line);
  if (otherLine != 0) where += ", now " + std::to_string(otherLine);
  if (!where.empty()) where += ")";
  std::printf("%c %s%s\n", mark, printable(label).c_str(), where.c_str());
  for (const Change& field : fields) {
    std::printf("    %-14s %s -> %s\n", field.field.c_str(),
                printable(valueText(field.before)).c_str(),
                printable(valueText(field.after)).c_str());
  }
}

void Comparer::finish() const {
  if (options_.form == Form::kJson) {
    printLine({{"added", added_}, {"removed", removed_}, {"changed", changed_}, {"same", same_}});
    return;
  }
  std::printf("%s added, %llu removed, %llu changed, %llu the same\n",
              counted(added_, "record").c_str(), static_cast<unsigned long long>(removed_),
              static_cast<unsigned long long>(changed_), static_cast<unsigned long long>(same_));
}

bool isField(const std::string& name) {
  const tavo_schema_block* block = nullptr;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    const tavo_schema_field* field = nullptr;
    for (size_t j = 0; (field = tavo_schema_field_at(block, j)) != nullptr; ++j) {
      if (name == field->name) return true;
    }
  }
  return name.empty();
}

}  // namespace

int diff(const DiffOptions& options) {
  for (const auto& [name, tolerance] : options.tolerances) {
    if (isField(name)) continue;
    complain("--tolerance: '" + name + "' is no field of the format; see 'tavo schema'");
    return kFailed;
  }
  if (options.first == "-" && options.second == "-") {
    complain("the standard input can be read only once");
    return kFailed;
  }
  Compared first, second;
  const ExitStatus one = first.read(options.first), two = second.read(options.second);
  if (one == kFailed || two == kFailed) return kFailed;
  if (options.form == Form::kJson) {
    Json head = jsonOf("tavo-diff/1");
    for (const auto& [name, side] : {std::pair("a", &first), std::pair("b", &second)}) {
      head[name] = {{"file", toUtf8(side->name())}};
      if (!side->hash().empty()) head[name]["sha256"] = side->hash();
    }
    printLine(head);
  }
  Comparer comparer(first, second, options);
  comparer.run();
  comparer.finish();
  if (!flushOutput()) return kFailed;
  // What was left out may differ.
  if (one != kSound || two != kSound) return kFailed;
  return comparer.same() ? kSound : kFindings;
}

}  // namespace tavo::tool

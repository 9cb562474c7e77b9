// Prints the tables at the end of docs/data-file.md as they follow from the catalogue: the fields
// of every kind of record that a data file keeps, and the names behind their numbers.
#include <cstdio>
#include <string>
#include <vector>

#include "schema/catalogue.h"
#include "schema/enums.h"
#include "store/record_form.h"

namespace {

using namespace tavo;
using schema::DataType;
using schema::FieldDef;
using Member = store::RecordForm::Member;

// Prints items with commas between them, in lines that are no longer than the document's.
class List {
 public:
  explicit List(const char* indent) : indent_(indent) {}
  ~List() { std::printf("%s\n", line_.c_str()); }
  List(const List&) = delete;
  List& operator=(const List&) = delete;
  void add(const std::string& item) {
    constexpr size_t kWidth = 100;
    if (!first_) line_ += ',';
    if (line_.size() + item.size() + 2 > kWidth) {
      std::printf("%s\n", line_.c_str());
      line_.clear();
    }
    line_ += line_.empty() ? indent_ + item : " " + item;
    first_ = false;
  }

 private:
  std::string indent_;
  std::string line_;
  bool first_ = true;
};

std::string path(uint32_t keyword) {
  const uint32_t parent = schema::parentOf(keyword);
  const std::string name(schema::keywordName(keyword));
  return parent == schema::kUnknownSection ? name : path(parent) + "/" + name;
}

std::string path(const schema::BlockDef& block) {
  const std::string name(schema::keywordName(block.keyword));
  return block.parent == schema::kUnknownSection ? name : path(block.parent) + "/" + name;
}

std::string lettersOf(const Member& member) {
  std::string text = " " + std::string(1, member.letter) + std::to_string(member.length);
  if (member.index != 0) text += " #" + std::to_string(member.index);
  return text;
}

const char* kindOf(DataType type) {
  switch (type) {
    case DataType::kChar:
      return " char";
    case DataType::kBits:
      return " bits";
    case DataType::kDateTime:
      return " date";
    case DataType::kEnum:
      return " name";
    case DataType::kDefault:
    case DataType::kFree:
      return " value";
    default:
      return "";
  }
}

// The columns and items that have their value at the place, or the member's name.
std::string namesOf(const FieldDef* table, uint16_t offset) {
  std::string names;
  for (const FieldDef& field : schema::rows(table)) {
    if (field.offset != offset) continue;
    if (field.name[0] == '\0') return "- " + std::string(field.member);
    names += (names.empty() ? "" : " = ") + std::to_string(field.id) + " " + field.name;
  }
  return names;
}

void printFields(const schema::BlockDef& block) {
  const FieldDef* const table = block.layout.fields;
  const std::vector<Member> members = store::RecordForm::membersOf(block.data);
  List list("  ");
  for (size_t i = 0; i < members.size();) {
    const FieldDef& field = *schema::findOffset(table, members[i].offset);
    std::string item = namesOf(table, field.offset);
    const size_t end = field.offset + schema::storedSize(field.type, field.width);
    for (; i < members.size() && members[i].offset < end; ++i) item += lettersOf(members[i]);
    list.add(item + kindOf(field.type));
  }
  // Columns that are accepted and not kept.
  for (const FieldDef& field : schema::rows(schema::definitionTable(block.columns))) {
    const FieldDef* const kept = field.id == 0 ? &field : schema::findId(table, field.id);
    if (kept != nullptr && kept->offset != schema::kNotKept) continue;
    if (field.name[0] != '\0') list.add(std::to_string(field.id) + " " + field.name + " -");
  }
}

// A record without a field table; its members repeat the names.
void printMembers(RecordType type, const std::vector<const char*>& names, const char* kind = "") {
  const std::vector<Member> members = store::RecordForm::membersOf(type);
  List list("  ");
  for (size_t i = 0; i < members.size(); ++i) {
    const size_t round = i / names.size() + 1;
    const std::string number = members.size() > names.size() ? std::to_string(round) : "";
    const std::string letters = lettersOf(members[i]);
    list.add(std::string("- ") + names[i % names.size()] + number + letters +
             (members[i].letter == 'B' ? " date" : kind));
  }
}

// A record type with the sort code that it has in a compatible data file.
void printType(const char* what, RecordType type, unsigned sortCode, const char* behind) {
  std::printf("%s %u ", what, type);
  if (sortCode == 0) std::printf("not kept%s", behind);
  if (sortCode != 0) std::printf("at %u%s", sortCode, behind);
}

void printBlock(const schema::BlockDef& block) {
  const unsigned columnsCode = block.columnsKept.sortCode;
  const unsigned dataCode = block.dataKept.sortCode;
  if (block.columns == 0 || block.data == 0) return;
  std::printf("%s: ", path(block).c_str());
  printType("columns", block.columns, columnsCode, ", ");
  printType("data", block.data, dataCode, "\n");
  if (block.kind == schema::BlockKind::kOperationLines) {
    printMembers(block.data, {"Operation"}, " operation");
    std::printf("%s points: ", path(block).c_str());
    printType("columns", block.columns, columnsCode, ", ");
    printType("data", block.odd.extraData, dataCode, "\n");
    printMembers(block.odd.extraData, {"PointNo", "PointID"});
  } else if (block.kind == schema::BlockKind::kTimeTaggedLines) {
    printMembers(block.data, {"Code", "TimeTag", "Number", "EntryCount"});
  } else {
    printFields(block);
  }
}

// Column numbers in the order of their bits.
void printGiven(const schema::BlockDef& block) {
  if (block.data == 0 || block.layout.fields == nullptr) return;
  std::printf("%u %s\n", block.data, path(block).c_str());
  List list("  ");
  for (const FieldDef& field : schema::rows(block.layout.fields)) {
    list.add(field.name[0] == '\0' ? "-" : std::to_string(field.id));
  }
}

template <class Row>
void printNames(const char* title, const Row* row) {
  std::printf("\n```%s\n", title);
  {
    List list("");
    for (; row->id != schema::kEndMark; ++row) {
      list.add(std::to_string(row->id) + " " + row->name);
    }
  }
  std::printf("```\n");
}

}  // namespace

int main() {
  std::printf("```records\n");
  for (const schema::BlockDef& block : schema::blocks()) printBlock(block);
  std::printf("```\n\n```given\n");
  for (const schema::BlockDef& block : schema::blocks()) printGiven(block);
  std::printf("```\n");
  printNames("names", schema::EnumTable);
  printNames("operations", schema::OperationTable);
  return 0;
}

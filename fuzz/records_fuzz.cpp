// Records into the builder and back. The first byte chooses: sound records in any order of blocks,
// whose text must read back without findings and without loss, or records of any type and content
// from a source with all the slips of a host, which must neither crash nor hang a build.
#include <cstdlib>

#include "support/random_records.h"
#include "writers/value.h"

namespace {

using namespace tavo;
using tests::Dice;
using tests::Replay;

void require(bool holds, const std::string& what) {
  if (holds) return;
  fprintf(stderr, "%s\n", what.c_str());
  std::abort();
}

template <class T, size_t N>
T oneOf(Dice& dice, const T (&values)[N]) {
  return values[dice.below(N)];
}

tests::TextCase textCase(Dice& dice) {
  tests::TextCase c{};
  c.align = dice.below(2) == 1;
  c.separator = oneOf(dice, {',', '|', ';'});
  c.terminator = c.separator == ';' ? '#' : oneOf(dice, {';', '#'});
  c.angular = oneOf<EnumId>(dice, {0, 1, 2, 3, 4, TVO_ENUM_UNKNOWN});
  c.linear = oneOf<EnumId>(dice, {10, 11, 12, 13, 14, TVO_ENUM_UNKNOWN});
  c.geographic = oneOf<EnumId>(dice, {0, 1, 2, 3, 20, TVO_ENUM_UNKNOWN});
  c.dateOrder = oneOf<EnumId>(dice, {50, 51, 52, 53});
  for (uint8_t* count : {&c.decimals.angular, &c.decimals.linear, &c.decimals.geographic}) {
    *count = static_cast<uint8_t>(dice.next(1));
  }
  return c;
}

std::string write(Replay& records, const writers::BuildSettings& settings) {
  tests::TextKeeper keeper;
  require(writers::writeText(keeper, records, settings) == TVO_OK,
          "the build failed\n" + keeper.text);
  return keeper.text;
}

size_t dataRecords(const Replay& records) {
  size_t count = 0;
  for (const Replay::Item& item : records.items()) {
    const bool extraInfo = item.type >= TVO_RECORD_POINT_EXTRAINFO_COLUMNS;
    if (!extraInfo && !schema::recordDef(item.type).columns) ++count;
  }
  return count;
}

// Readers deliver no columns record for TIME_TAGGED_CODES, and a writer needs one.
Replay complete(const Replay& records) {
  Replay result;
  RecordType before = 0;
  for (const Replay::Item& item : records.items()) {
    if (item.type == 91 && before != 91) result.columns(90, {});
    before = item.type;
    result.add(item.type, static_cast<const void*>(item.bytes.data()));
  }
  return result;
}

// The type of the first record that differs; empty when none does.
std::string difference(const Replay& one, const Replay& other) {
  const size_t count = std::min(one.items().size(), other.items().size());
  for (size_t i = 0; i < count; ++i) {
    const Replay::Item &a = one.items()[i], &b = other.items()[i];
    // A time-tagged code ends with a pointer.
    const size_t compared = a.bytes.size() - (a.type == 91 ? sizeof(void*) : 0);
    if (a.type != b.type || memcmp(a.bytes.data(), b.bytes.data(), compared) != 0) {
      size_t at = 0;
      while (at + 1 < compared && a.bytes[at] == b.bytes[at]) ++at;
      return "byte " + std::to_string(at) + " of record " + std::to_string(i) + " of type " +
             std::to_string(a.type) + "\n";
    }
  }
  return one.items().size() == other.items().size() ? "" : "the number of records\n";
}

void keepSoundRecords(Dice& dice) {
  constexpr RecordType kBlocks[] = {9,  10, 11, 12, 14, 15, 64, 65, 66, 67, 68, 69,  70,  71,  72,
                                    73, 74, 75, 76, 98, 99, 23, 24, 25, 26, 58, 100, 101, 102, 27,
                                    28, 29, 60, 30, 31, 32, 61, 92, 93, 94, 43, 45,  46,  47,  49};
  const tests::TextCase c = textCase(dice);
  tests::RecordGenerator generator(c, dice);
  generator.header();
  bool operations = false;  // readers deliver their columns once
  while (!dice.spent()) {
    const uint32_t choice = dice.below(64);
    if (choice < std::size(kBlocks)) generator.block(kBlocks[choice]);
    if (choice == 50) generator.pair(TVO_RECORD_CODELIST_COLUMNS);
    if (choice == 51) generator.pair(TVO_RECORD_SETUP_COLUMNS);
    // Two HEADERs in a row become one.
    const bool inHeader = generator.records().items().back().type == TVO_RECORD_HEADER;
    if (choice == 52 && !inHeader) generator.header();
    if (choice == 53) generator.timeTaggedCodes();
    if (choice == 54 && !operations) generator.operations();
    operations = operations || choice == 54;
    if (choice > 54) generator.completion();
  }
  const writers::BuildSettings settings{c.align, c.decimals};
  const std::string text = write(generator.records(), settings);
  Replay read;
  const std::string findings = tests::analyseRecords(text, &read);
  require(findings.empty(), findings + text);
  require(dataRecords(read) == dataRecords(generator.records()) - generator.completions(),
          "records are missing\n" + text);
  Replay again = complete(read);
  const std::string textAgain = write(again, settings);
  Replay readAgain;
  std::string changes = tests::analyseRecords(textAgain, &readAgain);
  changes += difference(read, readAgain);
  require(changes.empty(), changes + text + "--- becomes\n" + textAgain);
}

// A record of any type: some bytes, the rest of its room filled with one of them. Only the pointer
// of a time-tagged code keeps its promise.
void addWild(Replay& records, Dice& dice) {
  const RecordType type = dice.below(TVO_RECORD_POLYGON_EXTRAINFO_COLUMNS + 1);
  char bytes[1024];
  const size_t size = dice.below(128);
  memset(bytes, static_cast<int>(dice.next(1)), sizeof bytes);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(dice.next(1));
  if (schema::recordDef(type).columns || type >= TVO_RECORD_POINT_EXTRAINFO_COLUMNS) {
    for (size_t at = offsetof(ColumnsRecord, fields); dice.below(16) != 0; at += sizeof(FieldId)) {
      const FieldId id = dice.below(150);
      memcpy(bytes + at, &id, sizeof id);
      if (id == TVO_FIELD_End || at + 2 * sizeof id > sizeof bytes) break;
    }
  }
  std::vector<TimeTaggedEntry> entries(dice.below(41));
  if (type == TVO_RECORD_TIME_TAGGED_CODES) {
    for (TimeTaggedEntry& entry : entries) {
      memset(static_cast<void*>(&entry), static_cast<int>(dice.next(1)), sizeof entry);
      entry.kind = TVO_ENUM_TEXT + dice.below(4);
    }
    TimeTaggedRecord record;
    memcpy(&record, bytes, sizeof record);
    record.EntryCount = static_cast<uint16_t>(entries.size());
    record.entries = entries.data();
    memcpy(bytes, &record, sizeof record);
  }
  records.add(type, static_cast<const void*>(bytes));
}

void surviveWildRecords(Dice& dice) {
  writers::BuildSettings settings{dice.below(2) == 1, {4, 4, 10}};
  Replay records;
  records.staysOnLast = dice.below(2) == 1;
  const uint32_t rhythm = dice.next(1);  // of the source's slips; 0: none
  while (!dice.spent()) addWild(records, dice);
  records.override = [&](uint32_t) -> uint16_t {
    if (rhythm == 0 || records.fetches % rhythm != 0) return TVO_OK;
    const auto turn = static_cast<uint8_t>(records.fetches / rhythm);
    if (turn % 2 == 0) settings.setColumns(turn % 4 == 0);
    settings.decimals = {turn, turn, turn};
    return turn == 60 ? TVO_ERR_STORE : turn == 61 ? TVO_ERR_ABORTED : TVO_OK;
  };
  tests::TextKeeper keeper;
  writers::writeText(keeper, records, settings);
  for (size_t at = 0; at < keeper.text.size();) {
    const size_t end = keeper.text.find('\n', at);
    require(end - at <= writers::kLineLimit, keeper.text.substr(at, end - at));
    at = end + 1;
  }
  Replay read;
  tests::analyseRecords(keeper.text, &read);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Dice dice(std::span<const uint8_t>(data, size));
  if (dice.below(2) == 0) {
    keepSoundRecords(dice);
  } else {
    surviveWildRecords(dice);
  }
  return 0;
}

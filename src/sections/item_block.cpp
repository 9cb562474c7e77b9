// Item blocks: HEADER with UNITS, OFFSETS and PROJECT, CODELIST and SETUP. Their items fill one
// record, which is delivered with the list of the items read when the block ends. HEADER items
// change how the lines behind them are read.
#include "reader/items.h"

#include <cstring>

#include "reader/values.h"
#include "schema/fields.h"
#include "sections/frame.h"

namespace tavo::sections {

namespace {

using reader::Run;
using schema::Units;

struct OffsetItem {
  FieldId item;
  double Units::*setting;
};

constexpr OffsetItem kOffsetItems[] = {
    {TVO_FIELD_East, &Units::east},
    {TVO_FIELD_North, &Units::north},
    {TVO_FIELD_Elevation, &Units::elevation},
};

// Behind the first word of a text and the blanks that follow it.
std::string_view behindWord(std::string_view text) {
  text = schema::skipBlanks(text);
  return schema::skipBlanks(text.substr(schema::firstWord(text).size()));
}

// The factor of a user unit stands behind the unit word; false when it is missing or malformed.
bool userFactor(const Run& run, double* factor) {
  std::string_view text = behindWord(behindWord(run.line));
  const char ends[] = {run.settings.separator, run.settings.terminator};
  text = text.substr(0, text.find_first_of({ends, sizeof ends}));
  while (!text.empty() && static_cast<unsigned char>(text.back()) <= 32) text.remove_suffix(1);
  return reader::toDouble(text, factor);
}

class ItemBlock {
 public:
  ItemBlock(Run& run, const schema::BlockDef& block)
      : run_(run),
        block_(block),
        table_(block.layout.fields),
        subSections_(schema::hasSubSections(block.keyword)),
        columnsOrigin_{run.lineNumber} {}

  int read() {
    const int status = readLines(run_, [this] { return handle(); });
    // Also a block that the error limit or a missing END has cut short delivers what it read.
    if (count_ > 0 && status != reader::kAborted && deliver() == reader::kAborted) {
      return reader::kAborted;
    }
    return finishBlock(run_, block_, status);
  }

 private:
  Outcome handle() {
    // END HEADER in one of its sub-sections costs that one's END, and ends the HEADER as usual. The
    // END of any other block is out of place.
    if (block_.parent == schema::kHeader &&
        schema::CheckEnd(run_.line, schema::kHeader) == reader::kGoOn) {
      return {reader::kEndedByKeyword};
    }
    return handleLine(run_, block_, subSections_, [this] { return item(); });
  }

  Outcome item() {
    schema::FieldDef field;
    uint8_t value[reader::kItemValueSize];
    int status = reader::parseItemLine(run_, table_, &field, value);
    if (status != reader::kGoOn) return {status == reader::kStop ? reader::kStop : reader::kGoOn};
    bool counts = true;
    status = apply(field.id, value, &counts);
    if (status != reader::kGoOn || !counts) return {status};
    std::memcpy(record_ + field.offset, value, schema::storedSize(field.type, field.width));
    if (count_ == 0) origin_.line = run_.lineNumber;
    origin_.given |= schema::bitOf(table_, field.id);
    // Items beyond the list's room are stored but not listed.
    if (count_ < schema::kMaxListed) listed_[count_++] = field.id;
    return {};
  }

  // What an item changes besides the record; clears counts when the item is not to be stored.
  int apply(FieldId item, uint8_t* value, bool* counts) {
    switch (block_.keyword) {
      case schema::kHeader:
        if (item == TVO_FIELD_SEPARATOR) run_.settings.setSeparator(static_cast<char>(*value));
        if (item == TVO_FIELD_TERMINATOR) run_.settings.setTerminator(static_cast<char>(*value));
        return reader::kGoOn;
      case schema::kUnits:
        return applyUnit(item, value, counts);
      case schema::kOffsets:
        for (const OffsetItem& row : kOffsetItems) {
          if (row.item == item) std::memcpy(&(run_.settings.units.*row.setting), value, 8);
        }
        return reader::kGoOn;
      default:
        return reader::kGoOn;
    }
  }

  int applyUnit(FieldId item, uint8_t* value, bool* counts) {
    EnumId unit = 0;
    std::memcpy(&unit, value, sizeof unit);
    for (const schema::UnitItem& row : schema::kUnitItems) {
      if (row.item != item) continue;
      if (row.user != 0 && schema::isUserUnit(unit)) {
        double factor = 0;
        // Without its factor a user unit changes nothing, and nothing is said about it.
        *counts = userFactor(run_, &factor);
        if (!*counts) return reader::kGoOn;
        std::memcpy(record_ + row.factorOffset, &factor, sizeof factor);
        run_.settings.units.*row.factor = factor;
        // The word names the same number in all groups; each group has its own.
        unit = row.user;
      } else if (unit != TVO_ENUM_UNKNOWN && (unit < row.first || unit > row.last)) {
        *counts = false;
        return run_.reportError(reader::kMixedUpOption, run_.line);
      }
      run_.settings.units.*row.setting = unit;
      std::memcpy(value, &unit, sizeof unit);
    }
    return reader::kGoOn;
  }

  int deliver() {
    const ColumnsRecord columns = schema::columnsRecord({listed_, count_});
    columnsOrigin_.given = origin_.given;
    const int status = run_.deliver(block_.columns, &columns, columnsOrigin_);
    return status != reader::kGoOn ? status : run_.deliver(block_.data, record_, origin_);
  }

  Run& run_;
  const schema::BlockDef& block_;
  const schema::FieldDef* const table_;
  const bool subSections_;
  reader::Origin columnsOrigin_, origin_;
  FieldId listed_[schema::kMaxListed];
  size_t count_ = 0;
  uint8_t record_[schema::kRecordRoom] = {};
};

}  // namespace

int readItems(Run& run, const schema::BlockDef& block) { return ItemBlock(run, block).read(); }

}  // namespace tavo::sections

// TIME_TAGGED_CODES: lines of fixed layout, each a code with its time tag, a number and up to 20
// named values. There is no column definition; every line up to the section's END is data.
#include <cstring>

#include "reader/columns.h"
#include "reader/values.h"
#include "sections/sections.h"

namespace tavo::sections {

namespace {

using reader::FieldCursor;
using reader::FieldResult;
using reader::Run;

using schema::kMaxCodeValues;

class TimeTaggedLine {
 public:
  explicit TimeTaggedLine(Run& run) : run_(run), cursor_(run.line), origin_{run.lineNumber} {}

  Step read() {
    Step step = endField(reader::parseText(run_, cursor_, record_.Code, sizeof record_.Code));
    if (step != Step::kGoOn) return step;
    DateTime tag;
    step = endField(reader::parseDateTime(run_, cursor_, run_.settings.units.dateOrder, &tag));
    if (step != Step::kGoOn) return step;
    record_.TimeTag = tag;
    uint16_t number = 0;
    const FieldResult result = reader::parseUint16(run_, cursor_, &number);
    if (result == FieldResult::kLimit) return Step::kStop;
    origin_.given = kCodeBit | kTagBit | (result == FieldResult::kValue ? kNumberBit : 0);
    record_.Number = number;
    if (!atTerminator()) passSeparator();
    step = readEntries();
    if (step != Step::kGoOn) return step;
    record_.EntryCount = count_;
    record_.entries = entries_;
    return run_.deliver(TVO_RECORD_TIME_TAGGED_CODES, &record_, origin_);
  }

 private:
  static constexpr uint64_t kCodeBit = 1, kTagBit = 2, kNumberBit = 4, kFirstValueBit = 8;

  bool at(char delimiter) const { return !cursor_.atEnd() && *cursor_.at == delimiter; }
  bool atTerminator() const { return at(run_.settings.terminator); }

  // A field that should not be empty, and the separator that should follow it. A terminator in its
  // place ends the line.
  Step endField(FieldResult field) {
    if (field == FieldResult::kEmpty &&
        run_.reportError(reader::kSyntaxError, cursor_.rest()) == Step::kStop) {
      return Step::kStop;
    }
    if (!at(run_.settings.separator) && atTerminator()) {
      return run_.fail(reader::kSyntaxError, cursor_.rest());
    }
    passSeparator();
    return Step::kGoOn;
  }

  // Whatever else stands in the separator's place is reported and passed over. It does not end the
  // line, at the error limit neither.
  void passSeparator() {
    if (!at(run_.settings.separator)) {
      static_cast<void>(run_.reportError(reader::kSyntaxError, cursor_.rest()));
    }
    if (!cursor_.atEnd()) ++cursor_.at;
  }

  // Text behind the last entry that there is room for is ignored.
  Step readEntries() {
    Step result = Step::kGoOn;
    while (!atTerminator() && count_ < kMaxCodeValues) {
      cursor_.skipBlanks();
      if (cursor_.atEnd()) {
        const Step read = run_.readLine();
        if (read != Step::kGoOn) return read;
        cursor_ = FieldCursor(run_.line);
      }
      TimeTaggedEntry& entry = entries_[count_];
      const Step step = endField(reader::parseText(run_, cursor_, entry.name, sizeof entry.name));
      if (step != Step::kGoOn) return step;
      if (!readValue(&entry)) result = Step::kPassOver;
      ++count_;
      if (!atTerminator()) passSeparator();
    }
    return result;
  }

  // False after a malformed value. An empty value is the whole number 0.
  bool readValue(TimeTaggedEntry* entry) {
    FieldResult result = reader::parseQuotedText(run_, cursor_, entry->text, sizeof entry->text);
    if (result == FieldResult::kValue) {
      entry->kind = TVO_ENUM_TEXT;
      origin_.given |= kFirstValueBit << count_;
    }
    if (result != FieldResult::kNotQuoted && result != FieldResult::kEmpty) {
      return result == FieldResult::kValue;
    }
    const char* const start = cursor_.at;
    double number = 0;
    result = reader::parseDouble(run_, cursor_, &number);
    if (std::memchr(start, '.', static_cast<size_t>(cursor_.at - start)) != nullptr) {
      entry->kind = TVO_ENUM_REAL;
      entry->real = number;
    } else {
      entry->kind = TVO_ENUM_INT;
      const auto length = static_cast<size_t>(cursor_.at - start);
      entry->integer = reader::toInt32(run_, {start, length}, number);
    }
    if (result == FieldResult::kValue) origin_.given |= kFirstValueBit << count_;
    return result == FieldResult::kValue || result == FieldResult::kEmpty;
  }

  Run& run_;
  FieldCursor cursor_;
  reader::Origin origin_;
  uint16_t count_ = 0;
  TimeTaggedRecord record_ = {};
  TimeTaggedEntry entries_[kMaxCodeValues] = {};
};

}  // namespace

// Only the abort of a line ends the section early: after the error limit the lines are still read,
// and the good ones delivered, until the END or the next report of the line reader.
Step readTimeTaggedCodes(Run& run, const schema::BlockDef& block) {
  for (;;) {
    const Step read = run.readLine();
    if (read == Step::kStop) return read;
    if (read == Step::kEndOfInput) return reader::reportOpenBlock(run, block.keyword);
    if (read == Step::kPassOver) continue;
    if (schema::isEndOf(run.line, block.keyword)) return Step::kGoOn;
    if (TimeTaggedLine(run).read() == Step::kAborted) return Step::kAborted;
  }
}

}  // namespace tavo::sections

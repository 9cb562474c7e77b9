// TIME_TAGGED_CODES: lines of fixed layout, each a code with its time tag, a number and up to 20
// named values. There is no column definition; every line up to the section's END is data.
#include <cstring>

#include "reader/columns.h"
#include "reader/values.h"
#include "sections/sections.h"

namespace tavo::sections {

namespace {

using reader::Cursor;
using reader::Run;

using schema::kMaxCodeValues;

class TimeTaggedLine {
 public:
  explicit TimeTaggedLine(Run& run) : run_(run), cursor_(run.line), origin_{run.lineNumber} {}

  // kGoOn, kStop, kAborted, kSyntaxError or the status of a line read.
  int read() {
    int status = endField(reader::parseText(run_, cursor_, record_.Code, sizeof record_.Code));
    if (status != 0) return status;
    DateTime tag;
    status = endField(reader::parseDateTime(run_, cursor_, run_.settings.units.dateOrder, &tag));
    if (status != 0) return status;
    record_.TimeTag = tag;
    uint16_t number = 0;
    status = reader::parseUint16(run_, cursor_, &number);
    if (status == reader::kStop) return reader::kStop;
    origin_.given = kCodeBit | kTagBit | (status == 0 ? kNumberBit : 0);
    record_.Number = number;
    if (!atTerminator()) endField(0);
    status = readEntries();
    if (status != 0) return status;
    record_.EntryCount = count_;
    record_.entries = entries_;
    return run_.deliver(TVO_RECORD_TIME_TAGGED_CODES, &record_, origin_);
  }

 private:
  static constexpr uint64_t kCodeBit = 1, kTagBit = 2, kNumberBit = 4, kFirstValueBit = 8;

  bool atTerminator() const { return !cursor_.atEnd() && *cursor_.at == run_.settings.terminator; }

  // What follows a field should be the separator, and the field should not be empty. Whatever else
  // stands there is reported; only a terminator is not passed over, and ends the line. Anything
  // else does not end it, at the error limit neither.
  int endField(int fieldStatus) {
    if (fieldStatus == reader::kEmptyField &&
        run_.reportError(reader::kSyntaxError, cursor_.rest()) == reader::kStop) {
      return reader::kStop;
    }
    if (cursor_.atEnd() || *cursor_.at != run_.settings.separator) {
      const int reported = run_.fail(reader::kSyntaxError, cursor_.rest());
      if (atTerminator()) return reported;
    }
    if (!cursor_.atEnd()) ++cursor_.at;
    return 0;
  }

  // Text behind the last entry that there is room for is ignored.
  int readEntries() {
    bool bad = false;
    while (!atTerminator() && count_ < kMaxCodeValues) {
      cursor_.skipBlanks();
      if (cursor_.atEnd()) {
        const int status = run_.readLine();
        if (status != 0) return status;
        cursor_ = Cursor(run_.line);
      }
      TimeTaggedEntry& entry = entries_[count_];
      const int status = endField(reader::parseText(run_, cursor_, entry.name, sizeof entry.name));
      if (status != 0) return status;
      if (!readValue(&entry)) bad = true;
      ++count_;
      if (!atTerminator()) endField(0);
    }
    return bad ? reader::kSyntaxError : 0;
  }

  // False after a malformed value. An empty value is the whole number 0.
  bool readValue(TimeTaggedEntry* entry) {
    int status = reader::parseQuotedText(run_, cursor_, entry->text, sizeof entry->text);
    if (status == 0) entry->kind = TVO_ENUM_TEXT;
    if (status == 0) origin_.given |= kFirstValueBit << count_;
    if (status != reader::kNotQuoted && status != reader::kEmptyField) return status == 0;
    const char* const start = cursor_.at;
    double number = 0;
    status = reader::parseDouble(run_, cursor_, &number);
    if (std::memchr(start, '.', static_cast<size_t>(cursor_.at - start)) != nullptr) {
      entry->kind = TVO_ENUM_REAL;
      entry->real = number;
    } else {
      entry->kind = TVO_ENUM_INT;
      const auto length = static_cast<size_t>(cursor_.at - start);
      entry->integer = reader::toInt32(run_, {start, length}, number);
    }
    if (status == 0) origin_.given |= kFirstValueBit << count_;
    return status == 0 || status == reader::kEmptyField;
  }

  Run& run_;
  Cursor cursor_;
  reader::Origin origin_;
  uint16_t count_ = 0;
  TimeTaggedRecord record_ = {};
  TimeTaggedEntry entries_[kMaxCodeValues] = {};
};

}  // namespace

// Only the abort of a line ends the section early: after the error limit the lines are still read,
// and the good ones delivered, until the END or the next report of the line reader.
int readTimeTaggedCodes(Run& run, const schema::BlockDef& block) {
  for (;;) {
    const int status = run.readLine();
    if (status == reader::kStop) return status;
    if (status == reader::kEndOfInput) return reader::reportOpenBlock(run, block.keyword);
    if (status == reader::kExceedsLine) continue;
    if (schema::CheckEnd(run.line, block.keyword) == 0) return reader::kGoOn;
    if (TimeTaggedLine(run).read() == reader::kAborted) return reader::kAborted;
  }
}

}  // namespace tavo::sections

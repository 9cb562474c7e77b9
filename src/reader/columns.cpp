// Parsing of column definitions and data lines.
#include "reader/columns.h"

#include <algorithm>
#include <cstring>

#include "reader/plain_fields.h"
#include "reader/values.h"
#include "schema/catalogue.h"
#include "schema/enums.h"
#include "schema/fields.h"

namespace tavo::reader {

namespace {

// Reads the list behind "(" name by name. A line end counts as a blank, a terminator ends its
// line's text, and names are looked up as they complete.
class ListParser {
 public:
  ListParser(Run& run, RecordType columnsType, RecordType dataType, Columns* columns)
      : run_(run),
        definition_(schema::definitionTable(columnsType)),
        layout_(schema::recordDef(dataType).fields),
        columns_(columns) {}

  // kGoOn, kStop, kEndOfInput, or kPassOver after an error.
  Step parse() {
    columns_->clear();
    // A last line without line feed still has what stands behind its terminator.
    const char* const begin = run_.line.data();
    const char* const end =
        findTerminatorPlain(begin, begin + run_.line.size(), run_.settings.terminator);
    const size_t open = run_.line.find('(');
    if (open == std::string_view::npos || (end != nullptr && begin + open > end)) {
      return fail(kMissingFormatBegin, run_.line);
    }
    std::string_view text = run_.line.substr(open + 1);
    for (;;) {
      const Step step = parseLine(text);
      if (step != Step::kGoOn || closed_) return step;
      keepName();
      const Step read = run_.readLine();
      if (read != Step::kGoOn) return read;
      uint32_t keyword = schema::kUnknownSection;
      if (schema::LineKeyword(run_.line, &keyword) == schema::kFound) {
        return fail(kMissingFormatEnd, run_.line);
      }
      text = run_.line;
    }
  }

  // The number of the last error in the list; 0 for an overlong line.
  int error() const { return error_; }

 private:
  Step fail(int number, std::string_view text) {
    error_ = number;
    return run_.fail(number, text);
  }

  Step parseLine(std::string_view text) {
    FieldCursor cursor(text);
    for (;; ++cursor.at) {
      cursor.skipBlanks();
      if (cursor.atEnd() || *cursor.at == run_.settings.terminator) return Step::kGoOn;
      if (closed_) return fail(kSyntaxError, run_.line);
      if (*cursor.at == run_.settings.separator || *cursor.at == ')') {
        closed_ = *cursor.at == ')';
        const Step step = completeName();
        if (step != Step::kGoOn) return step;
        continue;
      }
      if (pending_) return fail(kSyntaxError, run_.line);
      takeName(cursor);
    }
  }

  // Leaves the cursor on the name's last character.
  void takeName(FieldCursor& cursor) {
    const char* const begin = cursor.at;
    while (!endsName(cursor)) ++cursor.at;
    name_ = {begin, static_cast<size_t>(cursor.at - begin)};
    --cursor.at;
    pending_ = true;
  }

  // What completes the name stands on another line.
  void keepName() {
    if (!pending_) return;
    std::memcpy(kept_, name_.data(), name_.size());
    name_ = {kept_, name_.size()};
  }

  bool endsName(const FieldCursor& cursor) const {
    return cursor.atDelimiter(run_.settings) || *cursor.at == ')' ||
           static_cast<unsigned char>(*cursor.at) <= 32;
  }

  // A separator or the closing bracket follows.
  Step completeName() {
    if (!pending_) return fail(kSyntaxError, run_.line);
    pending_ = false;
    if (columns_->full()) return fail(kMissingFormatEnd, run_.line);
    schema::FieldDef field;
    if (schema::FindField(definition_, name_, &field) != schema::kFound) {
      run_.reportWarning(kUnknownFormatKeyword, name_);
    }
    // The record of MERCATOR_2 has fewer members than the table its columns are checked against.
    const schema::FieldDef* const member =
        field.id == 0 ? nullptr : schema::findId(layout_, field.id);
    const uint16_t offset = member == nullptr ? schema::kNotKept : member->offset;
    const bool repeats = columns_->hasPlace(offset);
    const bool plain = !repeats && offset != schema::kNotKept;
    columns_->add({field.id, field.type, field.width, field.group, field.unit, offset, repeats,
                   plain, schema::bitOf(layout_, field.id)});
    return Step::kGoOn;
  }

  Run& run_;
  const schema::FieldDef* definition_;
  const schema::FieldDef* layout_;
  Columns* columns_;
  std::string_view name_;
  char kept_[kMaxLine];
  bool pending_ = false;  // a name was read, what completes it was not
  bool closed_ = false;
  int error_ = 0;
};

class LineSplitter {
 public:
  LineSplitter(Run& run, uint32_t keyword, std::span<const Column> columns, uint8_t* target,
               Origin* origin)
      : run_(run),
        keyword_(keyword),
        columns_(columns),
        target_(target),
        origin_(*origin),
        cursor_(run.line) {}

  DataLine split() {
    const auto takePlain =
        run_.diagnostics.observed() ? &takePlainFields<true> : &takePlainFields<false>;
    const size_t taken = takePlain(run_.settings, columns_, &cursor_.at, cursor_.end, target_);
    // What is taken in plain form is there, and of its group.
    origin_.line = run_.lineNumber;
    origin_.given = taken == 0 ? 0 : columns_[taken - 1].through;
    if (taken == columns_.size()) return DataLine::kGood;
    for (size_t i = taken; i < columns_.size(); ++i) {
      if (!take(columns_[i])) return outcome_;
      const bool last = i + 1 == columns_.size();
      if (last && atTerminator()) break;
      if (cursor_.atEnd() || *cursor_.at != run_.settings.separator) return mismatch();
      ++cursor_.at;
      if (!skipToValue(i + 1)) return outcome_;
      if (last && !atTerminator()) return mismatch();
    }
    return failed_ ? DataLine::kBad : checkGroups();
  }

 private:
  bool atTerminator() const { return !cursor_.atEnd() && *cursor_.at == run_.settings.terminator; }

  // Parses one value; false when the error limit ends the run.
  bool take(const Column& column) {
    const bool aside = column.offset == schema::kNotKept || column.repeats;
    uint8_t* const value = aside ? dropped_ : target_ + column.offset;
    switch (parseField(run_, cursor_, column.type, column.width, column.unit, value)) {
      case FieldResult::kValue:
        origin_.given |= column.bit;
        if (!column.repeats) return true;
        std::memcpy(target_ + column.offset, value, schema::storedSize(column.type, column.width));
        return true;
      case FieldResult::kEmpty:
        return true;
      case FieldResult::kLimit:
        outcome_ = DataLine::kLimit;
        return false;
      case FieldResult::kNoFormat:
        // A date in an unknown date order fails without a report of its own.
        return mismatch() == DataLine::kBad;
      case FieldResult::kBad:
      case FieldResult::kNotQuoted:
        break;
    }
    failed_ = true;
    return true;
  }

  DataLine mismatch() {
    if (!failed_ && run_.reportError(kFormatMismatch, run_.line) == Step::kStop) {
      outcome_ = DataLine::kLimit;
    } else {
      failed_ = true;
      outcome_ = DataLine::kBad;
    }
    return outcome_;
  }

  // Behind a separator: when nothing else stands on the line, the next line continues it.
  bool skipToValue(size_t column) {
    cursor_.skipBlanks();
    if (!cursor_.atEnd()) return true;
    const Step read = run_.readLine(true);
    cursor_ = FieldCursor(run_.line);
    firstOnLine_ = column;
    if (read == Step::kGoOn) {
      if (!schema::isEndOf(run_.line, keyword_)) return true;
      if (mismatch() == DataLine::kBad) outcome_ = DataLine::kBlockEnd;
    } else {
      outcome_ = read == Step::kStop         ? DataLine::kLimit
                 : read == Step::kEndOfInput ? DataLine::kInputEnd
                                             : DataLine::kBad;
    }
    return false;
  }

  DataLine checkGroups() {
    DataLine result = DataLine::kGood;
    for (const Column& column : columns_) {
      if (column.group == schema::EnumGroup::kAny || column.offset == schema::kNotKept) continue;
      EnumId value = 0;
      std::memcpy(&value, target_ + column.offset, sizeof value);
      if (schema::inGroup(column.group, value)) continue;
      std::string_view name;
      schema::EnumName(value, &name);
      if (run_.reportError(kMixedUpOption, onLine(column, name)) == Step::kStop) {
        return DataLine::kLimit;
      }
      result = DataLine::kBad;
    }
    return result;
  }

  // The word where it stands in the current line as the column's value; else the word as it is.
  std::string_view onLine(const Column& column, std::string_view word) const {
    const auto place = static_cast<size_t>(&column - columns_.data());
    FieldCursor cursor(run_.line);
    for (size_t i = firstOnLine_; i < place && cursor.at != nullptr; ++i) {
      cursor.at = findTerminatorPlain(cursor.at, cursor.end, run_.settings.separator);
      if (cursor.at != nullptr) ++cursor.at;
    }
    if (place < firstOnLine_ || cursor.at == nullptr) return word;
    cursor.skipBlanks();
    return cursor.rest().starts_with(word) ? cursor.rest().substr(0, word.size()) : word;
  }

  Run& run_;
  const uint32_t keyword_;
  const std::span<const Column> columns_;
  uint8_t* const target_;
  Origin& origin_;
  FieldCursor cursor_;
  size_t firstOnLine_ = 0;  // column whose value stands first on the current line
  bool failed_ = false;
  DataLine outcome_ = DataLine::kBad;
  uint8_t dropped_[sizeof(FreeValue)];
};

// Passes lines over up to the END of keyword; kGoOn, kStop or kEndOfInput.
Step passOver(Run& run, uint32_t keyword) {
  Step read = Step::kGoOn;
  do {
    read = run.readLine();
  } while (read == Step::kPassOver || (read == Step::kGoOn && !schema::isEndOf(run.line, keyword)));
  return read;
}

}  // namespace

bool Columns::hasPlace(uint16_t offset) const {
  return offset != schema::kNotKept &&
         std::ranges::any_of(span(), [offset](const Column& c) { return c.offset == offset; });
}

ColumnsRecord Columns::record() const {
  FieldId ids[kMaxColumns];
  for (size_t i = 0; i < count_; ++i) ids[i] = columns_[i].id;
  return schema::columnsRecord({ids, count_});
}

Step reportOpenBlock(Run& run, uint32_t keyword) {
  const Step reported = run.reportError(kMissingSectionEnd, schema::keywordName(keyword));
  return reported == Step::kStop ? reported : Step::kEndOfInput;
}

Step parseColumns(Run& run, uint32_t keyword, RecordType columnsType, RecordType dataType,
                  Columns* columns) {
  ListParser list(run, columnsType, dataType, columns);
  const Step step = list.parse();
  if (step != Step::kPassOver) return step;
  // The block is lost. The keyword line that stopped the list may itself be its END. Where the
  // input ends before it, the enclosing reader comes upon that end again.
  const bool closed = list.error() == kMissingFormatEnd && schema::isEndOf(run.line, keyword);
  if (closed || list.error() == kMissingFormatBegin) return step;
  return passOver(run, keyword) == Step::kStop ? Step::kStop : step;
}

DataLine parseDataLine(Run& run, uint32_t keyword, std::span<const Column> columns, uint8_t* target,
                       Origin* origin) {
  return LineSplitter(run, keyword, columns, target, origin).split();
}

}  // namespace tavo::reader

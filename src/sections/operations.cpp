// OPERATIONS: an operation line names a construction, the points line behind it lists its points.
// The columns of the points lines are defined by the first one that the library instance ever
// reads.
#include <algorithm>
#include <cstring>

#include "reader/columns.h"
#include "reader/values.h"
#include "schema/enums.h"
#include "sections/sections.h"

namespace tavo::sections {

namespace {

using reader::FieldCursor;
using reader::FieldResult;
using reader::Run;

using schema::kMaxOperationPoints;

bool beginsOperation(std::string_view line) {
  uint32_t operation = 0;
  const std::string_view word = schema::firstWord(schema::skipBlanks(line));
  return schema::FindOperation(word, &operation) == schema::kFound;
}

class OperationReader {
 public:
  OperationReader(Run& run, const schema::BlockDef& block)
      : run_(run), block_(block), columns_(*run.operationColumns) {}

  // Reads the operation line and what belongs to it; the current line is then the next one to be
  // looked at. kGoOn, kStop, kEndOfInput, or kPassOver at an overlong line.
  Step readOperationLine() {
    if (!checkOperation(run_.line)) {
      operation_ = schema::kUnknownOperation;
      if (run_.reportError(reader::kSyntaxError, run_.line) == Step::kStop) return Step::kStop;
    }
    operationLine_ = run_.lineNumber;
    const size_t length = std::min(run_.line.size(), sizeof line_);
    std::memcpy(line_, run_.line.data(), length);
    const std::string_view line(line_, length);
    const Step read = run_.readLine();
    if (read != Step::kGoOn) return read;
    if (isEnd() || beginsOperation(run_.line)) return run_.reportError(reader::kSyntaxError, line);
    return readPointsLine();
  }

 private:
  static constexpr uint64_t kOperationBit = 1, kNumberBit = 1, kIdentifierBit = 2;

  bool isEnd() const { return schema::isEndOf(run_.line, block_.keyword); }

  // Notes the operation; false when its line has a word too many, or a size that is missing or no
  // number. The size itself is not kept: the record carries the operation alone, on purpose.
  bool checkOperation(std::string_view line) {
    line = line.substr(0, line.find(run_.settings.terminator));
    std::string_view words[3];
    size_t count = 0;
    for (line = schema::skipBlanks(line); !line.empty() && count < 3;
         line = schema::skipBlanks(line.substr(words[count++].size()))) {
      words[count] = schema::firstWord(line);
      if (words[count].empty()) break;  // a zero byte cannot stand here, but nothing may loop on it
    }
    schema::FindOperation(words[0], &operation_);
    const schema::Operation* const row = schema::operation(operation_);
    const size_t wanted = row != nullptr && row->hasParameter ? 2 : 1;
    if (count != wanted) return false;
    if (wanted == 1) return true;
    FieldCursor cursor(words[1]);
    double size = 0;
    return reader::parseDouble(run_, cursor, &size) == FieldResult::kValue && cursor.atEnd();
  }

  Step readPointsLine() {
    if (operation_ != schema::kUnknownOperation && takePoints() == Step::kStop) {
      return Step::kStop;
    }
    // Further lines before the next operation are passed over silently.
    Step read = Step::kGoOn;
    while (read == Step::kGoOn && !isEnd() && !beginsOperation(run_.line)) read = run_.readLine();
    return read;
  }

  Step takePoints() {
    if (!columns_.defined) {
      const Step step = definePointColumns();
      if (step != Step::kGoOn) return step;
    }
    OperationPointsRecord points = {};
    FieldCursor cursor(run_.line);
    for (size_t count = 1; count <= kMaxOperationPoints; ++count) {
      const Step step = takePoint(cursor, &points.points[count - 1]);
      if (step != Step::kGoOn) return step;
      if (!cursor.atEnd() && *cursor.at == run_.settings.terminator) {
        return deliver(count, points);
      }
      if (cursor.atEnd() || *cursor.at != run_.settings.separator) return syntaxError();
      ++cursor.at;
    }
    return Step::kGoOn;  // more than ten points: no record, and nothing is said about it
  }

  Step takePoint(FieldCursor& cursor, OperationPoint* point) {
    for (const FieldId* column = columns_.fields; *column != TVO_FIELD_End; ++column) {
      if (column != columns_.fields) {
        if (cursor.atEnd() || *cursor.at != run_.settings.separator) return syntaxError();
        ++cursor.at;
      }
      FieldResult result = FieldResult::kValue;
      if (*column == TVO_FIELD_PointNo) {
        uint32_t number = 0;
        result = reader::parseUint32(run_, cursor, &number);
        point->PointNo = number;
      } else {
        result = reader::parseText(run_, cursor, point->PointID, sizeof point->PointID);
      }
      if (result == FieldResult::kEmpty) return syntaxError();
      if (result != FieldResult::kValue) return stepOf(result);
    }
    return Step::kGoOn;
  }

  Step syntaxError() { return run_.fail(reader::kSyntaxError, run_.line); }

  // The sink's answers are not examined here, on purpose.
  void hand(RecordType type, const void* record, const reader::Origin& origin) {
    static_cast<void>(run_.deliver(type, record, origin));
  }

  Step deliver(size_t count, const OperationPointsRecord& points) {
    const schema::Operation* const row = schema::operation(operation_);
    if (row == nullptr || row->points != count) {
      return run_.fail(reader::kFormatMismatch, run_.line);
    }
    OperationRecord record = {};
    record.Operation = operation_;
    hand(TVO_RECORD_OPERATIONS, &record, {operationLine_, kOperationBit});
    hand(TVO_RECORD_OPERATION_POINTS, &points, {run_.lineNumber, declared()});
    return Step::kGoOn;
  }

  // Takes one or two kinds of column from the fields of the current line.
  Step definePointColumns() {
    FieldId found[2];
    size_t count = 0;
    FieldCursor cursor(run_.line);
    for (; count < 2; ++cursor.at) {
      cursor.skipBlanks();
      const char* const start = cursor.at;
      while (!cursor.atDelimiter(run_.settings)) ++cursor.at;
      found[count] = columnKind({start, static_cast<size_t>(cursor.at - start)});
      if (found[count++] == 0) return syntaxError();
      if (cursor.atEnd() || *cursor.at != run_.settings.separator) break;
    }
    if (count == 2 && found[0] == found[1]) count = 1;
    std::copy_n(found, count, columns_.fields);
    columns_.fields[count] = TVO_FIELD_End;
    const ColumnsRecord record = schema::columnsRecord({columns_.fields, count});
    hand(TVO_RECORD_OPERATIONS_COLUMNS, &record, {run_.lineNumber, declared()});
    columns_.defined = true;
    return Step::kGoOn;
  }

  uint64_t declared() const {
    uint64_t bits = 0;
    for (const FieldId* column = columns_.fields; *column != TVO_FIELD_End; ++column) {
      bits |= *column == TVO_FIELD_PointNo ? kNumberBit : kIdentifierBit;
    }
    return bits;
  }

  // The field id that a field's text stands for, or 0.
  static FieldId columnKind(std::string_view text) {
    text = schema::cutTrailing(text);
    constexpr size_t kLongestQuoted = 19;
    if (text.size() >= 2 && text.size() <= kLongestQuoted && text.front() == '"' &&
        text.back() == '"') {
      return TVO_FIELD_PointID;
    }
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
    const bool digits =
        !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
    return digits ? FieldId{TVO_FIELD_PointNo} : FieldId{0};
  }

  Run& run_;
  const schema::BlockDef& block_;
  reader::OperationColumns& columns_;
  uint32_t operation_ = schema::kUnknownOperation;
  uint64_t operationLine_ = 0;
  char line_[reader::kMaxLine];
};

}  // namespace

Step readOperations(Run& run, const schema::BlockDef& block) {
  Step step = run.readLine();
  while (step != Step::kStop && step != Step::kEndOfInput) {
    if (step == Step::kPassOver) {
      step = run.readLine();
    } else if (schema::isEndOf(run.line, block.keyword)) {
      return Step::kGoOn;
    } else if (beginsOperation(run.line)) {
      step = OperationReader(run, block).readOperationLine();
    } else {
      step = run.reportError(reader::kUnknownOperationError, run.line);
      if (step == Step::kGoOn) step = run.readLine();
    }
  }
  return step == Step::kStop ? step : reader::reportOpenBlock(run, block.keyword);
}

}  // namespace tavo::sections

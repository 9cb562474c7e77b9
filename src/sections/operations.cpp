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

using reader::Cursor;
using reader::Run;

using schema::kMaxOperationPoints;
constexpr int kNoColumns = 11;
constexpr int kWrongCount = 7;

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
  // looked at. kGoOn, an error number, kStop, kEndOfInput or kExceedsLine.
  int readOperationLine() {
    if (!checkOperation(run_.line)) {
      operation_ = schema::kUnknownOperation;
      if (run_.reportError(reader::kSyntaxError, run_.line) == reader::kStop) return reader::kStop;
    }
    operationLine_ = run_.lineNumber;
    const size_t length = std::min(run_.line.size(), sizeof line_);
    std::memcpy(line_, run_.line.data(), length);
    const std::string_view line(line_, length);
    const int status = run_.readLine();
    if (status != reader::kGoOn) return status;
    if (isEnd() || beginsOperation(run_.line)) return run_.fail(reader::kSyntaxError, line);
    return readPointsLine();
  }

 private:
  static constexpr uint64_t kOperationBit = 1, kNumberBit = 1, kIdentifierBit = 2;

  bool isEnd() const { return schema::CheckEnd(run_.line, block_.keyword) == 0; }

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
    Cursor cursor(words[1]);
    double size = 0;
    return reader::parseDouble(run_, cursor, &size) == 0 && cursor.atEnd();
  }

  int readPointsLine() {
    if (operation_ != schema::kUnknownOperation && takePoints() == reader::kStop) {
      return reader::kStop;
    }
    // Further lines before the next operation are passed over silently.
    int status = reader::kGoOn;
    while (status == reader::kGoOn && !isEnd() && !beginsOperation(run_.line)) {
      status = run_.readLine();
    }
    return status;
  }

  int takePoints() {
    if (!columns_.defined) {
      const int status = definePointColumns();
      if (status != reader::kGoOn) return status;
    }
    OperationPointsRecord points = {};
    Cursor cursor(run_.line);
    for (size_t count = 1; count <= kMaxOperationPoints; ++count) {
      const int status = takePoint(cursor, &points.points[count - 1]);
      if (status != reader::kGoOn) return status;
      if (!cursor.atEnd() && *cursor.at == run_.settings.terminator) {
        return deliver(count, points);
      }
      if (cursor.atEnd() || *cursor.at != run_.settings.separator) return syntaxError();
      ++cursor.at;
    }
    return reader::kGoOn;  // more than ten points: no record, and nothing is said about it
  }

  int takePoint(Cursor& cursor, OperationPoint* point) {
    for (const FieldId* column = columns_.fields; *column != TVO_FIELD_End; ++column) {
      if (column != columns_.fields) {
        if (cursor.atEnd() || *cursor.at != run_.settings.separator) return syntaxError();
        ++cursor.at;
      }
      int status = 0;
      if (*column == TVO_FIELD_PointNo) {
        uint32_t number = 0;
        status = reader::parseUint32(run_, cursor, &number);
        point->PointNo = number;
      } else {
        status = reader::parseText(run_, cursor, point->PointID, sizeof point->PointID);
      }
      if (status == reader::kEmptyField) return syntaxError();
      if (status != 0) return status;
    }
    return reader::kGoOn;
  }

  int syntaxError() { return run_.fail(reader::kSyntaxError, run_.line); }

  // The sink's answers are not examined here, on purpose.
  int deliver(size_t count, const OperationPointsRecord& points) {
    const schema::Operation* const row = schema::operation(operation_);
    if (row == nullptr || row->points != count) {
      return run_.reportError(reader::kFormatMismatch, run_.line) == reader::kStop ? reader::kStop
                                                                                   : kWrongCount;
    }
    OperationRecord record = {};
    record.Operation = operation_;
    run_.deliver(TVO_RECORD_OPERATIONS, &record, {operationLine_, kOperationBit});
    run_.deliver(TVO_RECORD_OPERATION_POINTS, &points, {run_.lineNumber, declared()});
    return reader::kGoOn;
  }

  // Takes one or two kinds of column from the fields of the current line.
  int definePointColumns() {
    FieldId found[2];
    size_t count = 0;
    Cursor cursor(run_.line);
    for (; count < 2; ++cursor.at) {
      cursor.skipBlanks();
      const char* const start = cursor.at;
      while (!cursor.atDelimiter(run_.settings)) ++cursor.at;
      found[count] = columnKind({start, static_cast<size_t>(cursor.at - start)});
      if (found[count++] == 0) {
        return syntaxError() == reader::kStop ? reader::kStop : kNoColumns;
      }
      if (cursor.atEnd() || *cursor.at != run_.settings.separator) break;
    }
    if (count == 2 && found[0] == found[1]) count = 1;
    std::copy_n(found, count, columns_.fields);
    columns_.fields[count] = TVO_FIELD_End;
    const ColumnsRecord record = schema::columnsRecord({columns_.fields, count});
    run_.deliver(TVO_RECORD_OPERATIONS_COLUMNS, &record, {run_.lineNumber, declared()});
    columns_.defined = true;
    return reader::kGoOn;
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
    while (!text.empty() && static_cast<unsigned char>(text.back()) <= 32) text.remove_suffix(1);
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

int readOperations(Run& run, const schema::BlockDef& block) {
  int status = run.readLine();
  while (status != reader::kStop && status != reader::kEndOfInput) {
    if (status == reader::kExceedsLine) {
      status = run.readLine();
    } else if (schema::CheckEnd(run.line, block.keyword) == 0) {
      return reader::kGoOn;
    } else if (beginsOperation(run.line)) {
      status = OperationReader(run, block).readOperationLine();
    } else {
      status = run.reportError(reader::kUnknownOperationError, run.line);
      if (status == reader::kGoOn) status = run.readLine();
    }
  }
  return status == reader::kStop ? status : reader::reportOpenBlock(run, block.keyword);
}

}  // namespace tavo::sections

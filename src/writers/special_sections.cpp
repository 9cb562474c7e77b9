// TIME_TAGGED_CODES and OPERATIONS, whose lines have a layout of their own and no column
// definition.
#include <algorithm>
#include <cstring>

#include "schema/bytes.h"
#include "schema/enums.h"
#include "writers/number.h"
#include "writers/writer.h"

namespace tavo::writers {

namespace {

using schema::kMaxCodeValues;
using schema::kMaxOperationPoints;
using schema::load;

constexpr size_t kIndent = 2;

// A line of items that follow each other without blanks and may be broken in front of any of them.
class PackedLine {
 public:
  PackedLine(Writer& writer, size_t indent)
      : output_(writer.output), state_(writer.state), indent_(indent) {
    start_ = at_ = output_.reserve();
  }
  char* slot() const { return at_ + pending_; }
  void add(size_t size) {
    if (size > 0 && *slot() == '"') inverts_ = inverts_ != invertsQuotes({slot(), size});
    pending_ += size;
  }
  void addMark(bool last) {
    *slot() = last ? state_.terminator : state_.separator;
    ++pending_;
  }
  // Ends an item, which begins a new line when the current one has no room for it, or would let a
  // reader take a terminator in one of its texts for the line's.
  void close() {
    const std::string_view item(at_, pending_);
    const size_t used = static_cast<size_t>(at_ - start_);
    const bool cut = inverted_ && item.find(state_.terminator) != item.npos;
    if (used == 0 || cut || used + pending_ >= kBreak) startLine(used == 0);
    at_ += pending_;
    inverted_ = inverted_ != inverts_;
    inverts_ = false;
    pending_ = 0;
  }
  void end() {
    *at_++ = '\n';
    output_.commit(at_);
  }

 private:
  void startLine(bool first) {
    const size_t indent = std::min(indent_, kLineLimit - std::min(pending_, kLineLimit));
    memmove(at_ + indent + (first ? 0 : 1), at_, pending_);
    if (!first) *at_++ = '\n';
    start_ = at_;
    memset(at_, ' ', indent);
    at_ += indent;
    inverted_ = false;
  }

  Output& output_;
  const OutputState& state_;
  size_t indent_;
  char* start_;
  char* at_;
  size_t pending_ = 0;
  bool inverts_ = false;   // the pending item does
  bool inverted_ = false;  // the line does so far
};

size_t putEntryValue(const TimeTaggedEntry& entry, const OutputState& state, char* out) {
  switch (entry.kind) {
    case TVO_ENUM_TEXT:
      return putQuoted(entry.text, sizeof entry.text - 1, kLineLimit, out);
    case TVO_ENUM_REAL:
      return putFreeReal(entry.real, state, out);
    default:
      return putSigned(entry.kind == TVO_ENUM_INT ? entry.integer : 0, out);
  }
}

// A name and its value stay on one line: a reader goes to the next line in front of names only.
void writeTimeTaggedLine(Writer& writer, const char* record) {
  const OutputState& state = writer.state;
  const auto codes = load<TimeTaggedRecord>(record);
  const size_t count =
      codes.entries == nullptr ? 0 : std::min<size_t>(codes.EntryCount, kMaxCodeValues);
  PackedLine line(writer, kIndent);
  line.add(putQuoted(codes.Code, sizeof codes.Code - 1, kLineLimit, line.slot()));
  line.addMark(false);
  line.add(putRequiredDate(codes.TimeTag, state.units.dateOrder, line.slot()));
  line.addMark(false);
  line.add(putUnsigned(codes.Number, line.slot()));
  line.addMark(count == 0);
  line.close();
  const char* entries = reinterpret_cast<const char*>(codes.entries);
  for (size_t i = 0; i < count; ++i) {
    const auto entry = load<TimeTaggedEntry>(entries + i * sizeof(TimeTaggedEntry));
    line.add(putQuoted(entry.name, sizeof entry.name - 1, kLineLimit, line.slot()));
    line.addMark(false);
    line.add(putEntryValue(entry, state, line.slot()));
    line.addMark(i + 1 == count);
    line.close();
  }
  line.end();
}

// Points of an operation: the table says how many; of an operation that it does not have, the slots
// in use, at least one.
size_t pointCount(uint32_t operation, const OperationPointsRecord& record) {
  const schema::Operation* row = schema::operation(operation);
  if (row != nullptr && row->points > 0) return row->points;
  size_t used = 1;
  for (size_t i = 0; i < kMaxOperationPoints; ++i) {
    if (record.points[i].PointNo != 0 || record.points[i].PointID[0] != '\0') used = i + 1;
  }
  return used;
}

// The columns of points lines: numbers, identifiers or both, in the order of the columns record.
struct PointColumns {
  FieldId ids[2] = {TVO_FIELD_PointNo, 0};
  size_t count = 0;
};

PointColumns pointColumns(const char* columnsRecord) {
  PointColumns columns;
  const FieldList fields = fieldsOf(columnsRecord);
  for (size_t i = 0; i < fields.count && columns.count < 2; ++i) {
    const FieldId id = fields.ids[i];
    const bool known = id == TVO_FIELD_PointNo || id == TVO_FIELD_PointID;
    const bool listed = columns.count == 1 && columns.ids[0] == id;
    if (known && !listed) columns.ids[columns.count++] = id;
  }
  columns.count = std::max<size_t>(columns.count, 1);
  return columns;
}

// One line, which has no continuation: what does not fit takes the indentation's place.
void writePointsLine(Writer& writer, uint32_t operation, const PointColumns& columns) {
  const auto record = load<OperationPointsRecord>(writer.feed.record());
  const size_t count = pointCount(operation, record);
  PackedLine line(writer, 2 * kIndent);
  for (size_t i = 0; i < count; ++i) {
    const OperationPoint& point = record.points[i];
    for (size_t c = 0; c < columns.count; ++c) {
      const bool last = i + 1 == count && c + 1 == columns.count;
      const size_t size =
          columns.ids[c] == TVO_FIELD_PointNo
              ? putUnsigned(point.PointNo, line.slot())
              : putQuoted(point.PointID, sizeof point.PointID - 1, kLineLimit, line.slot());
      line.add(size);
      line.addMark(last);
    }
  }
  line.close();
  line.end();
}

}  // namespace

uint16_t writeTimeTaggedCodes(Writer& writer) {
  const std::string_view keyword = keywordName(schema::kTimeTaggedCodes);
  writeKeywordLine(writer.output, 0, keyword);
  writer.feed.next();
  while (writer.goesOn() && writer.feed.at(TVO_RECORD_TIME_TAGGED_CODES)) {
    writeTimeTaggedLine(writer, writer.feed.record());
    writer.feed.next();
  }
  writeEndLine(writer.output, 0, keyword);
  return writer.feed.status();
}

// An operation without its points has no written form and is passed over.
uint16_t writeOperations(Writer& writer) {
  const std::string_view keyword = keywordName(schema::kOperations);
  const PointColumns columns = pointColumns(writer.feed.record());
  writeKeywordLine(writer.output, 0, keyword);
  writer.feed.next();
  while (writer.goesOn() && writer.feed.at(TVO_RECORD_OPERATIONS)) {
    const auto operation = load<OperationRecord>(writer.feed.record()).Operation;
    writer.feed.next();
    if (!writer.feed.at(TVO_RECORD_OPERATION_POINTS)) continue;
    std::string_view name;
    schema::OperationName(operation, &name);
    // The size of CIRCLE_RADIUS and RECTANGLE is in no record.
    writeKeywordLine(writer.output, kIndent, name);
    writePointsLine(writer, operation, columns);
    writer.feed.next();
  }
  writeEndLine(writer.output, 0, keyword);
  return writer.feed.status();
}

}  // namespace tavo::writers

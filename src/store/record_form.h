// How records are kept in the data file: per storable type the field list, with the members that
// are keys, and the value buffer that the store engine packs from and unpacks into. Everything is
// derived from the schema's catalogue.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "schema/catalogue.h"
#include "store/engine/engine.h"
#include "tavo/records.h"

namespace tavo::store {

// The four indexes of a data file. Every record is in kBySortCode, so that reading along it gives
// the sections in file order; the others hold the types that have such a member.
enum Lookup : int {
  kBySortCode = 1,  // 16-bit sort code of the record type
  kByListNo = 2,    // 16-bit number of a subject, layer, choice list, code, job or configuration
  kByNumber = 3,    // 32-bit number of a point, line, polygon, station or target
  kById = 4,        // text identifier beside that number
};

// The kinds of data file. They differ in index 1 and in what stands in front of a record's fields.
enum class FileKind : uint8_t {
  kCompatible,  // of the exported functions: the storable types, sorted by sort code
  kComplete,    // every record of a text in the order of the file, with its place and presence
};

// Index definitions of a data file, ended by index 0.
extern const engine::IndexDef kIndexes[5];          // compatible
extern const engine::IndexDef kCompleteIndexes[5];  // index 1 orders by a 32-bit run number
const engine::IndexDef* indexesOf(FileKind kind);

// The largest packed record of a complete file: a time-tagged code with all of its values takes
// more than the engine's usual 1024 bytes.
constexpr uint32_t kCompleteRecordLimit = 4096;

// What a complete data file keeps beside a record. A run is what a block delivers without another
// block in between: along the runs, and in a run along the record numbers, goes the file's order.
struct Place {
  uint32_t run = 0, block = 0;
  uint64_t line = 0, given = 0;
};

// Field list and value buffer of one record structure. The value buffer holds the record as hosts
// see it, in a complete file the values of a time-tagged code, then what the engine needs in
// another form: sort code or place, and the counted byte runs.
class RecordForm {
 public:
  // One member of the record as the engine keeps it.
  struct Member {
    char letter;    // field type of the engine
    uint8_t index;  // Lookup, or 0
    uint16_t offset;
    uint16_t length;
  };

  // Members of composite type or without a column are included, in the order of their offsets.
  static std::vector<Member> membersOf(RecordType type, FileKind kind = FileKind::kCompatible);

  explicit RecordForm(RecordType type, FileKind kind = FileKind::kCompatible);

  // For the engine; ends with 'E'. The first field is the sort code, or the run.
  const engine::Field* fields() const { return fields_.data(); }
  // The field that is the key of an index, or null.
  const engine::Field* keyOf(Lookup lookup) const;

  void* record() { return values_.data(); }
  size_t size() const { return size_; }
  // Largest packed form that a record can have.
  size_t packedLimit() const;

  // Takes a record of the type over into the value buffer; it may be that buffer itself.
  void load(RecordType type, const void* record);
  // The sort code that the record in the buffer is kept under, of a compatible file.
  uint16_t sortCode() const;
  // The place of the record in the buffer, of a complete file.
  void setPlace(const Place& place);
  Place place() const;
  // Makes sure that every text ends inside its member.
  void terminateTexts();
  // Empties the buffer, so that fields that are not in the file come back as zero or empty text.
  void clear();
  // Completes the record in the buffer after the engine has read into it.
  void finishRead();

 private:
  // Bytes kept without their trailing zeros, behind a 16-bit count elsewhere in the buffer.
  struct CountedBytes {
    size_t offset, length, counted;
  };

  void loadEntries();

  size_t size_;
  size_t entriesSize_ = 0;  // room for the values of a time-tagged code, behind the record
  size_t head_;             // where sort code or place stand, behind both
  std::vector<unsigned char> values_;
  std::vector<engine::Field> fields_;
  std::vector<CountedBytes> counted_;
  std::vector<size_t> textEnds_;  // places of the last bytes of all texts
};

// The forms of all record types. Types of one structure share a form: all columns records, the
// thematic information, the edges and the annotations of points, lines and polygons.
class RecordForms {
 public:
  explicit RecordForms(FileKind kind = FileKind::kCompatible);

  // Null for a type that is not storable in a file of the kind.
  RecordForm* of(RecordType type);
  // Null also for a type whose records the kind of file can't hand out again.
  RecordForm* readable(RecordType type);

 private:
  FileKind kind_;
  std::vector<RecordForm> forms_;
  std::array<uint8_t, schema::kRecordTypes> formOf_;
};

}  // namespace tavo::store

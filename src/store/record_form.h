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

// Index definitions of a data file, ended by index 0.
extern const engine::IndexDef kIndexes[5];

// Field list and value buffer of one record structure. The value buffer holds the record as hosts
// see it, then what the engine needs in another form: the sort code and the counted byte runs.
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
  static std::vector<Member> membersOf(RecordType type);

  explicit RecordForm(RecordType type);

  // For the engine; ends with 'E'. The first field is the sort code.
  const engine::Field* fields() const { return fields_.data(); }
  // The field that is the key of an index, or null.
  const engine::Field* keyOf(Lookup lookup) const;

  void* record() { return values_.data(); }
  size_t size() const { return size_; }
  // Largest packed form that a record can have.
  size_t packedLimit() const;

  // Takes a record of the type over into the value buffer; it may be that buffer itself.
  void load(RecordType type, const void* record);
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

  size_t size_;
  std::vector<unsigned char> values_;
  std::vector<engine::Field> fields_;
  std::vector<CountedBytes> counted_;
  std::vector<size_t> textEnds_;  // places of the last bytes of all texts
};

// The forms of all record types. Types of one structure share a form: all columns records, the
// thematic information, the edges and the annotations of points, lines and polygons.
class RecordForms {
 public:
  RecordForms();

  // Null for a type that is not storable.
  RecordForm* of(RecordType type);
  // Null also for a type whose records can't be handed out again.
  RecordForm* readable(RecordType type);

 private:
  std::vector<RecordForm> forms_;
  std::array<uint8_t, schema::kRecordTypes> formOf_;
};

}  // namespace tavo::store

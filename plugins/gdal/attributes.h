// Values that stand under a name of their own: attributes of THEMINFO, entries of time-tagged
// codes. They become columns with the prefix a_.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "columns.h"
#include "source.h"

namespace tavo::gdal {

class Attributes {
 public:
  // Something that could not be joined: the record and a sentence.
  struct Left {
    uint32_t type;
    size_t index;
    std::string text;
  };

  // THEMINFO of points, lines or polygons, joined to their owners by number or identifier; types
  // and choices are those of the survey's ATTRIBUTES, widened where values do not fit them.
  static Attributes ofOwners(const Source& source, uint32_t owner, uint32_t theminfo);
  static Attributes ofTimeTaggedCodes(const Source& source);

  // Lives no longer than this.
  std::vector<Column> columns() const;
  const std::vector<Left>& left() const { return left_; }

 private:
  enum class Kind : uint8_t { kNone, kInteger, kReal, kText };
  struct Attribute {
    std::string name;  // as the file has it, in UTF-8
    Kind kind = Kind::kNone;
    std::vector<std::string> choices;
  };
  // Of a row, under an attribute; numbers are those of their kind.
  struct Value {
    size_t row;
    size_t attribute;
    Kind kind;
    std::string_view text;
    double real;
    int32_t integer;
    uint32_t type;  // record that it comes from
    size_t index;
  };

  size_t attributeOf(std::string_view name);
  void define(const Source& source, uint32_t owner);
  static Kind kindOf(uint32_t type);
  // A packed value of a record, of no row yet; text is where its text lies.
  template <class Packed>
  static Value valueOf(const Packed& packed, const char* text, uint32_t type, size_t index);
  void add(size_t row, std::string_view name, Value value);
  void settle();
  static std::string asText(const Value& value);
  static void set(OGRFeature& feature, int field, Kind kind, const Value& value);

  std::vector<Attribute> attributes_;
  std::map<std::string, size_t, std::less<>> names_;
  std::vector<Value> values_;  // by row, then attribute
  std::vector<Left> left_;
};

}  // namespace tavo::gdal

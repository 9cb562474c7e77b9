// Feature styles of records: symbols, lines, areas and labels as the survey gives them.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "source.h"

namespace tavo::gdal {

class Styles {
 public:
  explicit Styles(const Source& source);

  // The style of a record, empty where it gives none. A colour is red, green and blue from the
  // lowest byte up; numbers of symbols and line styles are names of the office's own, for which a
  // plain one stands in.
  std::string of(const Row& row) const;

  // The items of a text box, a line each, or null.
  const std::string* boxText(uint16_t box) const;

 private:
  struct Box {
    std::string text;
    uint16_t property = 0;  // of its first line
  };
  struct Property {
    std::string font;
    double height = 0;
  };

  std::string ofPoint(const Row& row) const;
  std::string ofLine(const Row& row) const;
  std::string ofPolygon(const Row& row) const;
  std::string ofAnnotation(const Row& row) const;
  std::string ofBox(const Row& row) const;

  std::map<uint16_t, Box> boxes_;
  std::map<uint16_t, Property> properties_;
};

}  // namespace tavo::gdal

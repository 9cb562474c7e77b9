// Columns of a layer: how a field is declared and how a row fills it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <ogr_feature.h>

#include "source.h"

namespace tavo::gdal {

struct Column {
  std::string name;
  OGRFieldType type = OFTString;
  int width = 0;
  std::string unit;  // "m", "gon", "deg"; empty: none, or the file's
  // The keywords that a value may be, for a coded domain; empty: any.
  std::vector<std::string> choices;
  std::string domain;  // name of that domain
  // Sets the field; what it leaves alone is null.
  std::function<void(OGRFeature& feature, int field, const Row& row)> fill;
};

// Columns of record types of one structure by the format's own description of it, with the names of
// codes and layers beside their numbers. all: also those that no line of the survey has.
std::vector<Column> recordColumns(const Source& source, const std::vector<uint32_t>& types,
                                  bool all);

// Columns of lines of a fixed layout.
std::vector<Column> operationColumns(const Source& source);
std::vector<Column> timeTaggedColumns();

// Station, instrument and reduced values beside those of an observation.
std::vector<Column> observationColumns(const Source& source);

// Sets a date-time; one that no calendar has is left out.
void setDate(OGRFeature& feature, int field, const TVO_DateTime& date);

}  // namespace tavo::gdal

// What is special about each format that GDAL writes for us.
#pragma once

#include <string_view>

namespace tavo::tool {

enum class Scope {
  kAll,      // every layer, tables, too
  kPlaces,   // layers with places
  kDrawing,  // what is drawn of a survey on a plan
};

enum class Files {
  kOne,  // holds all layers
  kOneALayer,
  kOneLayer,  // which holds all things
  kDrawing,   // CAD
  kDatabase,
};

struct GdalFormat {
  const char* driver;
  const char* name;  // for people
  Scope scope;       // what is taken without a wish
  Files files;
  bool wgs84 = false;        // as its standard asks
  bool appends = false;      // a copy of what is there can be added to
  bool zeroHeights = false;  // a place without a height gets height 0 beside others with one
  bool needsPlace = false;   // a row without one cannot be kept
  bool sequential = false;   // a layer must be whole before the next one begins
  bool labels = false;       // shows a name beside each thing
  const char* const* options = nullptr;  // of a new layer
};

// By its driver; there is one for each that an export knows.
const GdalFormat& gdalFormat(std::string_view driver);

}  // namespace tavo::tool

// The formats as a table.
#include "formats.h"

#include <algorithm>
#include <iterator>

namespace tavo::tool {

namespace {

constexpr const char* kNone[] = {nullptr};
constexpr const char* kGpkg[] = {"GEOMETRY_NAME=geom", nullptr};
// Names come as they shall be, see Target.
constexpr const char* kPostgres[] = {"GEOMETRY_NAME=geom",
                                     "FID=id",
                                     "FID64=YES",
                                     "LAUNDER=NO",
                                     "EXTRACT_SCHEMA_FROM_LAYER_NAME=NO",
                                     nullptr};
constexpr const char* kGeoJson[] = {"RFC7946=YES", "COORDINATE_PRECISION=9", nullptr};
constexpr const char* kShapefile[] = {"ENCODING=UTF-8", nullptr};

constexpr GdalFormat kFormats[] = {
    {.driver = "GPKG",
     .name = "GeoPackage",
     .scope = Scope::kAll,
     .files = Files::kOne,
     .appends = true,
     .options = kGpkg},
    {.driver = "GeoJSON",
     .name = "GeoJSON",
     .scope = Scope::kDrawing,
     .files = Files::kOneLayer,
     .wgs84 = true,
     .options = kGeoJson},
    {.driver = "DXF",
     .name = "DXF",
     .scope = Scope::kDrawing,
     .files = Files::kDrawing,
     .needsPlace = true,
     .options = kNone},
    {.driver = "KML",
     .name = "KML",
     .scope = Scope::kPlaces,
     .files = Files::kOne,
     .wgs84 = true,
     .sequential = true,
     .labels = true,
     .options = kNone},
    {.driver = "FlatGeobuf",
     .name = "FlatGeobuf",
     .scope = Scope::kPlaces,
     .files = Files::kOneALayer,
     .zeroHeights = true,
     .needsPlace = true,
     .options = kNone},
    {.driver = "ESRI Shapefile",
     .name = "shapefile",
     .scope = Scope::kPlaces,
     .files = Files::kOneALayer,
     .zeroHeights = true,
     .options = kShapefile},
    {.driver = "PostgreSQL",
     .name = "database",
     .scope = Scope::kAll,
     .files = Files::kDatabase,
     .appends = true,
     .zeroHeights = true,
     .options = kPostgres},
};

}  // namespace

const GdalFormat& gdalFormat(std::string_view driver) {
  return *std::ranges::find(kFormats, driver, &GdalFormat::driver);
}

}  // namespace tavo::tool

// Opening of a survey and the list of its layers.
#include "dataset.h"

#include <algorithm>
#include <cctype>
#include <set>

#include <cpl_error.h>
#include <cpl_string.h>
#include <cpl_vsi.h>

#include "texts.h"

namespace tavo::gdal {

namespace {

// Layers with a place, and those of lines of a fixed layout, in the order in which they are listed.
struct LayerKind {
  const char* name;
  OGRwkbGeometryType geometry;
  std::vector<uint32_t> types;
};

const std::vector<LayerKind>& kinds() {
  static const std::vector<LayerKind> kKinds = {
      {"points", wkbPoint, {TVO_RECORD_POINTS}},
      {"lines", wkbMultiLineString, {TVO_RECORD_LINES}},
      {"polygons", wkbMultiPolygon, {TVO_RECORD_POLYGONS}},
      {"edges", wkbLineString, {TVO_RECORD_LINE_EDGES, TVO_RECORD_POLYGON_EDGES}},
      {"annotations",
       wkbPoint,
       {TVO_RECORD_POINT_ANNOTATIONS, TVO_RECORD_LINE_ANNOTATIONS, TVO_RECORD_POLYGON_ANNOTATIONS}},
      {"texts", wkbPoint, {TVO_RECORD_BOX_ON_POINT}},
      {"setups", wkbPoint, {TVO_RECORD_SETUP}},
      {"observations", wkbLineString, {TVO_RECORD_SLOPE}},
      {"time_tagged_codes", wkbNone, {TVO_RECORD_TIME_TAGGED_CODES}},
      {"operations", wkbNone, {TVO_RECORD_OPERATIONS}},
  };
  return kKinds;
}

// Record types that are no table: layers of their own, or columns of their owners.
bool isTable(uint32_t type) {
  if (type == TVO_RECORD_POINT_THEMINFO || type == TVO_RECORD_LINE_THEMINFO ||
      type == TVO_RECORD_POLYGON_THEMINFO) {
    return false;
  }
  return std::ranges::none_of(kinds(), [type](const LayerKind& kind) {
    return std::ranges::find(kind.types, type) != kind.types.end();
  });
}

int64_t readFile(void* bytes, size_t room, void* file) {
  const GUInt32 errors = CPLGetErrorCounter();
  const size_t size = VSIFReadL(bytes, 1, room, static_cast<VSILFILE*>(file));
  return size < room && CPLGetErrorCounter() != errors ? -1 : static_cast<int64_t>(size);
}

bool fits(const OGRSpatialReference& system, uint32_t coordinates) {
  if (coordinates == TAVO_COORDINATES_GEOGRAPHIC) return system.IsGeographic() != 0;
  if (coordinates == TAVO_COORDINATES_GEOCENTRIC) return system.IsGeocentric() != 0;
  return system.IsGeographic() == 0 && system.IsGeocentric() == 0;
}

tavo_geometry_options geometryOptions(CSLConstList options) {
  tavo_geometry_options made = TAVO_GEOMETRY_OPTIONS_INIT;
  made.ignore_transformations =
      CPLTestBool(CSLFetchNameValueDef(options, "IGNORE_TRANSFORMATIONS", "NO")) ? 1 : 0;
  const char* const origin = CSLFetchNameValueDef(options, "HOTINE_ORIGIN", "");
  if (EQUAL(origin, "CENTRE")) made.hotine_origin = TAVO_HOTINE_CENTRE;
  if (EQUAL(origin, "NATURAL")) made.hotine_origin = TAVO_HOTINE_NATURAL;
  return made;
}

// Where the records of some types lie: a list of parts for each reference system.
class Shares {
 public:
  struct Share {
    std::vector<Part> parts;
    bool heights = false, flat = false;  // what has a height and what has none
  };

  Shares(const Source& source, const std::vector<uint32_t>& types) : source_(source) {
    for (const uint32_t type : types) findSystems(type);
    if (!shares_.empty()) home_ = shares_.begin()->first;
    for (const uint32_t type : types) {
      const size_t count = source_.records(type).count;
      if (count == 0) continue;
      size_t placed = 0;
      const tavo_position* const places =
          tavo_geometry_positions(source_.geometry(), type, &placed);
      if (places != nullptr) {
        addPlaces(type, places, count);
      } else {
        addShapes(type, count);
      }
    }
  }

  // By the number of the system; what has no place is with the first one.
  const std::map<uint32_t, Share>& all() const { return shares_; }

 private:
  void findSystems(uint32_t type) {
    const auto see = [this](uint32_t system, uint32_t dimension) {
      Share& share = shares_[system];
      (dimension == 3 ? share.heights : share.flat) = true;
    };
    size_t count = 0;
    const tavo_position* const places = tavo_geometry_positions(source_.geometry(), type, &count);
    for (size_t i = 0; i < count; ++i) {
      if (places[i].dimension != 0) see(places[i].crs, places[i].dimension);
    }
    tavo_shape shape{};
    for (size_t i = 0; tavo_geometry_shape(source_.geometry(), type, i, &shape) != 0; ++i) {
      see(shape.crs, shape.dimension);
    }
  }

  Part& part(uint32_t system, uint32_t type) {
    std::vector<Part>& parts = shares_[system].parts;
    if (parts.empty() || parts.back().type != type) parts.push_back({type, 0, {}, {}});
    return parts.back();
  }

  void addPlaces(uint32_t type, const tavo_position* places, size_t count) {
    if (shares_.size() < 2) {
      part(home_, type).count = count;
      return;
    }
    for (size_t i = 0; i < count; ++i) {
      Part& into = part(places[i].dimension == 0 ? home_ : places[i].crs, type);
      into.records.push_back(i);
      ++into.count;
    }
  }

  void addShapes(uint32_t type, size_t count) {
    const auto add = [&](uint32_t system, size_t record, size_t at) {
      Part& into = part(system, type);
      into.records.push_back(record);
      into.shapes.push_back(at);
      ++into.count;
    };
    tavo_shape shape{};
    size_t next = 0;
    for (size_t record = 0; record < count; ++record) {
      const size_t first = next;
      while (tavo_geometry_shape(source_.geometry(), type, next, &shape) != 0 &&
             shape.owner == record) {
        add(shape.crs, record, next++);
      }
      if (next == first) add(home_, record, SIZE_MAX);
    }
  }

  const Source& source_;
  uint32_t home_ = 0;
  std::map<uint32_t, Share> shares_;
};

}  // namespace

std::unique_ptr<Dataset> Dataset::open(VSILFILE* file, const char* name, CSLConstList options) {
  try {
    Input input(name);
    input.input.path = nullptr;
    input.input.read = &readFile;
    input.input.user = file;
    std::unique_ptr<Dataset> made(new Dataset(Survey::read(input), geometryOptions(options)));
    if (!made->makeSystems(CSLFetchNameValue(options, "CRS"))) return nullptr;
    made->makeLayers(CPLTestBool(CSLFetchNameValueDef(options, "ALL_COLUMNS", "NO")));
    const bool strict = CPLTestBool(CSLFetchNameValueDef(options, "STRICT", "NO"));
    return made->tellFindings(name, strict) ? std::move(made) : nullptr;
  } catch (const Error& error) {
    CPLError(CE_Failure, CPLE_OpenFailed, "%s: %s", name, error.what());
  } catch (const std::exception& error) {
    CPLError(CE_Failure, CPLE_OutOfMemory, "%s: %s", name, error.what());
  }
  return nullptr;
}

Dataset::Dataset(Survey survey, const tavo_geometry_options& geometry)
    : source_(std::move(survey), geometry), styles_(source_) {}

OGRLayer* Dataset::GetLayer(int index) {
  return index < 0 || index >= GetLayerCount() ? nullptr
                                               : layers_[static_cast<size_t>(index)].get();
}

int Dataset::TestCapability(const char* capability) {
  return EQUAL(capability, ODsCZGeometries) ? TRUE : FALSE;
}

// The systems of the survey, or the one that is wanted in their place.
bool Dataset::makeSystems(const char* wanted) {
  OGRSpatialReference override;
  if (wanted != nullptr && override.SetFromUserInput(wanted) != OGRERR_NONE) {
    CPLError(CE_Failure, CPLE_IllegalArg, "CRS=%s names no reference system", wanted);
    return false;
  }
  bool taken = false;
  const size_t count = tavo_geometry_crs_count(source_.geometry());
  for (size_t i = 0; i < count; ++i) {
    const tavo_crs& crs = *tavo_geometry_crs(source_.geometry(), i);
    auto system = std::make_unique<OGRSpatialReference>();
    if (wanted != nullptr && fits(override, crs.coordinates)) {
      *system = override;
      taken = true;
    } else if (*crs.wkt == '\0' || system->importFromWkt(crs.wkt) != OGRERR_NONE) {
      system = nullptr;
    }
    // Easting or longitude first, whatever the system says of its axes.
    if (system != nullptr) system->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    systems_.push_back(std::move(system));
  }
  if (wanted == nullptr || taken || count == 0) return true;
  CPLError(CE_Failure, CPLE_IllegalArg, "CRS=%s is for another kind of coordinates", wanted);
  return false;
}

// One line on what is wrong, and one on each note on the survey as a whole. False when that refuses
// the survey.
bool Dataset::tellFindings(const char* name, bool strict) const {
  size_t counts[3] = {};
  for (const Finding& finding : findings_) ++counts[finding.kind];
  const size_t errors = counts[TAVO_ERROR], warnings = counts[TAVO_WARNING];
  if (errors + warnings != 0) {
    CPLError(strict ? CE_Failure : CE_Warning, CPLE_AppDefined, "%s: %zu error%s, %zu warning%s%s",
             name, errors, errors == 1 ? "" : "s", warnings, warnings == 1 ? "" : "s",
             strict ? "; STRICT refuses it" : "; its layer findings lists them");
    if (strict) return false;
  }
  const size_t found = tavo_geometry_finding_count(source_.geometry());
  for (size_t i = 0; i < found; ++i) {
    const tavo_geometry_finding& finding = *tavo_geometry_finding_at(source_.geometry(), i);
    if (finding.record_type == 0) {
      CPLError(CE_Warning, CPLE_AppDefined, "%s: %s", name, finding.text);
    }
  }
  return true;
}

const OGRSpatialReference* Dataset::system(uint32_t index) const {
  return index < systems_.size() ? systems_[index].get() : nullptr;
}

// "points", or where they lie in several systems "points_set2" and the like.
std::string Dataset::nameIn(const std::string& name, bool alone, uint32_t system) const {
  std::string made = name;
  if (!alone) {
    const tavo_crs& crs = *tavo_geometry_crs(source_.geometry(), system);
    if (crs.set != SIZE_MAX) made += "_set" + std::to_string(crs.set_no);
    if (crs.zone >= 0) made += "_zone" + std::to_string(crs.zone);
    if (crs.coordinates == TAVO_COORDINATES_GEOGRAPHIC) made += "_geographic";
    if (crs.coordinates == TAVO_COORDINATES_GEOCENTRIC) made += "_geocentric";
    if (made == name) made += "_grid";
  }
  return made;
}

void Dataset::addAttributes(std::vector<Column>& columns, Attributes attributes) {
  attributes_.push_back(std::make_unique<Attributes>(std::move(attributes)));
  for (Column& column : attributes_.back()->columns()) columns.push_back(std::move(column));
}

std::vector<Column> Dataset::columnsOf(const std::string& name, const std::vector<uint32_t>& types,
                                       bool all) {
  const uint32_t type = types.front();
  std::vector<Column> columns;
  switch (type) {
    case TVO_RECORD_TIME_TAGGED_CODES:
      columns = timeTaggedColumns();
      addAttributes(columns, Attributes::ofTimeTaggedCodes(source_));
      break;
    case TVO_RECORD_OPERATIONS:
      columns = operationColumns(source_);
      break;
    default:
      columns = recordColumns(source_, types, all);
  }
  if (type == TVO_RECORD_POINTS) {
    addAttributes(columns, Attributes::ofOwners(source_, type, TVO_RECORD_POINT_THEMINFO));
  } else if (type == TVO_RECORD_LINES) {
    addAttributes(columns, Attributes::ofOwners(source_, type, TVO_RECORD_LINE_THEMINFO));
  } else if (type == TVO_RECORD_POLYGONS) {
    addAttributes(columns, Attributes::ofOwners(source_, type, TVO_RECORD_POLYGON_THEMINFO));
  } else if (type == TVO_RECORD_SLOPE) {
    for (Column& column : observationColumns(source_)) columns.push_back(std::move(column));
  } else if (type == TVO_RECORD_BOX_ON_POINT) {
    Column text{"Text", OFTString, 0, {}, {}, {}, {}};
    text.fill = [this](OGRFeature& feature, int field, const Row& row) {
      const auto box = load<TVO_TextBoxRecord>(row.bytes);
      if (const std::string* const found = styles_.boxText(box.TextBoxNo)) {
        feature.SetField(field, found->c_str());
      }
    };
    columns.push_back(std::move(text));
  }
  for (Column& column : columns) {
    if (column.choices.empty()) continue;
    column.domain = name + "_" + column.name;
    std::vector<OGRCodedValue> values;
    for (const std::string& choice : column.choices) {
      values.push_back({CPLStrdup(choice.c_str()), CPLStrdup(choice.c_str())});
    }
    m_oMapFieldDomains[column.domain] = std::make_unique<OGRCodedFieldDomain>(
        column.domain, std::string(), OFTString, OFSTNone, std::move(values));
  }
  return columns;
}

// The first layer of a reference system, which is that of the points, lends the others its extent.
void Dataset::addPlaced(uint32_t system, std::unique_ptr<Layer> layer) {
  const auto [first, own] = firstIn_.try_emplace(system, layer.get());
  if (!own) layer->borrowExtent(*first->second);
  layers_.push_back(std::move(layer));
}

void Dataset::addSpatial(const std::string& name, OGRwkbGeometryType geometry,
                         const std::vector<uint32_t>& types, bool all) {
  const Shares shares(source_, types);
  if (shares.all().empty()) return;
  const std::vector<Column> columns = columnsOf(name, types, all);
  const bool alone = shares.all().size() == 1;
  for (const auto& [number, share] : shares.all()) {
    // A label has its owner's height; where not all have one, the layer does without.
    const bool labels =
        types.front() == TVO_RECORD_POINT_ANNOTATIONS || types.front() == TVO_RECORD_BOX_ON_POINT;
    const bool heights = share.heights && !(labels && share.flat);
    const OGRwkbGeometryType type = heights ? OGR_GT_SetZ(geometry) : geometry;
    addPlaced(number,
              std::make_unique<RecordLayer>(source_, styles_,
                                            Contents{nameIn(name, alone, number), type,
                                                     system(number), share.parts, columns}));
  }
}

void Dataset::addTable(const std::string& name, const std::vector<uint32_t>& types, bool all) {
  std::vector<Part> parts;
  for (const uint32_t type : types) {
    if (const size_t count = source_.records(type).count) parts.push_back({type, count, {}, {}});
  }
  if (parts.empty()) return;
  layers_.push_back(std::make_unique<RecordLayer>(
      source_, styles_,
      Contents{name, wkbNone, nullptr, std::move(parts), columnsOf(name, types, all)}));
}

void Dataset::makeLayers(bool all) {
  for (const LayerKind& kind : kinds()) {
    if (kind.geometry == wkbNone) {
      addTable(kind.name, kind.types, all);
    } else {
      addSpatial(kind.name, kind.geometry, kind.types, all);
    }
  }
  const tavo_schema_block* block = nullptr;
  std::set<uint32_t> listed;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    if (block->columns_type == 0 || !isTable(block->data_type) ||
        !listed.insert(block->data_type).second) {
      continue;
    }
    std::string name = block->keyword;
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    addTable(name, {block->data_type}, all);
  }
  addFindings();
}

void Dataset::addFindings() {
  std::vector<Attributes::Left> left;
  for (const auto& attributes : attributes_) {
    left.insert(left.end(), attributes->left().begin(), attributes->left().end());
  }
  findings_ = findingsOf(source_, left);
  if (findings_.empty()) return;
  std::map<uint32_t, std::vector<Finding>> shares;
  for (const Finding& finding : findings_) {
    if (finding.place.dimension != 0) shares[finding.place.crs];
  }
  const uint32_t home = shares.empty() ? 0 : shares.begin()->first;
  for (const Finding& finding : findings_) {
    shares[finding.place.dimension != 0 ? finding.place.crs : home].push_back(finding);
  }
  for (auto& [number, share] : shares) {
    addPlaced(number, std::make_unique<FindingLayer>(nameIn("findings", shares.size() == 1, number),
                                                     system(number), std::move(share)));
  }
}

}  // namespace tavo::gdal

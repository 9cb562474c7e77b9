// Collects findings and finds the places of their records.
#include "findings.h"

#include <algorithm>
#include <array>
#include <optional>

#include "texts.h"

namespace tavo::gdal {

namespace {

constexpr tavo_position kNowhere{0, 0, 0, 0, 0};

// Places of records by type and number or by their line. Members of others (accuracies, attributes)
// lie where their owner does.
class Places {
 public:
  explicit Places(const Source& source) : source_(source) {}

  tavo_position of(uint32_t type, size_t index) const {
    size_t count = 0;
    const tavo_position* const places = tavo_geometry_positions(source_.geometry(), type, &count);
    if (places != nullptr) return index < count ? places[index] : kNowhere;
    if (const auto owner = ownerOf(type, index)) return of(owner->first, owner->second);
    return ofShape(type, index);
  }

  tavo_position ofLine(uint64_t line) const {
    constexpr uint32_t kTypes[] = {TVO_RECORD_POINTS,
                                   TVO_RECORD_LINES,
                                   TVO_RECORD_POLYGONS,
                                   TVO_RECORD_LINE_EDGES,
                                   TVO_RECORD_POLYGON_EDGES,
                                   TVO_RECORD_POINT_ANNOTATIONS,
                                   TVO_RECORD_LINE_ANNOTATIONS,
                                   TVO_RECORD_POLYGON_ANNOTATIONS,
                                   TVO_RECORD_POINT_THEMINFO,
                                   TVO_RECORD_LINE_THEMINFO,
                                   TVO_RECORD_POLYGON_THEMINFO,
                                   TVO_RECORD_PNT_ACCURACY,
                                   TVO_RECORD_BOX_ON_POINT,
                                   TVO_RECORD_SETUP,
                                   TVO_RECORD_SLOPE};
    for (const uint32_t type : kTypes) {
      const tavo_records& records = source_.records(type);
      const uint64_t* const end = records.lines + records.count;
      const uint64_t* const at = std::lower_bound(records.lines, end, line);
      if (records.count != 0 && at != end && *at == line) {
        return of(type, static_cast<size_t>(at - records.lines));
      }
    }
    return kNowhere;
  }

 private:
  // The first shape of a record, by its first vertex.
  tavo_position ofShape(uint32_t type, size_t index) const {
    size_t first = 0, last = tavo_geometry_shape_count(source_.geometry(), type);
    tavo_shape shape{};
    while (first < last) {
      const size_t middle = first + (last - first) / 2;
      tavo_geometry_shape(source_.geometry(), type, middle, &shape);
      if (shape.owner < index) {
        first = middle + 1;
      } else {
        last = middle;
      }
    }
    if (tavo_geometry_shape(source_.geometry(), type, first, &shape) == 0 || shape.owner != index) {
      return kNowhere;
    }
    return {shape.vertices[0], shape.vertices[1], shape.vertices[2], shape.crs, shape.dimension};
  }

  std::optional<std::pair<uint32_t, size_t>> ownerOf(uint32_t type, size_t index) const {
    constexpr struct {
      uint32_t type, owner;
    } kOwners[] = {{TVO_RECORD_POINT_THEMINFO, TVO_RECORD_POINTS},
                   {TVO_RECORD_LINE_THEMINFO, TVO_RECORD_LINES},
                   {TVO_RECORD_POLYGON_THEMINFO, TVO_RECORD_POLYGONS},
                   {TVO_RECORD_PNT_ACCURACY, TVO_RECORD_POINTS}};
    for (const auto& pair : kOwners) {
      if (pair.type != type) continue;
      // The number comes first in all of them.
      const tavo_records& records = source_.records(type);
      const auto number = load<uint32_t>(recordAt(records, index));
      const tavo_records& owners = source_.records(pair.owner);
      const char* at = static_cast<const char*>(owners.bytes);
      for (size_t i = 0; number != 0 && i < owners.count; ++i, at += owners.size) {
        if (load<uint32_t>(at) == number) return std::pair(pair.owner, i);
      }
    }
    return std::nullopt;
  }

  const Source& source_;
};

uint64_t lineOf(const Source& source, uint32_t type, size_t index) {
  const tavo_records& records = source.records(type);
  return index < records.count ? records.lines[index] : 0;
}

// Dates that no calendar has: their columns are null, the finding says what the file gives.
void addDates(const Source& source, const Places& places, std::vector<Finding>& findings) {
  const auto look = [&](uint32_t type, size_t offset, const char* name) {
    const tavo_records& records = source.records(type);
    const char* at = static_cast<const char*>(records.bytes) + offset;
    for (size_t i = 0; i < records.count; ++i, at += records.size) {
      const auto date = load<TVO_DateTime>(at);
      if (kindOf(date) != DateKind::kImpossible) continue;
      findings.push_back({TAVO_WARNING, 0, records.lines[i], 0, dateText(date),
                          std::string(name) + " is no date of the calendar", places.of(type, i)});
    }
  };
  const tavo_schema_block* block = nullptr;
  for (size_t b = 0; (block = tavo_schema_block_at(b)) != nullptr; ++b) {
    if (block->columns_type == 0 || source.records(block->data_type).count == 0) continue;
    const tavo_given shown = source.shown(block->data_type);
    const tavo_schema_field* field = nullptr;
    for (unsigned n = 0; (field = tavo_schema_field_at(block, n)) != nullptr; ++n) {
      if (field->type == TAVO_TYPE_DATE_TIME && (shown >> n & 1) != 0) {
        look(block->data_type, field->offset, field->name);
      }
    }
  }
  look(TVO_RECORD_TIME_TAGGED_CODES, offsetof(TVO_TimeTaggedRecord, TimeTag), "TimeTag");
}

// Values of unknown unit are no gon, degrees or metres: an angle's column is null, a length is as
// the file has it.
void addUnknownUnits(const Source& source, std::vector<Finding>& findings) {
  constexpr struct {
    uint32_t unit;
    TVO_EnumId tavo_units::*inForce;
    const char* text;
  } kUnits[] = {
      {TAVO_UNIT_ANGULAR, &tavo_units::angular, "Angles of unknown unit are left out"},
      {TAVO_UNIT_GEOGRAPHIC, &tavo_units::geographic, "Angles of unknown unit are left out"},
      {TAVO_UNIT_LINEAR, &tavo_units::linear, "Lengths of unknown unit are left as they are"}};
  for (size_t i = 0; i < source.survey().blockCount(); ++i) {
    const tavo_block& block = source.survey().block(i);
    const tavo_schema_block* const schema = tavo_schema_block_of(block.data_type);
    const tavo_schema_field* field = nullptr;
    const auto declares = [&](TVO_FieldId id) {
      const TVO_FieldId* const end = block.columns + block.column_count;
      return std::find(block.columns, end, id) != end;
    };
    for (const auto& unit : kUnits) {
      if (block.units->*unit.inForce != TVO_ENUM_UNKNOWN) continue;
      for (size_t n = 0; (field = tavo_schema_field_at(schema, n)) != nullptr; ++n) {
        if (field->unit != unit.unit || !declares(field->id)) continue;
        findings.push_back({TAVO_WARNING, 0, block.line, 0, field->name, unit.text, kNowhere});
        break;
      }
    }
  }
}

const char* kindName(uint32_t kind) {
  constexpr const char* kNames[] = {"note", "warning", "error"};
  return kNames[kind];
}

// Columns of the findings that rows count.
std::vector<Column> findingColumns(const std::vector<Finding>& all) {
  std::vector<Column> columns;
  const auto add = [&](const char* name, OGRFieldType type, auto fill) {
    columns.push_back({name, type, 0, {}, {}, {}, {}});
    columns.back().fill = [&all, fill](OGRFeature& feature, int field, const Row& row) {
      fill(feature, field, all[row.index]);
    };
  };
  add("Kind", OFTString, [](OGRFeature& feature, int field, const Finding& finding) {
    feature.SetField(field, kindName(finding.kind));
  });
  add("Number", OFTInteger, [](OGRFeature& feature, int field, const Finding& finding) {
    if (finding.number != 0) feature.SetField(field, static_cast<int>(finding.number));
  });
  add("Line", OFTInteger64, [](OGRFeature& feature, int field, const Finding& finding) {
    if (finding.line != 0) feature.SetField(field, static_cast<GIntBig>(finding.line));
  });
  add("Column", OFTInteger, [](OGRFeature& feature, int field, const Finding& finding) {
    if (finding.column != 0) feature.SetField(field, static_cast<int>(finding.column));
  });
  add("Text", OFTString, [](OGRFeature& feature, int field, const Finding& finding) {
    if (!finding.text.empty()) feature.SetField(field, finding.text.c_str());
  });
  add("Message", OFTString, [](OGRFeature& feature, int field, const Finding& finding) {
    feature.SetField(field, finding.message.c_str());
  });
  return columns;
}

}  // namespace

std::vector<Finding> findingsOf(const Source& source, const std::vector<Attributes::Left>& left) {
  std::vector<Finding> findings;
  const Places places(source);
  const Survey& survey = source.survey();
  for (size_t i = 0; i < survey.findingCount(); ++i) {
    const tavo_finding& found = survey.finding(i);
    const std::string text = toUtf8({found.text, found.text_size});
    const bool sentence = *found.message == '\0';
    findings.push_back({found.kind, found.number, found.line, found.column,
                        sentence ? std::string() : text, sentence ? text : found.message,
                        places.ofLine(found.line)});
  }
  const size_t count = tavo_geometry_finding_count(source.geometry());
  for (size_t i = 0; i < count; ++i) {
    const tavo_geometry_finding& found = *tavo_geometry_finding_at(source.geometry(), i);
    findings.push_back(
        {found.kind, 0, found.line, 0, {}, found.text, places.of(found.record_type, found.index)});
  }
  for (const Attributes::Left& one : left) {
    findings.push_back({TAVO_WARNING,
                        0,
                        lineOf(source, one.type, one.index),
                        0,
                        {},
                        one.text,
                        places.of(one.type, one.index)});
  }
  addDates(source, places, findings);
  addUnknownUnits(source, findings);
  return findings;
}

FindingLayer::FindingLayer(const std::string& name, const OGRSpatialReference* system,
                           std::vector<Finding> findings)
    : Layer(name, wkbPoint, system), findings_(std::move(findings)) {
  declare(findingColumns(findings_));
}

bool FindingLayer::envelopeOf(size_t row, OGREnvelope& envelope) const {
  const tavo_position& place = findings_[row].place;
  if (place.dimension == 0) return false;
  envelope.MinX = envelope.MaxX = place.x;
  envelope.MinY = envelope.MaxY = place.y;
  return true;
}

OGRGeometry* FindingLayer::geometryOf(size_t row) const {
  const tavo_position& place = findings_[row].place;
  if (place.dimension == 0) return nullptr;
  return new OGRPoint(place.x, place.y);
}

}  // namespace tavo::gdal

// From features to records.
#include "writer.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <new>
#include <set>

#include <cpl_error.h>
#include <cpl_string.h>
#include <cpl_vsi.h>

namespace tavo::gdal {

namespace {

using Form = WrittenSystem::Form;
using Way = FieldTarget::Way;

constexpr double kSame = 1e-6;  // of coordinates in a column and in a geometry

// Layers of our own reading side that say again what others say, or that hold what is not written
// from features: recognised by name and by a column.
constexpr struct {
  const char* name;
  std::array<const char*, 2> columns;
} kDerived[] = {
    {"edges", {"StartPt", "StartPtID"}},       {"annotations", {"Annotation", "TYPE"}},
    {"texts", {"TextBoxNo", "AnchorPointNo"}}, {"setups", {"STN_NO", "STN_ID"}},
    {"observations", {"SDist", "Hz"}},         {"time_tagged_codes", {"TimeTag", "Code"}},
    {"operations", {"Operation", "PointNo1"}}, {"findings", {"Message", "Kind"}}};

// Blocks that are written from tables of our own reading side as they stand.
constexpr uint32_t kTables[] = {
    TVO_RECORD_PROJECT,    TVO_RECORD_SUBJECTS,      TVO_RECORD_LAYERS,
    TVO_RECORD_CHOICELIST, TVO_RECORD_CODELIST,      TVO_RECORD_SUBJECT_LAYER_LIST,
    TVO_RECORD_CODES,      TVO_RECORD_ATTRIBUTES,    TVO_RECORD_JOBS,
    TVO_RECORD_ELEMENTS,   TVO_RECORD_PNT_ACCURACY,  TVO_RECORD_INSTRUMENTS,
    TVO_RECORD_CONFIGS,    TVO_RECORD_APRIORI_ERRORS};

const tavo_schema_block* tableNamed(const char* name) {
  for (const uint32_t type : kTables) {
    const tavo_schema_block* const block = tavo_schema_block_of(type);
    if (EQUAL(block->keyword, name)) return block;
  }
  return nullptr;
}

// "TREES", of a layer "Trees (2024)": letters and digits alone.
std::string codeText(const std::string& name) {
  std::string code;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && std::isalnum(byte) != 0) code += static_cast<char>(std::toupper(byte));
  }
  return code.empty() ? "LAYER" : code.substr(0, sizeof(TVO_CodeRecord::Code) - 1);
}

}  // namespace

struct WrittenLayer::Parts {
  std::vector<const OGRPoint*> points;
  std::vector<const OGRSimpleCurve*> lines, rings;
  std::vector<std::unique_ptr<OGRGeometry>> made;  // what others point into

  void add(const OGRGeometry& geometry, Losses& losses);

 private:
  void addCollection(const OGRGeometryCollection& all, Losses& losses);
  void addMade(OGRGeometry* geometry, Losses& losses);
};

void WrittenLayer::Parts::addMade(OGRGeometry* geometry, Losses& losses) {
  if (geometry == nullptr) return;
  made.emplace_back(geometry);
  add(*geometry, losses);
}

void WrittenLayer::Parts::addCollection(const OGRGeometryCollection& all, Losses& losses) {
  const OGRwkbGeometryType type = wkbFlatten(all.getGeometryType());
  if (all.getNumGeometries() > 1) {
    if (type == wkbMultiPoint) losses.add(Loss::kMultiPoint);
    if (type == wkbMultiLineString) losses.add(Loss::kMultiLine);
    if (type == wkbGeometryCollection) losses.add(Loss::kCollection);
  }
  for (const OGRGeometry* const part : all) add(*part, losses);
}

void WrittenLayer::Parts::add(const OGRGeometry& geometry, Losses& losses) {
  if (geometry.IsEmpty() != 0) return;
  const OGRwkbGeometryType type = wkbFlatten(geometry.getGeometryType());
  if (geometry.hasCurveGeometry(FALSE) != 0) {
    losses.add(Loss::kCurve);
    return addMade(geometry.getLinearGeometry(), losses);
  }
  if (type == wkbPoint) {
    points.push_back(geometry.toPoint());
  } else if (type == wkbLineString) {
    lines.push_back(geometry.toSimpleCurve());
  } else if (type == wkbPolygon) {
    for (const OGRLinearRing* const ring : *geometry.toPolygon()) rings.push_back(ring);
  } else if (OGR_GT_IsSubClassOf(type, wkbGeometryCollection) != 0) {
    addCollection(*geometry.toGeometryCollection(), losses);
  } else {
    losses.add(Loss::kSurface);
    addMade(OGRGeometryFactory::forceToMultiPolygon(geometry.clone()), losses);
  }
}

// --- A layer ------------------------------------------------------------------------------------

WrittenLayer::WrittenLayer(SurveyText& text, bool& failed, const char* name,
                           OGRwkbGeometryType type, const OGRSpatialReference* system,
                           std::string code)
    : text_(text), failed_(failed), definition_(new OGRFeatureDefn(name)), code_(std::move(code)) {
  SetDescription(name);
  definition_->Reference();
  definition_->SetGeomType(type);
  if (type != wkbNone) {
    if (system != nullptr) {
      auto* const own = system->Clone();
      definition_->GetGeomFieldDefn(0)->SetSpatialRef(own);
      own->Release();
    }
    frame_.system = text.addSystem(writtenSystem(system, frame_, text.losses));
  }
}

WrittenLayer::~WrittenLayer() { definition_->Release(); }

OGRFeature* WrittenLayer::GetNextFeature() {
  CPLError(CE_Failure, CPLE_NotSupported, "A survey is read when it has been written and closed");
  return nullptr;
}

OGRErr WrittenLayer::CreateField(OGRFieldDefn* field, int) {
  if (role_ != Role::kOpen) {
    CPLError(CE_Failure, CPLE_NotSupported, "Fields of a layer come before its features");
    failed_ = true;
    return OGRERR_UNSUPPORTED_OPERATION;
  }
  definition_->AddFieldDefn(field);
  return OGRERR_NONE;
}

int WrittenLayer::TestCapability(const char* capability) {
  for (const char* const one : {OLCSequentialWrite, OLCCreateField, OLCStringsAsUTF8,
                                OLCZGeometries, OLCCurveGeometries, OLCMeasuredGeometries}) {
    if (EQUAL(capability, one)) return TRUE;
  }
  return FALSE;
}

WrittenLayer::Role WrittenLayer::roleOf() const {
  const std::string name = definition_->GetName();
  for (const auto& derived : kDerived) {
    const std::string prefix = std::string(derived.name) + "_";
    const bool named = name == derived.name || name.starts_with(prefix);
    if (named && std::ranges::any_of(derived.columns, [&](const char* column) {
          return definition_->GetFieldIndex(column) >= 0;
        })) {
      return Role::kLeftOut;
    }
  }
  if (definition_->GetGeomType() != wkbNone || hasOwnColumns(*definition_, Kind::kPoint)) {
    return tableNamed(name.c_str()) != nullptr && definition_->GetGeomType() == wkbNone
               ? Role::kTable
               : Role::kThings;
  }
  return tableNamed(name.c_str()) != nullptr ? Role::kTable : Role::kLeftOut;
}

OGRErr WrittenLayer::ICreateFeature(OGRFeature* feature) {
  try {
    if (role_ == Role::kOpen) {
      role_ = roleOf();
      if (role_ == Role::kLeftOut) text_.losses.leaveOut(definition_->GetName());
    }
    if (role_ == Role::kTable) addRecord(*feature);
    if (role_ == Role::kThings) addThings(*feature);
    return OGRERR_NONE;
  } catch (const std::bad_alloc&) {
    CPLError(CE_Failure, CPLE_OutOfMemory, "%s: out of memory", definition_->GetName());
    failed_ = true;
    return OGRERR_NOT_ENOUGH_MEMORY;
  }
}

void WrittenLayer::addRecord(const OGRFeature& feature) {
  if (table_ == nullptr) {
    table_ = &text_.table(tableNamed(definition_->GetName())->data_type);
  }
  const size_t row = table_->add();
  for (int i = 0; i < definition_->GetFieldCount(); ++i) {
    if (feature.IsFieldSetAndNotNull(i) == 0) continue;
    const char* const name = definition_->GetFieldDefn(i)->GetNameRef();
    if (const auto* const member = memberNamed(table_->block(), name)) {
      putMember(text_, *table_, row, *member, feature, i);
    }
  }
}

Kind WrittenLayer::kindOfLayer() const {
  const OGRwkbGeometryType type = wkbFlatten(definition_->GetGeomType());
  if (type == wkbNone || type == wkbUnknown || type == wkbGeometryCollection) {
    for (const Kind kind : {Kind::kLine, Kind::kPolygon}) {
      if (hasOwnColumns(*definition_, kind) && !hasOwnColumns(*definition_, Kind::kPoint)) {
        return kind;
      }
    }
    return Kind::kPoint;
  }
  if (type == wkbPoint || type == wkbMultiPoint) return Kind::kPoint;
  const bool line =
      OGR_GT_IsCurve(type) != 0 || type == wkbMultiLineString || type == wkbMultiCurve;
  return line ? Kind::kLine : Kind::kPolygon;
}

WrittenLayer::Share& WrittenLayer::shareOf(Kind kind) {
  Share& share = shares_[static_cast<unsigned>(kind)];
  if (share.group != nullptr) return share;
  const std::string name = definition_->GetName();
  share.own = hasOwnColumns(*definition_, kind);
  share.group = &text_.addGroup(kind, frame_.system, name);
  share.targets = targetsOf(*definition_, *share.group, share.own, text_.losses);
  if (share.own) return share;
  share.code = text_.makeCode(code_.empty() ? codeText(name) : code_, name, kind);
  for (size_t i = 0; i < share.targets.size(); ++i) {
    const OGRFieldType type = definition_->GetFieldDefn(static_cast<int>(i))->GetType();
    if (share.targets[i].way != Way::kAttribute || type == OFTBinary) continue;
    const Group::Attribute& attribute = share.group->attributes[share.targets[i].attribute];
    text_.code(share.code).use(attribute.name, attribute.domain, valueKind(type));
  }
  return share;
}

// A layer without features still defines its code.
void WrittenLayer::settle() {
  if (role_ == Role::kOpen && definition_->GetGeomType() != wkbNone && roleOf() == Role::kThings) {
    shareOf(kindOfLayer());
  }
}

void WrittenLayer::addThings(OGRFeature& feature) {
  Parts parts;
  const OGRGeometry* const geometry = feature.GetGeometryRef();
  if (geometry != nullptr) {
    if (geometry->IsMeasured() != 0) text_.losses.add(Loss::kMeasure);
    parts.add(*geometry, text_.losses);
  }
  if (feature.GetStyleString() != nullptr && !hasOwnColumns(*definition_, kindOfLayer())) {
    text_.losses.say("Styles of features are not kept");
  }
  bool first = true;
  const auto add = [&](Kind kind) {
    Share& share = shareOf(kind);
    const size_t row = addRow(share, feature, first);
    first = false;
    return std::pair<Group&, size_t>(*share.group, row);
  };
  for (const OGRPoint* const point : parts.points) {
    const auto [group, row] = add(Kind::kPoint);
    place(group, row, *point);
  }
  for (const OGRSimpleCurve* const line : parts.lines) {
    const auto [group, row] = add(Kind::kLine);
    addLine(group, row, *line);
  }
  if (!parts.rings.empty()) {
    const auto [group, row] = add(Kind::kPolygon);
    for (const OGRSimpleCurve* const ring : parts.rings) addRing(group, row, *ring);
  }
  if (first) add(kindOfLayer());
}

// Of several rows of a feature the first has its number and identifier.
size_t WrittenLayer::addRow(Share& share, const OGRFeature& feature, bool first) {
  Group& group = *share.group;
  const KindFacts& facts = factsOf(group.kind);
  const size_t row = group.rows.add();
  group.fids.push_back(first && !share.own ? feature.GetFID() : 0);
  group.codes.push_back(share.code);
  fill(share, row, feature);
  if (!first) {
    group.rows.drop(row, facts.number);
    group.rows.drop(row, facts.id);
  }
  return row;
}

void WrittenLayer::fill(Share& share, size_t row, const OGRFeature& feature) {
  Group& group = *share.group;
  const char* codeName = nullptr;
  const char* layerName = nullptr;
  for (int i = 0; i < static_cast<int>(share.targets.size()); ++i) {
    if (feature.IsFieldSetAndNotNull(i) == 0) continue;
    const FieldTarget& target = share.targets[static_cast<size_t>(i)];
    if (target.way == Way::kMember) {
      putMember(text_, group.rows, row, *target.member, feature, i);
    } else if (target.way == Way::kAttribute) {
      putAttribute(text_, group, row, target.attribute, feature, i);
    } else if (target.way == Way::kCodeName) {
      codeName = feature.GetFieldAsString(i);
    } else if (target.way == Way::kLayerName) {
      layerName = feature.GetFieldAsString(i);
    }
  }
  if (!share.own) return;
  if (layerName != nullptr && group.rows.has(row, TVO_FIELD_LayerNo)) {
    text_.nameLayer(group.rows.get<uint16_t>(row, TVO_FIELD_LayerNo), layerName);
  }
  std::optional<uint16_t> number;
  if (group.rows.has(row, TVO_FIELD_CodeNo)) {
    number = group.rows.get<uint16_t>(row, TVO_FIELD_CodeNo);
  }
  const std::string code(group.rows.text(row, TVO_FIELD_Code));
  if (number.value_or(0) == 0 && code.empty()) return;
  const size_t used = group.codes[row] = text_.useCode(number, code, group.kind);
  if (codeName != nullptr && text_.code(used).name.empty()) text_.code(used).name = codeName;
}

// In the units of the file: metres of the layer's system, or degrees, easting first.
Vertex WrittenLayer::inFile(double x, double y, double z) const {
  if (frame_.swapped) std::swap(x, y);
  const Form form = text_.system(frame_.system).form;
  const auto length = [&](double value, double unit) {
    return tavo_to_file(&text_.units, TAVO_UNIT_LINEAR, value * unit);
  };
  z = length(z, frame_.heightUnit);
  if (form == Form::kGeographic) return {x * frame_.unit + frame_.meridian, y * frame_.unit, z};
  return {length(x, frame_.unit), length(y, frame_.unit), z};
}

void WrittenLayer::place(Group& group, size_t row, const OGRPoint& point) {
  const Vertex at =
      inFile(point.getX(), point.getY(), point.Is3D() != 0 ? point.getZ() : kNoNumber);
  if (!std::isfinite(at.x) || !std::isfinite(at.y)) {
    text_.losses.add(Loss::kNotFinitePlace);
    return;
  }
  replaceCoordinates(group.rows, row, at);
}

// The geometry holds: columns of the same kind follow it, and where they differ from it those of
// other kinds, which were not moved with it, are dropped.
void WrittenLayer::replaceCoordinates(Rows& rows, size_t row, const Vertex& at) {
  using Family = std::array<TVO_FieldId, 2>;
  constexpr Family kGrid = {TVO_FIELD_East, TVO_FIELD_North};
  constexpr Family kGeographic = {TVO_FIELD_Longitude, TVO_FIELD_Latitude};
  constexpr Family kGeocentric = {TVO_FIELD_X, TVO_FIELD_Y};
  const Form form = text_.system(frame_.system).form;
  // Without a system a point is what its columns say.
  const auto said = [&](const Family& family) {
    return form == Form::kNone && !rows.has(row, kGrid[0]) && rows.has(row, family[0]);
  };
  const Family& mine = form == Form::kGeographic || said(kGeographic)   ? kGeographic
                       : form == Form::kGeocentric || said(kGeocentric) ? kGeocentric
                                                                        : kGrid;
  const auto differs = [&](TVO_FieldId id, double value) {
    return rows.has(row, id) && !(std::fabs(rows.get<double>(row, id) - value) < kSame);
  };
  const bool moved = differs(mine[0], at.x) || differs(mine[1], at.y);
  bool replaced = moved;
  for (const Family& other : {kGrid, kGeographic, kGeocentric}) {
    const bool stays = other == mine || (!moved && mine == kGrid);
    if (stays || !(rows.has(row, other[0]) || rows.has(row, other[1]))) continue;
    for (const TVO_FieldId id : other) rows.drop(row, id);
    replaced = true;
  }
  rows.set(row, mine[0], at.x);
  rows.set(row, mine[1], at.y);
  const bool hasHeight = std::isfinite(at.z);
  if (mine == kGeocentric) {
    if (hasHeight) rows.set(row, TVO_FIELD_Z, at.z);
  } else if (hasHeight) {
    const bool ellipsoidal = !rows.has(row, TVO_FIELD_Elevation) &&
                             rows.has(row, TVO_FIELD_Height) && !differs(TVO_FIELD_Height, at.z);
    replaced = replaced || differs(TVO_FIELD_Elevation, at.z);
    if (!ellipsoidal) rows.set(row, TVO_FIELD_Elevation, at.z);
  }
  if (replaced) text_.losses.add(Loss::kMovedColumn);
}

// The vertices without those that repeat the one before; of a ring also without its last one.
// Empty, and counted, when a coordinate is no number.
std::vector<uint32_t> WrittenLayer::verticesOf(const OGRSimpleCurve& line, bool closed) {
  std::vector<Vertex> places;
  for (int i = 0; i < line.getNumPoints(); ++i) {
    const Vertex at =
        inFile(line.getX(i), line.getY(i), line.Is3D() != 0 ? line.getZ(i) : kNoNumber);
    if (!std::isfinite(at.x) || !std::isfinite(at.y)) {
      text_.losses.add(Loss::kNotFinitePlace);
      return {};
    }
    places.push_back(at);
  }
  std::vector<uint32_t> vertices;
  size_t repeated = 0;
  for (const Vertex& at : places) {
    const uint32_t vertex = text_.addVertex(frame_.system, at);
    if (!vertices.empty() && vertices.back() == vertex) {
      ++repeated;
    } else {
      vertices.push_back(vertex);
    }
  }
  if (repeated != 0) text_.losses.add(Loss::kRepeatedVertex, repeated);
  if (closed && vertices.size() > 1 && vertices.front() == vertices.back()) vertices.pop_back();
  return vertices;
}

void WrittenLayer::addLine(Group& group, size_t row, const OGRSimpleCurve& line) {
  const std::vector<uint32_t> vertices = verticesOf(line, false);
  if (vertices.size() == 1) text_.losses.add(Loss::kNoLength);
  for (size_t i = 1; i < vertices.size(); ++i) {
    group.edges.push_back({static_cast<uint32_t>(row), vertices[i - 1], vertices[i]});
  }
}

double WrittenLayer::ringArea(const std::vector<uint32_t>& ring) const {
  double area = 0;
  const Vertex& first = text_.vertex(ring.front());
  for (size_t i = 0; i < ring.size(); ++i) {
    const Vertex& a = text_.vertex(ring[i]);
    const Vertex& b = text_.vertex(ring[(i + 1) % ring.size()]);
    area += (a.x - first.x) * (b.y - first.y) - (b.x - first.x) * (a.y - first.y);
  }
  return std::fabs(area);
}

// A ring ends where it comes back to its first vertex, so it begins with one that occurs once.
void WrittenLayer::addRing(Group& group, size_t row, const OGRSimpleCurve& ring) {
  std::vector<uint32_t> vertices = verticesOf(ring, true);
  if (vertices.empty()) return;
  if (vertices.size() < 3 || !(ringArea(vertices) > 0)) {
    text_.losses.add(Loss::kNoArea);
    return;
  }
  std::multiset<uint32_t> all(vertices.begin(), vertices.end());
  const auto start = std::ranges::find_if(vertices, [&](uint32_t v) { return all.count(v) == 1; });
  if (start != vertices.end()) std::rotate(vertices.begin(), start, vertices.end());
  for (size_t i = 0; i < vertices.size(); ++i) {
    group.edges.push_back(
        {static_cast<uint32_t>(row), vertices[i], vertices[(i + 1) % vertices.size()]});
  }
}

// --- The data set -------------------------------------------------------------------------------

namespace {

constexpr int kFewestDecimals = 2, kMostDecimals = 12;

constexpr char kDatasetOptions[] =
    "<CreationOptionList>"
    "<Option name='DECIMALS' type='int' min='2' max='12' default='4' description='Decimals of "
    "coordinates and lengths'/>"
    "<Option name='GEOGRAPHIC_DECIMALS' type='int' min='2' max='12' default='10' "
    "description='Decimals of longitudes, latitudes and attributes'/>"
    "<Option name='LINEAR' type='string-select' default='METRE' description='Unit of coordinates "
    "and lengths'><Value>METRE</Value><Value>INT_FEET</Value><Value>US_SURVEY_FEET</Value>"
    "<Value>LINKS</Value></Option>"
    "<Option name='ALIGN' type='boolean' default='YES' description='Align the columns'/>"
    "</CreationOptionList>";

constexpr char kLayerOptions[] =
    "<LayerCreationOptionList>"
    "<Option name='CODE' type='string' description='Code of the features, 8 characters at most; "
    "default: from the name of the layer'/>"
    "</LayerCreationOptionList>";

bool refuse(const char* path, const char* why) {
  CPLError(CE_Failure, CPLE_OpenFailed, "%s: %s", path, why);
  return false;
}

// Nothing but a survey is replaced.
bool mayWrite(const char* path) {
  VSIStatBufL stat;
  if (VSIStatL(path, &stat) == 0) {
    if (VSI_ISDIR(stat.st_mode)) return refuse(path, "it is a folder");
    constexpr const char* kOnly[] = {"TAVO", nullptr};
    const bool text = !VSI_ISREG(stat.st_mode) || stat.st_size == 0 ||
                      GDALIdentifyDriverEx(path, GDAL_OF_VECTOR, kOnly, nullptr) != nullptr;
    return text || refuse(path, "it exists and is no survey, so it is not replaced");
  }
  const std::string folder = CPLGetPath(path);
  const bool there = folder.empty() || STARTS_WITH(path, "/vsi") ||
                     (VSIStatL(folder.c_str(), &stat) == 0 && VSI_ISDIR(stat.st_mode));
  return there || refuse(path, "its folder is not there");
}

bool takeDecimals(CSLConstList options, const char* name, uint8_t& decimals) {
  const char* const given = CSLFetchNameValue(options, name);
  if (given == nullptr) return true;
  const int count = atoi(given);
  if (CPLGetValueType(given) != CPL_VALUE_INTEGER || count < kFewestDecimals ||
      count > kMostDecimals) {
    return refuse(name, "a whole number from 2 to 12 is wanted");
  }
  decimals = static_cast<uint8_t>(count);
  return true;
}

}  // namespace

bool WrittenDataset::take(CSLConstList options) {
  const char* const linear = CSLFetchNameValueDef(options, "LINEAR", "METRE");
  text_.units.geographic = TVO_ENUM_DEGS;
  text_.units.linear = EQUAL(linear, "METRE")            ? TVO_ENUM_METRE
                       : EQUAL(linear, "INT_FEET")       ? TVO_ENUM_INT_FEET
                       : EQUAL(linear, "US_SURVEY_FEET") ? TVO_ENUM_US_SURVEY_FEET
                       : EQUAL(linear, "LINKS")          ? TVO_ENUM_LINKS
                                                         : TVO_ENUM_UNKNOWN;
  if (text_.units.linear == TVO_ENUM_UNKNOWN) {
    return refuse("LINEAR", "METRE, INT_FEET, US_SURVEY_FEET or LINKS is wanted");
  }
  text_.options.align = CPLTestBool(CSLFetchNameValueDef(options, "ALIGN", "YES")) ? 1 : 0;
  return takeDecimals(options, "DECIMALS", text_.options.linear_decimals) &&
         takeDecimals(options, "GEOGRAPHIC_DECIMALS", text_.options.geographic_decimals);
}

GDALDataset* WrittenDataset::create(const char* path, int, int, int bands, GDALDataType,
                                    char** options) {
  if (bands != 0) {
    refuse(path, "a survey holds no raster");
    return nullptr;
  }
  std::unique_ptr<WrittenDataset> made(new WrittenDataset(path));
  made->failed_ = !made->take(options) || !mayWrite(path);
  if (made->failed_) return nullptr;
  made->SetDescription(path);
  made->eAccess = GA_Update;
  return made.release();
}

// GDAL asks for no result of closing: an error is said.
WrittenDataset::~WrittenDataset() {
  if (bSuppressOnClose) return;
  if (failed_) {
    if (GetDescription()[0] != '\0') refuse(GetDescription(), "after an error it is not written");
    return;
  }
  try {
    for (const auto& layer : layers_) layer->settle();
    text_.write(GetDescription());
  } catch (const std::bad_alloc&) {
    CPLError(CE_Failure, CPLE_OutOfMemory, "%s: out of memory", GetDescription());
  }
}

OGRLayer* WrittenDataset::GetLayer(int index) {
  return index < 0 || index >= GetLayerCount() ? nullptr
                                               : layers_[static_cast<size_t>(index)].get();
}

int WrittenDataset::TestCapability(const char* capability) {
  for (const char* const one : {ODsCCreateLayer, ODsCZGeometries, ODsCCurveGeometries,
                                ODsCMeasuredGeometries, ODsCAddFieldDomain}) {
    if (EQUAL(capability, one)) return TRUE;
  }
  return FALSE;
}

// Elements of a choice list are the codes of the values, as they stand in the fields.
bool WrittenDataset::AddFieldDomain(std::unique_ptr<OGRFieldDomain>&& domain,
                                    std::string& failure) {
  if (domain->GetDomainType() != OFDT_CODED) {
    failure = "A survey has lists of choices and no other domains";
    text_.losses.say("Domains that are no lists of choices are not kept");
    return false;
  }
  std::vector<std::string>& elements = text_.choices[domain->GetName()];
  elements.clear();
  const auto* const coded = static_cast<const OGRCodedFieldDomain*>(domain.get());
  for (const OGRCodedValue* value = coded->GetEnumeration(); value->pszCode != nullptr; ++value) {
    elements.emplace_back(value->pszCode);
    const bool described = value->pszValue != nullptr && !EQUAL(value->pszValue, value->pszCode);
    if (described) text_.losses.add(Loss::kDescription);
  }
  m_oMapFieldDomains[domain->GetName()] = std::move(domain);
  return true;
}

OGRLayer* WrittenDataset::ICreateLayer(const char* name, OGRSpatialReference* system,
                                       OGRwkbGeometryType type, char** options) {
  for (const auto& layer : layers_) {
    if (!EQUAL(layer->GetName(), name)) continue;
    CPLError(CE_Failure, CPLE_AppDefined, "Layer %s exists", name);
    return nullptr;
  }
  const char* const code = CSLFetchNameValueDef(options, "CODE", "");
  layers_.push_back(
      std::make_unique<WrittenLayer>(text_, failed_, name, type, system,
                                     fitted(code, sizeof(TVO_CodeRecord::Code) - 1, text_.losses)));
  return layers_.back().get();
}

void describeWriting(GDALDriver& driver) {
  constexpr struct {
    const char* key;
    const char* value;
  } kItems[] = {
      {GDAL_DCAP_CREATE, "YES"},
      {GDAL_DCAP_CREATE_LAYER, "YES"},
      {GDAL_DCAP_CREATE_FIELD, "YES"},
      {GDAL_DMD_CREATIONOPTIONLIST, kDatasetOptions},
      {GDAL_DS_LAYER_CREATIONOPTIONLIST, kLayerOptions},
      {GDAL_DMD_CREATIONFIELDDATATYPES,
       "Integer Integer64 Real String Date Time DateTime IntegerList Integer64List RealList "
       "StringList Binary"},
      {GDAL_DMD_CREATIONFIELDDATASUBTYPES, "Boolean Int16 Float32 JSON UUID"},
      {GDAL_DMD_CREATION_FIELD_DOMAIN_TYPES, "Coded"},
  };
  for (const auto& item : kItems) driver.SetMetadataItem(item.key, item.value);
  driver.pfnCreate = &WrittenDataset::create;
  // Before it creates a data set GDAL deletes the one that is there, for which a survey need not be
  // read.
  driver.pfnDelete = [](const char* path) { return VSIUnlink(path) == 0 ? CE_None : CE_Failure; };
}

}  // namespace tavo::gdal

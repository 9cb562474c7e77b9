// Which layers are taken, and how those of several surveys become one.
#include "plan.h"

#include <algorithm>
#include <array>

#include <cpl_conv.h>
#include <gdal_priv.h>

namespace tavo::tool {

namespace {

constexpr std::array kDrawn = {"points", "lines", "polygons", "annotations", "texts"};
// Layers that come once for each reference system, and how their names then go on.
constexpr std::array kPlaced = {"points", "lines",  "polygons",     "edges",   "annotations",
                                "texts",  "setups", "observations", "findings"};
constexpr std::array kSystems = {"_set", "_zone", "_geographic", "_geocentric", "_grid"};

bool isDrawn(const std::string& kind) { return std::ranges::find(kDrawn, kind) != kDrawn.end(); }

SpatialReference copyOf(const OGRSpatialReference& system) {
  return {system.Clone(), [](OGRSpatialReference* one) { one->Release(); }};
}

bool hasUnknownDatum(const OGRSpatialReference& system) {
  const char* const datum = system.GetAttrValue("DATUM");
  return datum == nullptr || EQUALN(datum, "unknown", 7);
}

OGRwkbGeometryType widened(OGRwkbGeometryType a, OGRwkbGeometryType b) {
  const bool high = wkbHasZ(a) != 0 || wkbHasZ(b) != 0;
  const OGRwkbGeometryType flat = wkbFlatten(a) == wkbFlatten(b) ? wkbFlatten(a) : wkbUnknown;
  return high && flat != wkbNone ? wkbSetZ(flat) : flat;
}

}  // namespace

bool isSameSystem(const OGRSpatialReference* a, const OGRSpatialReference* b) {
  if (a == nullptr || b == nullptr) return a == b;
  constexpr const char* kOptions[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES",
                                      "CRITERION=EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS", nullptr};
  return a->IsSame(b, kOptions) != 0;
}

OGRFieldType widened(OGRFieldType a, OGRFieldType b) {
  constexpr std::array kNumbers = {OFTInteger, OFTInteger64, OFTReal};
  const auto* const first = std::ranges::find(kNumbers, a);
  const auto* const second = std::ranges::find(kNumbers, b);
  if (a == b) return a;
  const bool numbers = first != kNumbers.end() && second != kNumbers.end();
  return numbers ? *std::max(first, second) : OFTString;
}

OGRFieldDefn* PlannedLayer::field(const std::string& wanted) const {
  const auto found = std::ranges::find_if(
      fields, [&](const auto& field) { return EQUAL(field->GetNameRef(), wanted.c_str()); });
  return found == fields.end() ? nullptr : found->get();
}

Plan::Plan(const ExportOptions& options, const GdalFormat& format)
    : options_(options), format_(format) {}

std::string Plan::prepare() {
  const auto read = [](const std::string& text) {
    const SpatialReference made(new OGRSpatialReference,
                                [](OGRSpatialReference* one) { one->Release(); });
    made->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return made->SetFromUserInput(text.c_str()) == OGRERR_NONE ? made : nullptr;
  };
  if (!options_.crs.empty() && read(options_.crs) == nullptr) {
    return "--crs: '" + options_.crs + "' names no reference system; use EPSG:n or WKT";
  }
  const SpatialReference wgs84 = read("EPSG:4326");
  if (!options_.toCrs.empty()) {
    moved_ = read(options_.toCrs);
    if (moved_ == nullptr) {
      return "--to-crs: '" + options_.toCrs + "' names no reference system; use EPSG:n or WKT";
    }
    if (format_.wgs84 && !isSameSystem(moved_.get(), wgs84.get())) {
      return std::string(format_.name) +
             " is in WGS 84, as its standard asks; --to-crs goes with the other formats";
    }
  }
  if (format_.wgs84) moved_ = wgs84;
  return {};
}

std::string Plan::kindOf(const std::string& layer) {
  for (const char* const kind : kPlaced) {
    const std::string_view name(kind);
    if (!layer.starts_with(name)) continue;
    const std::string_view rest = std::string_view(layer).substr(name.size());
    const bool one = std::ranges::any_of(
        kSystems, [rest](const char* system) { return rest.starts_with(system); });
    if (one) return kind;
  }
  return layer;
}

bool Plan::wants(const OGRLayer& layer) const {
  const std::string name = const_cast<OGRLayer&>(layer).GetName();
  const std::string kind = kindOf(name);
  const std::vector<std::string>& wanted = options_.layers;
  if (!wanted.empty()) {
    return std::ranges::find(wanted, name) != wanted.end() ||
           std::ranges::find(wanted, kind) != wanted.end();
  }
  const bool placed = const_cast<OGRLayer&>(layer).GetGeomType() != wkbNone;
  switch (format_.scope) {
    case Scope::kAll:
      return true;
    case Scope::kPlaces:
      return placed && kind != "findings";
    default:
      return isDrawn(kind);
  }
}

// What is moved into one system needs no layer for each.
std::string Plan::nameOf(const OGRLayer& layer) const {
  const std::string name = const_cast<OGRLayer&>(layer).GetName();
  if (format_.files == Files::kOneLayer) return CPLGetBasename(options_.output.c_str());
  if (format_.files == Files::kDrawing) return "entities";
  return moved_ == nullptr ? name : kindOf(name);
}

int Plan::placeOf(const OGRLayer& layer) const {
  if (!wants(layer)) return -1;
  const auto found = std::ranges::find(layers_, nameOf(layer), &PlannedLayer::name);
  return found == layers_.end() ? -1 : static_cast<int>(found - layers_.begin());
}

SpatialReference Plan::systemFor(OGRLayer& layer) const {
  const OGRSpatialReference* const system = layer.GetSpatialRef();
  return moved_ == nullptr || system == nullptr || isSameSystem(system, moved_.get()) ? nullptr
                                                                                      : moved_;
}

std::string Plan::addSystem(OGRLayer& layer, const std::string& survey, bool first,
                            PlannedLayer* into) {
  const OGRSpatialReference* const own = layer.GetSpatialRef();
  const std::string name = layer.GetName();
  if (moved_ != nullptr && own == nullptr) {
    return "survey '" + survey + "': layer '" + name +
           "' has no reference system, so it cannot be moved into another; name it with --crs";
  }
  if (moved_ != nullptr && hasUnknownDatum(*own)) {
    if (options_.strict) {
      return "survey '" + survey +
             "': the datum of its reference system is unknown, so --strict "
             "does not move it into another; name it with --crs";
    }
    guessed_.insert(survey);
  }
  const OGRSpatialReference* const now = moved_ != nullptr ? moved_.get() : own;
  if (first) {
    into->system = now == nullptr ? nullptr : copyOf(*now);
  } else if (!isSameSystem(into->system.get(), now)) {
    return "survey '" + survey + "': layer '" + name +
           "' is in another reference system than what it would be added to; use --to-crs";
  }
  return {};
}

void Plan::addField(const OGRFieldDefn& field, PlannedLayer* into) const {
  OGRFieldDefn* const there = into->field(field.GetNameRef());
  if (there == nullptr) {
    into->fields.push_back(std::make_unique<OGRFieldDefn>(&field));
    // Keywords of one survey are the wrong choices for another's column of that name.
    const bool mixed = format_.files == Files::kOneLayer || options_.files.size() > 1;
    if (mixed) into->fields.back()->SetDomainName({});
    return;
  }
  const OGRFieldType type = widened(there->GetType(), field.GetType());
  if (type == there->GetType() && there->GetSubType() == field.GetSubType()) {
    const bool limited = there->GetWidth() != 0 && field.GetWidth() != 0;
    there->SetWidth(limited ? std::max(there->GetWidth(), field.GetWidth()) : 0);
    return;
  }
  there->SetSubType(OFSTNone);
  there->SetType(type);
  there->SetWidth(0);
}

std::string Plan::add(GDALDataset& survey, const std::string& name) {
  for (OGRLayer* const layer : survey.GetLayers()) {
    const auto rows = static_cast<uint64_t>(std::max<GIntBig>(layer->GetFeatureCount(), 0));
    seen_.insert(kindOf(layer->GetName()));
    if (!wants(*layer)) {
      // Errors among the findings have been told of.
      if (kindOf(layer->GetName()) != "findings") leftOut_[kindOf(layer->GetName())] += rows;
      continue;
    }
    const std::string target = nameOf(*layer);
    auto into = std::ranges::find(layers_, target, &PlannedLayer::name);
    const bool first = into == layers_.end();
    if (first) {
      layers_.emplace_back().name = target;
      into = layers_.end() - 1;
      const char* const own = format_.files == Files::kOneLayer ? kLayerField
                              : format_.labels                  ? kLabelField
                                                                : nullptr;
      if (own != nullptr) into->fields.push_back(std::make_unique<OGRFieldDefn>(own, OFTString));
    }
    const OGRwkbGeometryType type = layer->GetGeomType();
    const bool firstPlace = first || into->geometry == wkbNone;
    into->geometry = first ? type : widened(into->geometry, type);
    into->rows += rows;
    if (type != wkbNone) {
      std::string problem = addSystem(*layer, name, firstPlace, &*into);
      if (!problem.empty()) return problem;
    }
    OGRFeatureDefn& columns = *layer->GetLayerDefn();
    for (int n = 0; n < columns.GetFieldCount(); ++n) {
      const OGRFieldDefn& field = *columns.GetFieldDefn(n);
      addField(field, &*into);
      const OGRFieldDomain* const domain = survey.GetFieldDomain(field.GetDomainName());
      if (domain != nullptr) domains_[domain->GetName()].reset(domain->Clone());
    }
  }
  return {};
}

std::string Plan::check() const {
  const auto known = [this](const std::string& wanted) {
    return seen_.contains(wanted) ||
           std::ranges::any_of(layers_, [&wanted](const PlannedLayer& layer) {
             return layer.name == wanted || kindOf(layer.name) == wanted;
           });
  };
  const auto unknown = std::ranges::find_if_not(options_.layers, known);
  if (unknown == options_.layers.end()) return layers_.empty() ? "there is nothing to export" : "";
  std::string list;
  for (const std::string& name : seen_) list.append(list.empty() ? "" : ", ").append(name);
  return "there is no layer '" + *unknown + "'; there are " + list;
}

}  // namespace tavo::tool

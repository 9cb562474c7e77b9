// Features from layer to layer.
#include "copy.h"

#include <cstdio>
#include <string_view>

#include "interrupt.h"

namespace tavo::tool {

namespace {

// Rows between two looks at the clock of the one who waits.
constexpr uint64_t kStride = 1024;

std::string isoDate(const OGRFeature& feature, int field) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, zone = 0;
  float second = 0;
  feature.GetFieldAsDateTime(field, &year, &month, &day, &hour, &minute, &second, &zone);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%05.2f", year, month, day, hour,
                minute, static_cast<double>(second));
  return text;
}

using Transformation = std::unique_ptr<OGRCoordinateTransformation>;

}  // namespace

Copy::Copy(const Plan& plan, const GdalFormat& format, Target* target, GdalMessages* messages)
    : plan_(plan), format_(format), target_(*target), messages_(*messages) {
  if (format.files != Files::kDrawing) return;
  const OGRSpatialReference* const system = plan.layers().front().system.get();
  drawing_.emplace(target_.layers().front().layer,
                   system != nullptr && system->IsGeographic() != 0);
}

std::string Copy::add(GDALDataset& survey, const std::string& name, std::optional<size_t> only,
                      const Progress& progress) {
  rows_ = 0;
  for (OGRLayer* const layer : survey.GetLayers()) {
    const int place = plan_.placeOf(*layer);
    if (place < 0) continue;
    const auto index = static_cast<size_t>(place);
    if (only && *only != index) continue;
    std::string problem =
        addLayer(*layer, &target_.layers()[index], plan_.layers()[index], name, progress);
    if (!problem.empty() || interrupted()) return problem;
  }
  return {};
}

Copy::Columns Copy::columnsOf(OGRFeatureDefn& from, const PlannedLayer& planned,
                              const TargetLayer& into) {
  Columns columns;
  for (int n = 0; n < from.GetFieldCount(); ++n) {
    const OGRFieldDefn& field = *from.GetFieldDefn(n);
    int place = -1;
    for (size_t i = 0; i < into.fields.size(); ++i) {
      if (EQUAL(planned.fields[i]->GetNameRef(), field.GetNameRef())) place = into.fields[i];
    }
    columns.places.push_back(place);
    if (place < 0 || field.GetType() != OFTDateTime) continue;
    const bool text = into.layer->GetLayerDefn()->GetFieldDefn(place)->GetType() == OFTString;
    if (text) columns.dates.emplace_back(n, place);
  }
  return columns;
}

std::string Copy::addLayer(OGRLayer& layer, TargetLayer* into, const PlannedLayer& planned,
                           const std::string& survey, const Progress& progress) {
  const auto failed = [&](const std::string& why) {
    return "survey '" + survey + "', layer '" + layer.GetName() + "': " + why;
  };
  const std::string kind = Plan::kindOf(layer.GetName());
  messages_.clear();
  Transformation move;
  if (const SpatialReference system = plan_.systemFor(layer); system != nullptr) {
    OGRSpatialReference own(*layer.GetSpatialRef());
    own.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    move.reset(OGRCreateCoordinateTransformation(&own, system.get()));
    if (move == nullptr)
      return failed(
          "its reference system is none whose places can be moved into another; name it with "
          "--crs, or take a projection with --ignore-transformations");
  }
  const Columns columns = columnsOf(*layer.GetLayerDefn(), planned, *into);
  layer.ResetReading();
  OGRFeatureUniquePtr feature;
  while (feature.reset(layer.GetNextFeature()), feature != nullptr) {
    OGRGeometry* const geometry = feature->GetGeometryRef();
    const bool moved =
        geometry == nullptr || move == nullptr || geometry->transform(move.get()) == OGRERR_NONE;
    if (!moved) return failed("a place cannot be moved into that reference system");
    std::string problem = addFeature(*feature, kind, columns, into, survey);
    if (!problem.empty()) return failed(problem);
    if (++rows_ % kStride == 0 && !progress(rows_)) return {};
  }
  const std::vector<std::string>& said = messages_.warnings();
  warnings_.insert(warnings_.end(), said.begin(), said.end());
  return {};
}

std::string Copy::addFeature(OGRFeature& feature, const std::string& kind, const Columns& columns,
                             TargetLayer* into, const std::string& survey) {
  OGRGeometry* const geometry = feature.GetGeometryRef();
  const bool empty = geometry == nullptr || geometry->IsEmpty() != 0;
  if (empty && format_.needsPlace) {
    ++withoutPlace_;
    return {};
  }
  const auto failure = [&]() {
    return messages_.failure().empty() ? std::string("a row cannot be written")
                                       : messages_.failure();
  };
  if (drawing_) {
    ++into->rows;
    return drawing_->add(feature, kind) ? "" : failure();
  }
  OGRFeature made(into->layer->GetLayerDefn());
  if (made.SetFieldsFrom(&feature, columns.places.data(), TRUE) != OGRERR_NONE) return failure();
  for (const auto& [from, to] : columns.dates) {
    if (feature.IsFieldSetAndNotNull(from) == 0) continue;
    made.SetField(to, isoDate(feature, from).c_str());
  }
  made.SetField(into->survey, survey.c_str());
  if (format_.files == Files::kOneLayer) made.SetField(into->fields.front(), kind.c_str());
  if (format_.labels) {
    const std::string label = labelOf(feature);
    if (!label.empty()) made.SetField(into->fields.front(), label.c_str());
  }
  const std::string_view style =
      feature.GetStyleString() == nullptr ? "" : feature.GetStyleString();
  // GDAL's writer of KML crashes on a pen without a colour.
  const bool wanted = !format_.sequential || style.find("c:#") != style.npos;
  if (!style.empty() && wanted) made.SetStyleString(feature.GetStyleString());
  if (!empty) {
    const bool flat = geometry->Is3D() == 0 && wkbHasZ(into->layer->GetGeomType()) != 0;
    if (flat && format_.zeroHeights) {
      ++zeroHeights_;
      geometry->set3D(TRUE);
    }
    made.SetGeometryDirectly(feature.StealGeometry());
  }
  ++into->rows;
  return into->layer->CreateFeature(&made) == OGRERR_NONE ? "" : failure();
}

}  // namespace tavo::tool

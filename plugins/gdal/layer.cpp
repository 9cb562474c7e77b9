// Reading of any layer.
#include "layer.h"

#include <exception>
#include <memory>
#include <set>

#include <cpl_error.h>

namespace tavo::gdal {

namespace {

// What a call of GDAL's answers when memory runs out.
template <class Result, class Call>
Result guarded(Result failed, Call call) {
  try {
    return call();
  } catch (const std::exception& error) {
    CPLError(CE_Failure, CPLE_OutOfMemory, "%s", error.what());
    return failed;
  }
}

}  // namespace

Layer::Layer(const std::string& name, OGRwkbGeometryType type, const OGRSpatialReference* system)
    : definition_(new OGRFeatureDefn(name.c_str())) {
  definition_->Reference();
  definition_->SetGeomType(type);
  if (type != wkbNone && system != nullptr) {
    OGRSpatialReference* const own = system->Clone();
    definition_->GetGeomFieldDefn(0)->SetSpatialRef(own);
    own->Release();
  }
  SetDescription(name.c_str());
}

Layer::~Layer() { definition_->Release(); }

void Layer::declare(std::vector<Column> columns) {
  std::set<CPLString> taken;
  for (Column& column : columns) {
    std::string name = column.name;
    for (int twin = 2; !taken.insert(CPLString(name).toupper()).second; ++twin) {
      name = column.name + "_" + std::to_string(twin);
    }
    OGRFieldDefn field(name.c_str(), column.type);
    field.SetWidth(column.width);
    if (!column.unit.empty()) {
      field.SetAlternativeName((name + " [" + column.unit + "]").c_str());
    }
    field.SetDomainName(column.domain);
    definition_->AddFieldDefn(&field);
    columns_.push_back(std::move(column));
  }
}

std::string Layer::styleOf(const Row&) const { return {}; }

OGRFeature* Layer::make(size_t row) const {
  auto feature = std::make_unique<OGRFeature>(definition_);
  feature->SetFID(static_cast<GIntBig>(row) + 1);
  const Row from = rowOf(row);
  for (int i = 0; i < static_cast<int>(columns_.size()); ++i) {
    if (definition_->GetFieldDefn(i)->IsIgnored()) continue;
    columns_[static_cast<size_t>(i)].fill(*feature, i, from);
    if (!feature->IsFieldSet(i)) feature->SetFieldNull(i);
  }
  const bool drawn = definition_->GetGeomFieldCount() != 0;
  if (drawn && !definition_->IsGeometryIgnored()) {
    if (OGRGeometry* const geometry = geometryOf(row)) {
      geometry->assignSpatialReference(definition_->GetGeomFieldDefn(0)->GetSpatialRef());
      feature->SetGeometryDirectly(geometry);
    }
  }
  if (drawn && !definition_->IsStyleIgnored()) {
    const std::string style = styleOf(from);
    if (!style.empty()) feature->SetStyleString(style.c_str());
  }
  return feature.release();
}

OGRFeature* Layer::GetNextFeature() {
  return guarded<OGRFeature*>(nullptr, [&]() -> OGRFeature* {
    while (next_ < rowCount()) {
      const size_t row = next_++;
      OGREnvelope envelope;
      if (m_poFilterGeom != nullptr &&
          (!envelopeOf(row, envelope) || !m_sFilterEnvelope.Intersects(envelope))) {
        continue;
      }
      std::unique_ptr<OGRFeature> feature(make(row));
      ++m_nFeaturesRead;
      if ((m_poFilterGeom == nullptr || FilterGeometry(feature->GetGeometryRef())) &&
          (m_poAttrQuery == nullptr || m_poAttrQuery->Evaluate(feature.get()))) {
        return feature.release();
      }
    }
    return nullptr;
  });
}

OGRErr Layer::SetNextByIndex(GIntBig index) {
  if (index < 0) return OGRERR_FAILURE;
  if (m_poFilterGeom != nullptr || m_poAttrQuery != nullptr) {
    return OGRLayer::SetNextByIndex(index);
  }
  next_ = static_cast<size_t>(index);
  return OGRERR_NONE;
}

OGRFeature* Layer::GetFeature(GIntBig fid) {
  if (fid < 1 || static_cast<GUIntBig>(fid) > rowCount()) return nullptr;
  return guarded<OGRFeature*>(nullptr, [&] { return make(static_cast<size_t>(fid - 1)); });
}

GIntBig Layer::GetFeatureCount(int force) {
  if (m_poFilterGeom != nullptr || m_poAttrQuery != nullptr) {
    return OGRLayer::GetFeatureCount(force);
  }
  return static_cast<GIntBig>(rowCount());
}

OGRErr Layer::GetExtent(OGREnvelope* extent, int force) {
  if (!extentKnown_) {
    OGREnvelope one;
    for (size_t row = 0; row < rowCount(); ++row) {
      if (envelopeOf(row, one)) extent_.Merge(one);
    }
    extentKnown_ = true;
  }
  if (!extent_.IsInit() && lender_ != nullptr) return lender_->GetExtent(extent, force);
  *extent = extent_;
  return extent_.IsInit() ? OGRERR_NONE : OGRERR_FAILURE;
}

OGRErr Layer::GetExtent(int field, OGREnvelope* extent, int force) {
  return field == 0 ? GetExtent(extent, force) : OGRLayer::GetExtent(field, extent, force);
}

int Layer::TestCapability(const char* capability) {
  const bool all = m_poFilterGeom == nullptr && m_poAttrQuery == nullptr;
  if (EQUAL(capability, OLCFastFeatureCount) || EQUAL(capability, OLCFastSetNextByIndex)) {
    return all;
  }
  constexpr const char* kAble[] = {OLCRandomRead, OLCFastGetExtent, OLCStringsAsUTF8,
                                   OLCIgnoreFields, OLCZGeometries};
  for (const char* const able : kAble) {
    if (EQUAL(capability, able)) return TRUE;
  }
  return FALSE;
}

}  // namespace tavo::gdal

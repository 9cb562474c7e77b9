// What all layers of a survey have in common: reading in order or by number, filters, count,
// extent.
#pragma once

#include <string>
#include <vector>

#include <ogrsf_frmts.h>

#include "columns.h"

namespace tavo::gdal {

class Layer : public OGRLayer {
 public:
  ~Layer() override;
  Layer(const Layer&) = delete;
  Layer& operator=(const Layer&) = delete;

  OGRFeatureDefn* GetLayerDefn() override { return definition_; }
  void ResetReading() override { next_ = 0; }
  OGRFeature* GetNextFeature() override;
  OGRErr SetNextByIndex(GIntBig index) override;
  OGRFeature* GetFeature(GIntBig fid) override;
  GIntBig GetFeatureCount(int force) override;
  OGRErr GetExtent(OGREnvelope* extent, int force) override;
  OGRErr GetExtent(int field, OGREnvelope* extent, int force) override;
  int TestCapability(const char* capability) override;
  // Where nothing of this layer has a place, its extent is that of the other one, which must live
  // as long: QGIS takes a layer without an extent to reach from one end of the world to the other.
  void borrowExtent(Layer& other) { lender_ = &other; }

 protected:
  // system may be null, and stays the caller's.
  Layer(const std::string& name, OGRwkbGeometryType type, const OGRSpatialReference* system);

  // Adds the columns as fields. Names that differ in case alone get a number.
  void declare(std::vector<Column> columns);
  OGRwkbGeometryType geometryType() const { return definition_->GetGeomType(); }

  // Rows are counted from 0; their FID is one more.
  virtual size_t rowCount() const = 0;
  // False where the row has no geometry.
  virtual bool envelopeOf(size_t row, OGREnvelope& envelope) const = 0;
  // Null where it has none.
  virtual OGRGeometry* geometryOf(size_t row) const = 0;
  // What the columns are filled from.
  virtual Row rowOf(size_t row) const = 0;
  // A feature style, or empty.
  virtual std::string styleOf(const Row& row) const;

 private:
  OGRFeature* make(size_t row) const;

  OGRFeatureDefn* definition_;
  std::vector<Column> columns_;
  size_t next_ = 0;
  bool extentKnown_ = false;
  OGREnvelope extent_;
  Layer* lender_ = nullptr;
};

}  // namespace tavo::gdal

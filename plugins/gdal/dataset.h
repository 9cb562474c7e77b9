// A survey as a data set of GDAL's.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gdal_priv.h>

#include "attributes.h"
#include "findings.h"
#include "record_layer.h"
#include "source.h"
#include "styles.h"

namespace tavo::gdal {

class Dataset : public GDALDataset {
 public:
  // Reads the survey that an open file holds, to its end. Null, with an error said, when it cannot
  // be read or the options refuse it.
  static std::unique_ptr<Dataset> open(VSILFILE* file, const char* name, CSLConstList options);

  int GetLayerCount() override { return static_cast<int>(layers_.size()); }
  OGRLayer* GetLayer(int index) override;
  int TestCapability(const char* capability) override;

 private:
  Dataset(Survey survey, const tavo_geometry_options& geometry);

  bool makeSystems(const char* wanted);
  bool tellFindings(const char* name, bool strict) const;
  void makeLayers(bool all);
  // A layer for each system in which records of the types lie; none where there are no records.
  void addSpatial(const std::string& name, OGRwkbGeometryType geometry,
                  const std::vector<uint32_t>& types, bool all);
  void addTable(const std::string& name, const std::vector<uint32_t>& types, bool all);
  void addFindings();
  void addPlaced(uint32_t system, std::unique_ptr<Layer> layer);
  std::vector<Column> columnsOf(const std::string& name, const std::vector<uint32_t>& types,
                                bool all);
  void addAttributes(std::vector<Column>& columns, Attributes attributes);
  const OGRSpatialReference* system(uint32_t index) const;
  std::string nameIn(const std::string& name, bool alone, uint32_t system) const;

  Source source_;
  Styles styles_;
  std::vector<std::unique_ptr<Attributes>> attributes_;        // what columns refer to
  std::vector<std::unique_ptr<OGRSpatialReference>> systems_;  // of each of the geometry's
  std::vector<Finding> findings_;
  std::vector<std::unique_ptr<Layer>> layers_;
  std::map<uint32_t, Layer*> firstIn_;  // by number of the reference system
};

}  // namespace tavo::gdal

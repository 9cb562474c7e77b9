// Layers whose rows are records of a survey, and the list of them.
#pragma once

#include <memory>
#include <vector>

#include "attributes.h"
#include "layer.h"
#include "styles.h"

namespace tavo::gdal {

// Records of one type in one reference system.
struct Part {
  uint32_t type = 0;
  size_t count = 0;             // rows
  std::vector<size_t> records;  // of each row; empty: row n is record n
  std::vector<size_t> shapes;   // of each row, SIZE_MAX: none; empty: the type has no shapes
};

// What stands in a layer, in one reference system.
struct Contents {
  std::string name;
  OGRwkbGeometryType geometry = wkbNone;
  const OGRSpatialReference* system = nullptr;
  std::vector<Part> parts;
  std::vector<Column> columns;
};

class RecordLayer : public Layer {
 public:
  RecordLayer(const Source& source, const Styles& styles, Contents contents);

 protected:
  size_t rowCount() const override { return rows_; }
  bool envelopeOf(size_t row, OGREnvelope& envelope) const override;
  OGRGeometry* geometryOf(size_t row) const override;
  Row rowOf(size_t row) const override;
  std::string styleOf(const Row& row) const override { return styles_.of(row); }

 private:
  struct Where {
    const Part* part;
    const tavo_position* places;
    size_t record, shape;
  };
  Where where(size_t row) const;
  const tavo_position* placeOf(const Where& at) const;

  const Source& source_;
  const Styles& styles_;
  std::vector<Part> parts_;
  std::vector<const tavo_position*> places_;  // of each part, null where it has none
  size_t rows_ = 0;
};

}  // namespace tavo::gdal

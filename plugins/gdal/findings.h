// What was found in a survey: by the check, by the geometry, and on the way into columns, as rows
// with the place of the record that they belong to.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "attributes.h"
#include "layer.h"

namespace tavo::gdal {

struct Finding {
  uint32_t kind;    // TAVO_NOTE, TAVO_WARNING, TAVO_ERROR
  uint32_t number;  // of the check, 0: another's
  uint64_t line;
  uint32_t column;
  std::string text;     // the offending text
  std::string message;  // one sentence
  tavo_position place;  // of its record; dimension 0: none
};

// All findings, the check's first, each group in the order of the file.
std::vector<Finding> findingsOf(const Source& source, const std::vector<Attributes::Left>& left);

// Those of one reference system.
class FindingLayer : public Layer {
 public:
  FindingLayer(const std::string& name, const OGRSpatialReference* system,
               std::vector<Finding> findings);

 protected:
  size_t rowCount() const override { return findings_.size(); }
  bool envelopeOf(size_t row, OGREnvelope& envelope) const override;
  OGRGeometry* geometryOf(size_t row) const override;
  Row rowOf(size_t row) const override { return {.index = row}; }

 private:
  std::vector<Finding> findings_;
};

}  // namespace tavo::gdal

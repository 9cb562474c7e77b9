// What an export makes of its surveys: the layers of the output with the columns of all surveys.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

#include "formats.h"
#include "verbs.h"

namespace tavo::tool {

// The column in which a row says what survey it is from, the first of every layer.
inline constexpr char kSurveyField[] = "survey";
// The column in which a row of a format with one layer for all says what it is.
inline constexpr char kLayerField[] = "layer";
// The column that a format with labels shows.
inline constexpr char kLabelField[] = "Name";

using SpatialReference = std::shared_ptr<OGRSpatialReference>;

// Whether both are one, whatever the order of their axes; both may be null.
bool isSameSystem(const OGRSpatialReference* a, const OGRSpatialReference* b);

// The type that holds the values of both.
OGRFieldType widened(OGRFieldType a, OGRFieldType b);

struct PlannedLayer {
  std::string name;
  OGRwkbGeometryType geometry = wkbNone;
  SpatialReference system;  // of the output; null: there is none, or no place
  std::vector<std::unique_ptr<OGRFieldDefn>> fields;  // behind that of the survey
  uint64_t rows = 0;

  OGRFieldDefn* field(const std::string& wanted) const;
};

class Plan {
 public:
  Plan(const ExportOptions& options, const GdalFormat& format);

  // Why the reference systems asked for are none, or an empty text.
  std::string prepare();
  // Takes a survey's layers in; why it cannot be exported so, or an empty text.
  std::string add(GDALDataset& survey, const std::string& name);
  // Why there is nothing to export, or an empty text.
  std::string check() const;

  const std::vector<PlannedLayer>& layers() const { return layers_; }
  // The place among layers() of what a survey's layer becomes part of, or -1: it is left out.
  int placeOf(const OGRLayer& layer) const;
  // Name of a survey's layer without the reference system, of which it is one of several.
  static std::string kindOf(const std::string& layer);

  // What the values of columns may be, by name; null: there is no such domain.
  const OGRFieldDomain* domain(const std::string& name) const {
    const auto found = domains_.find(name);
    return found == domains_.end() ? nullptr : found->second.get();
  }
  // Rows left out, since the format takes no such layer by itself, by its name.
  const std::map<std::string, uint64_t>& leftOut() const { return leftOut_; }
  // What the places of a layer must be moved by; null: they stay.
  SpatialReference systemFor(OGRLayer& layer) const;
  // Systems whose datum is unknown, and which are taken for one on their ellipsoid, by survey.
  const std::set<std::string>& guessed() const { return guessed_; }

 private:
  bool wants(const OGRLayer& layer) const;
  std::string nameOf(const OGRLayer& layer) const;
  std::string addSystem(OGRLayer& layer, const std::string& survey, bool first, PlannedLayer* into);
  void addField(const OGRFieldDefn& field, PlannedLayer* into) const;

  const ExportOptions& options_;
  const GdalFormat& format_;
  SpatialReference moved_;  // into which everything is moved; null: it stays
  std::vector<PlannedLayer> layers_;
  std::set<std::string> seen_;
  std::map<std::string, uint64_t> leftOut_;
  std::map<std::string, std::unique_ptr<OGRFieldDomain>> domains_;
  std::set<std::string> guessed_;
};

}  // namespace tavo::tool

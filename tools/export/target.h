// Where an export goes: files that take their place when all is complete, or a database, which
// takes everything in one transaction.
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gdal_priv.h>

#include "formats.h"
#include "gdal_messages.h"
#include "interrupt.h"
#include "plan.h"

namespace tavo::tool {

// A layer of the output: where the planned columns have come to stand in it.
struct TargetLayer {
  OGRLayer* layer = nullptr;
  bool created = false;  // it was not there before
  int survey = -1;
  std::vector<int> fields;
  uint64_t rows = 0;  // added by this export
};

class Target {
 public:
  Target(const ExportOptions& options, const GdalFormat& format, GdalMessages* messages)
      : options_(options), format_(format), messages_(*messages) {}
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
  // What was not finished leaves no trace.
  ~Target();

  // Makes the layers planned, or completes those that are there. These functions return why that
  // fails, or an empty text.
  std::string open(const Plan& plan, const std::vector<std::string>& surveys);
  // The next layer of a format that has one after the other.
  std::string beginLayer(const Plan& plan, size_t i);
  std::string finish(const Plan& plan);

  // Whether there is no room left for files.
  bool isDiskFull() const;

  // Beside those of the plan.
  std::vector<TargetLayer>& layers() { return layers_; }
  // Names that the format cut, "Description -> Descriptio".
  const std::vector<std::string>& cutNames() const { return cutNames_; }
  // The files made, when there are several.
  std::vector<std::string> files() const;

 private:
  struct File {
    std::string path;       // in the end
    std::string temporary;  // now
    GDALDatasetUniquePtr dataset;
  };

  bool adding() const { return options_.append || options_.replace; }
  std::string place(const Plan& plan);
  std::string makeFiles();
  std::string finishFiles(const Plan& plan);
  std::string takePlace() const;
  std::string openLayers(const Plan& plan);
  std::string finishDatabase();
  std::string openDatabase(const Plan& plan, const std::vector<std::string>& surveys);
  std::string connect(const std::vector<std::string>& surveys);
  std::string begin(GDALDataset& dataset, const std::vector<std::string>& surveys);
  bool mayChangeTables();
  std::string putLayer(GDALDataset& dataset, const Plan& plan, const PlannedLayer& planned,
                       TargetLayer* made);
  std::string createLayer(GDALDataset& dataset, const PlannedLayer& planned, OGRLayer** made) const;
  std::string takeLayer(OGRLayer& layer, const PlannedLayer& planned) const;
  std::string putField(GDALDataset& dataset, OGRLayer& layer, const OGRFieldDefn& wanted,
                       int* index);
  std::string damage(const File& file, uint64_t rows) const;
  std::string failed(const std::string& what) const;
  std::string nameFor(const std::string& name) const;

  const ExportOptions& options_;
  const GdalFormat& format_;
  GdalMessages& messages_;
  // Of files, which are removed then. A database drops by itself what it has not got whole, and the
  // program may have to wait for others there.
  std::optional<Interruptible> interruptible_;
  std::vector<File> files_;
  std::string folder_;  // of the temporary files; empty: there is none
  GDALDatasetUniquePtr database_;
  bool alone_ = true;            // nobody else writes, so that tables may be made and changed
  bool wantsToBeAlone_ = false;  // one must be
  std::set<OGRLayer*> ours_;     // of what is there already
  std::vector<TargetLayer> layers_;
  std::vector<std::string> cutNames_;
};

}  // namespace tavo::tool

// A survey that GDAL writes: layers take features, the text is written when the data set is closed.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include "survey_text.h"
#include "written_fields.h"

namespace tavo::gdal {

class WrittenLayer final : public OGRLayer {
 public:
  WrittenLayer(SurveyText& text, bool& failed, const char* name, OGRwkbGeometryType type,
               const OGRSpatialReference* system, std::string code);
  ~WrittenLayer() override;
  WrittenLayer(const WrittenLayer&) = delete;
  WrittenLayer& operator=(const WrittenLayer&) = delete;

  OGRFeatureDefn* GetLayerDefn() override { return definition_; }
  void ResetReading() override {}
  OGRFeature* GetNextFeature() override;
  OGRErr CreateField(OGRFieldDefn* field, int approximate) override;
  int TestCapability(const char* capability) override;
  // All features have come.
  void settle();

 protected:
  OGRErr ICreateFeature(OGRFeature* feature) override;

 private:
  enum class Role { kOpen, kThings, kTable, kLeftOut };
  // What a feature's geometry comes down to. Rings are those of one area.
  struct Parts;
  // Things of one kind.
  struct Share {
    Group* group = nullptr;
    bool own = false;
    size_t code = SIZE_MAX;
    std::vector<FieldTarget> targets;
  };

  Role roleOf() const;
  Kind kindOfLayer() const;
  Share& shareOf(Kind kind);
  void addThings(OGRFeature& feature);
  void addRecord(const OGRFeature& feature);
  size_t addRow(Share& share, const OGRFeature& feature, bool first);
  void fill(Share& share, size_t row, const OGRFeature& feature);
  void place(Group& group, size_t row, const OGRPoint& point);
  void replaceCoordinates(Rows& rows, size_t row, const Vertex& at);
  void addLine(Group& group, size_t row, const OGRSimpleCurve& line);
  void addRing(Group& group, size_t row, const OGRSimpleCurve& ring);
  std::vector<uint32_t> verticesOf(const OGRSimpleCurve& line, bool closed);
  double ringArea(const std::vector<uint32_t>& ring) const;
  Vertex inFile(double x, double y, double z) const;

  SurveyText& text_;
  bool& failed_;
  OGRFeatureDefn* definition_;
  std::string code_;
  Frame frame_;
  Role role_ = Role::kOpen;
  std::array<Share, 3> shares_;
  Rows* table_ = nullptr;
};

class WrittenDataset final : public GDALDataset {
 public:
  // Null, with an error said, where no survey can be written.
  static GDALDataset* create(const char* path, int width, int height, int bands, GDALDataType type,
                             char** options);
  ~WrittenDataset() override;

  int GetLayerCount() override { return static_cast<int>(layers_.size()); }
  OGRLayer* GetLayer(int index) override;
  int TestCapability(const char* capability) override;
  bool AddFieldDomain(std::unique_ptr<OGRFieldDomain>&& domain, std::string& failure) override;

 protected:
  OGRLayer* ICreateLayer(const char* name, OGRSpatialReference* system, OGRwkbGeometryType type,
                         char** options) override;

 private:
  explicit WrittenDataset(const char* path) : text_(path) {}
  bool take(CSLConstList options);

  SurveyText text_;
  std::vector<std::unique_ptr<WrittenLayer>> layers_;
  bool failed_ = false;
};

// What GDAL tells users about writing.
void describeWriting(GDALDriver& driver);

}  // namespace tavo::gdal

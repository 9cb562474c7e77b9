// Making and completing of outputs.
#include "target.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <set>

#include <cpl_conv.h>
#include <cpl_string.h>
#include <cpl_vsi.h>
#include <unistd.h>

#include "export_input.h"
#include "files.h"

namespace tavo::tool {

namespace {

// Says of a table that it is ours, so that nobody else's rows are taken out of it.
constexpr char kMark[] = "Written by tavo export";

// The locks of all exports into a database, the letters "tavo" as a number.
constexpr char kLocks[] = "1952544367";

// What belongs to a shapefile, indexes of other programs included, which would be wrong for a new
// one.
constexpr std::array kShapefileParts = {"shp", "shx", "dbf", "prj", "cpg", "qpj",
                                        "qix", "sbn", "sbx", "idm", "ind"};

bool exists(const std::string& path) {
  return tavo_path_kind(path.c_str(), nullptr) != TAVO_PATH_MISSING;
}

std::string quoted(const std::string& text, char quote) {
  std::string result(1, quote);
  for (const char c : text) result.append(c == quote ? 2 : 1, c);
  return result + quote;
}

std::string isSurvey(const std::string& survey) {
  return quoted(kSurveyField, '"') + " = " + quoted(survey, '\'');
}

// The layers that are ours, whose rows may be taken out. A database is asked, since GDAL does not
// tell the descriptions of tables that have no places.
std::set<OGRLayer*> ourLayers(GDALDataset& dataset, bool database) {
  std::set<OGRLayer*> ours;
  if (!database) {
    for (OGRLayer* const layer : dataset.GetLayers()) {
      const char* const mark = layer->GetMetadataItem("DESCRIPTION");
      if (mark != nullptr && STARTS_WITH(mark, kMark)) ours.insert(layer);
    }
    return ours;
  }
  const std::string sql =
      "SELECT c.relname FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace WHERE "
      "n.nspname = current_schema() AND obj_description(c.oid, 'pg_class') = " +
      quoted(kMark, '\'');
  OGRLayer* const names = dataset.ExecuteSQL(sql.c_str(), nullptr, nullptr);
  std::vector<std::string> tables;
  if (names != nullptr) {
    for (const auto& row : *names) tables.emplace_back(row->GetFieldAsString(0));
    dataset.ReleaseResultSet(names);
  }
  for (const std::string& table : tables) ours.insert(dataset.GetLayerByName(table.c_str()));
  return ours;
}

// Each statement sees what others have committed by then, and a machine that went down is noticed
// in a minute, so that its locks are free for the one that repeats its work.
constexpr char kTransaction[] =
    "SET TRANSACTION ISOLATION LEVEL READ COMMITTED; SET tcp_keepalives_idle = 30; "
    "SET tcp_keepalives_interval = 10; SET tcp_keepalives_count = 3";

// Locks end with their transaction. All that bring rows share the one on the tables; one that makes
// or changes tables has it alone, since two would make the same one, or each wait for the other's.
std::string lockOfTables(bool alone) {
  return std::string("SELECT pg_advisory_xact_lock") + (alone ? "" : "_shared") + "(" + kLocks +
         ", 0)";
}

// One export at a time brings a survey: what is repeated may begin while the server still ends
// what it repeats, and neither would take out the other's rows. Many surveys share few locks, which
// are taken in their order.
std::string locksOf(const std::vector<std::string>& surveys) {
  std::string names;
  for (const std::string& survey : surveys) {
    names += (names.empty() ? "" : ", ") + quoted(survey, '\'');
  }
  return "WITH locks AS (SELECT DISTINCT 1 + (hashtext(survey) & 255) AS number FROM "
         "unnest(ARRAY[" +
         names + "]) AS survey ORDER BY 1) SELECT pg_advisory_xact_lock(" + kLocks +
         ", number) FROM locks";
}

bool supports(GDALDataset& dataset, OGRFieldType type) {
  const char* const types = dataset.GetDriver()->GetMetadataItem(GDAL_DMD_CREATIONFIELDDATATYPES);
  if (types == nullptr) return true;
  const CPLStringList list(CSLTokenizeString(types));
  return list.FindString(OGRFieldDefn::GetFieldTypeName(type)) >= 0;
}

// Whether an existing file is what this format's export writes: every layer tells the survey.
bool beginsLikeOurs(const std::string& path, const GdalFormat& format) {
  // Of a KML the driver that writes it reads no columns.
  const bool kml = std::string_view(format.driver) == "KML";
  const char* const drivers[] = {kml ? "LIBKML" : format.driver, nullptr};
  const GDALDatasetUniquePtr found(
      GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY, drivers));
  if (found == nullptr) return false;
  if (format.files == Files::kDrawing) return true;
  for (OGRLayer* const layer : found->GetLayers()) {
    if (layer->GetLayerDefn()->GetFieldIndex(kSurveyField) < 0) return false;
  }
  return true;
}

bool putDomain(GDALDataset& dataset, const OGRFieldDomain& domain) {
  if (dataset.TestCapability(ODsCAddFieldDomain) == 0) return false;
  if (dataset.GetFieldDomain(domain.GetName()) != nullptr) return true;
  std::string reason;
  return dataset.AddFieldDomain(std::unique_ptr<OGRFieldDomain>(domain.Clone()), reason);
}

// The last bytes of a file that is whole.
bool endsWith(const std::string& path, std::string_view end) {
  VSILFILE* const file = VSIFOpenL(path.c_str(), "rb");
  if (file == nullptr) return false;
  std::string tail(64, '\0');
  VSIFSeekL(file, 0, SEEK_END);
  const vsi_l_offset size = VSIFTellL(file);
  VSIFSeekL(file, size - std::min<vsi_l_offset>(size, tail.size()), SEEK_SET);
  tail.resize(VSIFReadL(tail.data(), 1, tail.size(), file));
  VSIFCloseL(file);
  tail.resize(tail.find_last_not_of(" \r\n") + 1);
  return tail.ends_with(end);
}

// A system in the form that CAD programs read beside a drawing.
bool writeSystem(const OGRSpatialReference& system, const std::string& path) {
  const char* const form[] = {"FORMAT=WKT1_ESRI", nullptr};
  char* text = nullptr;
  system.exportToWkt(&text, form);
  const std::string wkt = text == nullptr ? "" : text;
  CPLFree(text);
  VSILFILE* const file = VSIFOpenL(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = VSIFWriteL(wkt.data(), 1, wkt.size(), file) == wkt.size();
  return VSIFCloseL(file) == 0 && written;
}

}  // namespace

Target::~Target() {
  if (database_ != nullptr) database_->RollbackTransaction();
  database_.reset();
  for (File& file : files_) file.dataset.reset();
  if (!folder_.empty()) VSIRmdirRecursive(folder_.c_str());
}

std::string Target::failed(const std::string& what) const {
  return messages_.failure().empty() ? what : what + ": " + messages_.failure();
}

// Names in a database need no quotes in SQL.
std::string Target::nameFor(const std::string& name) const {
  if (format_.files != Files::kDatabase) return name;
  std::string result = name;
  std::ranges::transform(result, result.begin(), [](unsigned char c) {
    return static_cast<char>(c > 127 ? c : std::isalnum(c) != 0 ? std::tolower(c) : '_');
  });
  return result;
}

std::vector<std::string> Target::files() const {
  std::vector<std::string> paths;
  for (const File& file : files_) paths.push_back(file.path);
  return paths;
}

std::string Target::open(const Plan& plan, const std::vector<std::string>& surveys) {
  if (format_.files == Files::kDatabase) return openDatabase(plan, surveys);
  interruptible_.emplace();
  std::string problem = place(plan);
  for (const File& file : files_) {
    if (problem.empty()) problem = begin(*file.dataset, surveys);
  }
  return problem.empty() ? openLayers(plan) : problem;
}

std::string Target::openLayers(const Plan& plan) {
  layers_.assign(plan.layers().size(), {});
  std::string problem;
  for (size_t i = 0; i < layers_.size() && problem.empty() && !format_.sequential; ++i) {
    problem = beginLayer(plan, i);
  }
  return problem;
}

std::string Target::beginLayer(const Plan& plan, size_t i) {
  const bool database = format_.files == Files::kDatabase;
  GDALDataset& dataset = database ? *database_ : *files_[files_.size() > 1 ? i : 0].dataset;
  return putLayer(dataset, plan, plan.layers()[i], &layers_[i]);
}

bool Target::isDiskFull() const {
  constexpr GIntBig kRoom = 1 << 16;
  const GIntBig room = folder_.empty() ? -1 : VSIGetDiskFreeSpace(folder_.c_str());
  return room >= 0 && room < kRoom;
}

// --- Files

std::string Target::place(const Plan& plan) {
  if (adding() && !format_.appends) {
    return std::string("a ") + format_.name +
           " cannot be added to; export all surveys into it at once";
  }
  const bool several = format_.files == Files::kOneALayer && plan.layers().size() > 1;
  for (size_t i = 0; i < (several ? plan.layers().size() : 1); ++i) {
    const std::string& output = options_.output;
    files_.push_back({several ? pathOfLayer(output, plan.layers()[i].name) : output, {}, nullptr});
  }
  for (const File& file : files_) {
    uint64_t size = 0;
    const uint32_t kind = tavo_path_kind(file.path.c_str(), &size);
    if (kind == TAVO_PATH_MISSING) continue;
    if (kind != TAVO_PATH_FILE) return "'" + file.path + "' is not a regular file";
    for (const std::string& input : options_.files) {
      if (tavo_same_file(file.path.c_str(), input.c_str()) == 0) continue;
      return "'" + file.path + "' is the input itself; it is not overwritten";
    }
    if (adding() || options_.overwrite || size == 0 || beginsLikeOurs(file.path, format_)) continue;
    return "'" + file.path + "' is there and is no " + format_.name +
           " of an export; use --overwrite to replace it";
  }
  return makeFiles();
}

std::string Target::makeFiles() {
  messages_.clear();
  const std::string folder = options_.output + "." + std::to_string(getpid()) + ".tmp";
  const std::string cannot = "cannot write '" + options_.output + "'";
  if (VSIMkdir(folder.c_str(), 0755) != 0) return cannot + ": " + std::strerror(errno);
  folder_ = folder;
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(format_.driver);
  if (driver == nullptr) return std::string("this GDAL does not write ") + format_.name;
  const char* const drivers[] = {format_.driver, nullptr};
  for (File& file : files_) {
    file.temporary = folder_ + "/" + CPLGetFilename(file.path.c_str());
    const char* const path = file.temporary.c_str();
    if (!adding() || !exists(file.path)) {
      file.dataset.reset(driver->Create(path, 0, 0, 0, GDT_Unknown, nullptr));
      if (file.dataset == nullptr) return failed(cannot);
    } else {
      uint64_t pending = 0;
      tavo_path_kind((file.path + "-wal").c_str(), &pending);
      if (pending > 0) return "'" + file.path + "': another program has it open for writing";
      if (CPLCopyFile(path, file.path.c_str()) != 0) return failed(cannot);
      file.dataset.reset(GDALDataset::Open(path, GDAL_OF_VECTOR | GDAL_OF_UPDATE, drivers));
      if (file.dataset == nullptr) return "'" + file.path + "' is no " + format_.name;
    }
    file.dataset->StartTransaction();
  }
  return {};
}

std::string Target::damage(const File& file, uint64_t rows) const {
  static const std::map<std::string_view, const char*> kEnds = {
      {"GeoJSON", "}"}, {"KML", "</kml>"}, {"DXF", "EOF"}};
  std::string what = "writing '" + file.path + "' failed";
  if (const auto end = kEnds.find(format_.driver); end != kEnds.end()) {
    return endsWith(file.temporary, end->second) ? "" : what;
  }
  if (format_.files != Files::kOneALayer) return {};
  const GDALDatasetUniquePtr written(
      GDALDataset::Open(file.temporary.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
  OGRLayer* const layer = written == nullptr ? nullptr : written->GetLayer(0);
  if (layer == nullptr) return what;
  uint64_t read = 0;
  for (const auto& feature : *layer) read += feature != nullptr ? 1 : 0;
  return read == rows && messages_.failure().empty() ? "" : what;
}

std::string Target::finish(const Plan& plan) {
  messages_.clear();
  return database_ != nullptr ? finishDatabase() : finishFiles(plan);
}

std::string Target::finishFiles(const Plan& plan) {
  for (size_t i = 0; i < files_.size(); ++i) {
    File& file = files_[i];
    const bool done = file.dataset->CommitTransaction() != OGRERR_FAILURE;
    file.dataset.reset();
    if (!done || !messages_.failure().empty()) {
      return failed("writing '" + file.path + "' failed");
    }
    if (std::string problem = damage(file, layers_[i].rows); !problem.empty()) return problem;
    const OGRSpatialReference* const system = plan.layers().front().system.get();
    if (format_.files != Files::kDrawing || system == nullptr) continue;
    if (!writeSystem(*system, CPLResetExtension(file.temporary.c_str(), "prj"))) {
      return "writing '" + file.path + "' failed";
    }
  }
  return interrupted() ? "" : takePlace();
}

std::string Target::takePlace() const {
  for (const File& file : files_) {
    if (std::string_view(format_.driver) != "ESRI Shapefile") break;
    for (const char* const part : kShapefileParts) {
      VSIUnlink(CPLResetExtension(file.path.c_str(), part));
    }
  }
  std::string to = CPLGetPath(options_.output.c_str());
  if (!to.empty()) to += '/';
  const CPLStringList made(VSIReadDir(folder_.c_str()));
  for (int i = 0; i < made.Count(); ++i) {
    const std::string name = made[i];
    if (name == "." || name == "..") continue;
    const std::string target = to + name;
    if (VSIRename((folder_ + "/" + name).c_str(), target.c_str()) != 0) {
      return "cannot replace '" + target + "': " + std::strerror(errno);
    }
  }
  return {};
}

// Exports that bring rows alone go on side by side. One that finds that a table must be made or
// changed begins again with the database to itself.
std::string Target::openDatabase(const Plan& plan, const std::vector<std::string>& surveys) {
  std::string problem;
  for (const bool alone : {false, true}) {
    alone_ = alone;
    problem = connect(surveys);
    if (problem.empty()) problem = begin(*database_, surveys);
    if (problem.empty()) problem = openLayers(plan);
    if (!problem.empty() || !wantsToBeAlone_) break;
  }
  return problem;
}

std::string Target::connect(const std::vector<std::string>& surveys) {
  messages_.clear();
  if (database_ != nullptr) database_->RollbackTransaction();
  const char* const drivers[] = {format_.driver, nullptr};
  database_.reset(
      GDALDataset::Open(options_.output.c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE, drivers));
  // The output is not repeated, since it may hold a password.
  if (database_ == nullptr) return failed("the database cannot be opened");
  CPLSetConfigOption("PG_USE_COPY", "YES");
  if (database_->StartTransaction() != OGRERR_NONE) return failed("the database refuses");
  for (const std::string& sql :
       {std::string(kTransaction), lockOfTables(alone_), locksOf(surveys)}) {
    database_->ReleaseResultSet(database_->ExecuteSQL(sql.c_str(), nullptr, nullptr));
  }
  return messages_.failure().empty() ? "" : failed("the database gives no locks");
}

std::string Target::finishDatabase() {
  for (const TargetLayer& made : layers_) {
    // On a table that is there it would wait for everybody who fills it, too.
    if (!made.created) continue;
    const std::string name = made.layer->GetName();
    const std::string sql = "CREATE INDEX " + quoted(name + "_survey", '"') + " ON " +
                            quoted(name, '"') + " (" + kSurveyField + ")";
    database_->ExecuteSQL(sql.c_str(), nullptr, nullptr);
  }
  if (interrupted()) return {};
  const bool done = messages_.failure().empty() && database_->CommitTransaction() == OGRERR_NONE;
  if (!done || !messages_.failure().empty()) return failed("the database did not take it all");
  database_.reset();
  return {};
}

// --- Layers

// Takes the surveys' old rows out of all of our tables, or says that there are some.
std::string Target::begin(GDALDataset& dataset, const std::vector<std::string>& surveys) {
  ours_ = ourLayers(dataset, format_.files == Files::kDatabase);
  ours_.erase(nullptr);
  if (!messages_.failure().empty()) return failed("the layers there cannot be read");
  for (OGRLayer* const layer : ours_) {
    const std::string name = layer->GetName();
    const std::vector<std::string>& wanted = options_.layers;
    const bool meant = wanted.empty() || std::ranges::any_of(wanted, [&](const auto& each) {
                         return EQUAL(Plan::kindOf(name).c_str(), each.c_str()) ||
                                EQUAL(name.c_str(), each.c_str());
                       });
    if (!meant) continue;
    for (const std::string& survey : surveys) {
      if (options_.replace) {
        const std::string sql = "DELETE FROM " + quoted(name, '"') + " WHERE " + isSurvey(survey);
        dataset.ExecuteSQL(sql.c_str(), nullptr, nullptr);
        if (!messages_.failure().empty()) return failed("old rows cannot be taken out");
        continue;
      }
      layer->SetAttributeFilter(isSurvey(survey).c_str());
      layer->ResetReading();
      const OGRFeatureUniquePtr row(layer->GetNextFeature());
      layer->SetAttributeFilter(nullptr);
      if (row != nullptr) {
        const bool database = format_.files == Files::kDatabase;
        return alreadyThere(database ? "the database" : "'" + options_.output + "'", survey);
      }
    }
  }
  return {};
}

bool Target::mayChangeTables() {
  wantsToBeAlone_ |= !alone_;
  return alone_;
}

std::string Target::createLayer(GDALDataset& dataset, const PlannedLayer& planned,
                                OGRLayer** made) const {
  CPLStringList options(const_cast<char**>(format_.options), FALSE);
  CPLStringList own(options);
  if (format_.appends) own.SetNameValue("DESCRIPTION", kMark);
  // Every table of a database takes heights, whatever the first survey has.
  const bool high = format_.files == Files::kDatabase && planned.geometry != wkbNone;
  const OGRwkbGeometryType type = high ? wkbSetZ(planned.geometry) : planned.geometry;
  *made =
      dataset.CreateLayer(nameFor(planned.name).c_str(), planned.system.get(), type, own.List());
  return *made != nullptr ? "" : failed("layer '" + planned.name + "' cannot be made");
}

std::string Target::takeLayer(OGRLayer& layer, const PlannedLayer& planned) const {
  if (!ours_.contains(&layer)) {
    return "layer '" + planned.name + "' is there and is not of an export; nothing is added to it";
  }
  const OGRSpatialReference* const there = layer.GetSpatialRef();
  const OGRSpatialReference* const ours = planned.system.get();
  if (planned.geometry == wkbNone || isSameSystem(there, ours)) return {};
  return "layer '" + planned.name +
         "' is there in another reference system; move the survey into that one with --to-crs";
}

std::string Target::putField(GDALDataset& dataset, OGRLayer& layer, const OGRFieldDefn& wanted,
                             int* index) {
  OGRFieldDefn field(&wanted);
  field.SetName(nameFor(wanted.GetNameRef()).c_str());
  if (!supports(dataset, field.GetType())) {
    field.SetSubType(OFSTNone);
    field.SetType(OFTString);
    field.SetWidth(0);
  }
  const OGRFeatureDefn& there = *layer.GetLayerDefn();
  *index = there.GetFieldIndex(field.GetNameRef());
  if (*index >= 0) {
    const OGRFieldDefn& old = *there.GetFieldDefn(*index);
    const OGRFieldType type = widened(old.GetType(), field.GetType());
    if (type == old.GetType()) return {};
    if (!mayChangeTables()) return {};
    field.SetType(type);
    field.SetSubType(OFSTNone);
    field.SetWidth(0);
    return layer.AlterFieldDefn(*index, &field, ALTER_TYPE_FLAG) == OGRERR_NONE
               ? ""
               : failed("column '" + std::string(field.GetNameRef()) + "' of layer '" +
                        layer.GetName() + "' cannot take the survey's values");
  }
  if (!mayChangeTables()) return {};
  if (layer.CreateField(&field, TRUE) != OGRERR_NONE) {
    return failed("column '" + std::string(field.GetNameRef()) + "' cannot be made");
  }
  *index = there.GetFieldCount() - 1;
  const char* const name = there.GetFieldDefn(*index)->GetNameRef();
  if (!EQUAL(name, field.GetNameRef())) {
    cutNames_.push_back(std::string(field.GetNameRef()) + " -> " + name);
  }
  return {};
}

std::string Target::putLayer(GDALDataset& dataset, const Plan& plan, const PlannedLayer& planned,
                             TargetLayer* made) {
  messages_.clear();
  // Names that differ in case alone are one to a database and to many programs.
  made->layer = dataset.GetLayerByName(nameFor(planned.name).c_str());
  messages_.clear();
  made->created = made->layer == nullptr;
  if (made->created && !mayChangeTables()) return {};
  std::string problem = made->layer != nullptr ? takeLayer(*made->layer, planned)
                                               : createLayer(dataset, planned, &made->layer);
  // A drawing has columns of its own.
  if (!problem.empty() || format_.files == Files::kDrawing) return problem;
  const OGRFieldDefn survey(kSurveyField, OFTString);
  problem = putField(dataset, *made->layer, survey, &made->survey);
  for (const auto& field : planned.fields) {
    if (!problem.empty()) break;
    OGRFieldDefn wanted(field.get());
    const OGRFieldDomain* const domain = plan.domain(field->GetDomainName());
    if (domain == nullptr || !putDomain(dataset, *domain)) wanted.SetDomainName({});
    problem = putField(dataset, *made->layer, wanted, &made->fields.emplace_back(-1));
  }
  return problem;
}

}  // namespace tavo::tool

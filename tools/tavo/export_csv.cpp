// The files of a CSV export: each holds one layer of all surveys, under the columns of all of them.
#include "export_csv.h"

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "console.h"
#include "csv.h"
#include "csv_layer.h"
#include "export_input.h"
#include "files.h"
#include "geometry.h"
#include "text.h"

namespace tavo::tool {

namespace {

// A file under construction.
struct Sheet {
  CsvLayer layer;
  std::string path;
  std::string old;  // what is added to
  CsvColumns columns;
  std::vector<std::string> heads;
  uint64_t rows = 0;
  Output output;

  bool write(const std::vector<std::string>& cells) {
    line_.clear();
    appendCsvLine(cells, EdgeBlanks::kQuoted, &line_);
    return output.write(line_.data(), line_.size());
  }

 private:
  std::string line_;
};

int fail(const std::string& problem, int status = kFailed) {
  complain(problem);
  return status;
}

class CsvExport {
 public:
  explicit CsvExport(const ExportOptions& options)
      : options_(options), adding_(options.append || options.replace) {}

  // Each step has its complaint.
  int run() {
    names_ = surveyNames(options_);
    if (names_.empty()) return kFailed;
    if (const int status = findLayers(); status != kSound) return status;
    if (const int status = readAll(); status != kSound) return status;
    for (const auto& sheet : sheets_) {
      if (const int status = begin(sheet.get()); status != kSound) return status;
    }
    for (size_t i = 0; i < texts_.size(); ++i) {
      if (!writeRows(i)) return fail("writing '" + options_.output + "' failed; the disk is full");
    }
    for (const auto& sheet : sheets_) {
      if (!sheet->output.commit()) return kFailed;
    }
    noteLeftOut();
    return status_;
  }

 private:
  int findLayers() {
    if (!options_.crs.empty() || !options_.toCrs.empty()) {
      return fail("a csv file names no reference system; --crs and --to-crs go with the others");
    }
    const std::vector<CsvLayer> all = allCsvLayers();
    std::set<std::string> names(options_.layers.begin(), options_.layers.end());
    if (names.empty()) names.insert("points");
    for (const CsvLayer& layer : all) {
      if (names.erase(layer.name) == 0) {
        others_.emplace_back(layer, 0);
        continue;
      }
      sheets_.push_back(std::make_unique<Sheet>());
      sheets_.back()->layer = layer;
    }
    if (!names.empty()) {
      std::string list;
      for (const CsvLayer& layer : all) list += (list.empty() ? "" : ", ") + layer.name;
      return fail("csv has no layer '" + *names.begin() + "'; there are " + list);
    }
    for (const auto& sheet : sheets_) {
      const std::string problem = findPlace(sheet.get());
      if (!problem.empty()) return fail(problem);
    }
    return kSound;
  }

  std::string findPlace(Sheet* sheet) const {
    const bool several = sheets_.size() > 1;
    sheet->path = several ? pathOfLayer(options_.output, sheet->layer.name) : options_.output;
    if (isStream(sheet->path)) {
      return several || adding_ ? "the standard output takes one layer, and cannot be added to"
                                : "";
    }
    for (const std::string& file : options_.files) {
      const bool overwrite = options_.overwrite && !adding_;
      std::string problem = targetProblem(sheet->path, file, OutputKind::kCsv, overwrite);
      if (!problem.empty()) return problem;
    }
    return adding_ ? readOld(sheet) : "";
  }

  static std::string readOld(Sheet* sheet) {
    if (tavo_path_kind(sheet->path.c_str(), nullptr) == TAVO_PATH_MISSING) return {};
    const ReadFile file(sheet->path);
    int64_t read = file.isOpen() ? 1 : -1;
    while (read > 0) {
      constexpr size_t kBlock = 1U << 16;
      const size_t used = sheet->old.size();
      sheet->old.resize(used + kBlock);
      read = file.read(sheet->old.data() + used, kBlock);
      sheet->old.resize(used + static_cast<size_t>(std::max<int64_t>(read, 0)));
    }
    return read < 0 ? "reading '" + sheet->path + "' failed" : "";
  }

  // Reads each survey for its columns. One alone is kept, several are read again for their rows.
  int readAll() {
    uint64_t rows = 0;
    for (const std::string& file : options_.files) {
      InputText& text = *texts_.emplace_back(std::make_unique<InputText>());
      Survey survey = readExported(file, options_.strict, &text, &status_);
      if (survey == nullptr) return status_;
      eachLayer(survey.get(), [&](const CsvRows& made, Sheet* sheet) {
        made.addColumns(&sheet->columns);
        sheet->rows += sheet->layer.count(survey.get());
        rows += sheet->layer.count(survey.get());
        return true;
      });
      for (auto& [layer, count] : others_) count += layer.count(survey.get());
      if (options_.files.size() == 1) kept_ = std::move(survey);
    }
    if (rows > 0) return kSound;
    noteLeftOut();
    return fail("there is nothing to write in layer '" + sheets_.front()->layer.name +
                    "'; nothing was written",
                kFindings);
  }

  template <class Function>
  bool eachLayer(const tavo_survey* survey, Function function) const {
    tavo_geometry_options options = TAVO_GEOMETRY_OPTIONS_INIT;
    options.ignore_transformations = options_.ignoreTransformations ? 1 : 0;
    const Geometry geometry = geometryOf(survey, &options);
    return std::ranges::all_of(sheets_, [&](const auto& sheet) {
      return function(CsvRows(survey, geometry.get(), sheet->layer), sheet.get());
    });
  }

  // Opens the output and writes the heads and the rows that stay.
  int begin(Sheet* sheet) const {
    if (const std::string problem = sheet->output.open(sheet->path); !problem.empty()) {
      return fail(problem);
    }
    std::string_view old = sheet->old;
    std::vector<std::string> oldHeads;
    std::vector<std::string> row;
    takeCsvLine(&old, &oldHeads);
    for (const auto& [place, head] : sheet->columns) sheet->heads.push_back(head);
    std::vector<size_t> at;
    for (const std::string& head : oldHeads) {
      const auto same = std::ranges::find(sheet->heads, head);
      at.push_back(static_cast<size_t>(same - sheet->heads.begin()));
      if (same == sheet->heads.end()) sheet->heads.push_back(head);
    }
    bool good = sheet->write(sheet->heads);
    std::vector<std::string> cells(sheet->heads.size());
    while (good && takeCsvLine(&old, &row)) {
      const bool ours = std::ranges::find(names_, row.front()) != names_.end();
      if (ours && options_.replace) continue;
      if (ours) return fail(alreadyThere("'" + sheet->path + "'", row.front()));
      for (std::string& cell : cells) cell.clear();
      for (size_t i = 0; i < std::min(at.size(), row.size()); ++i) cells[at[i]] = row[i];
      good = sheet->write(cells);
    }
    return good ? int{kSound} : fail("writing '" + sheet->path + "' failed; the disk is full");
  }

  bool writeRows(size_t i) {
    Survey survey = std::move(kept_);
    Analysis analysis;
    if (survey == nullptr) survey = readSurvey(*texts_[i], &analysis);
    if (survey == nullptr) return false;
    return eachLayer(survey.get(), [&](const CsvRows& rows, Sheet* sheet) {
      return rows.each(names_[i], sheet->heads,
                       [sheet](const auto& cells) { return sheet->write(cells); });
    });
  }

  void noteLeftOut() const {
    std::string list;
    for (const auto& [layer, count] : others_) {
      if (count > 0) list += (list.empty() ? "" : ", ") + std::to_string(count) + " " + layer.name;
    }
    if (!list.empty()) complain("left out of the csv, see --layer: " + list);
  }

  const ExportOptions& options_;
  bool adding_;
  int status_ = kSound;
  std::vector<std::string> names_;
  std::vector<std::unique_ptr<Sheet>> sheets_;
  std::vector<std::pair<CsvLayer, uint64_t>> others_;  // not asked for, with their records
  std::vector<std::unique_ptr<InputText>> texts_;
  Survey kept_;
};

}  // namespace

int exportCsv(const ExportOptions& options) { return CsvExport(options).run(); }

}  // namespace tavo::tool

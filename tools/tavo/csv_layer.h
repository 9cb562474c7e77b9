// A survey's records as rows of CSV: one column for each field that some line gives, its unit in
// the head, the attributes of THEMINFO behind them as `a_` columns, and the shape of lines and
// polygons.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tavo/survey.h"

namespace tavo::tool {

// A layer: the data lines or items of all blocks of one keyword.
struct CsvLayer {
  std::string name;
  std::vector<const tavo_schema_block*> blocks;

  uint64_t count(const tavo_survey* survey) const;
};

std::vector<CsvLayer> allCsvLayers();

// Columns in their order: fields in that of their table, before and behind them the others.
enum : size_t { kSurveyColumn, kFieldColumns, kAttributeColumns = 1000, kShapeColumn, kOldColumns };
using CsvColumns = std::set<std::pair<size_t, std::string>>;
inline constexpr char kSurveyHead[] = "survey";

// A layer of one survey, both of which must outlive it. A column is known by its head, so values in
// another unit stand in another column.
class CsvRows {
 public:
  CsvRows(const tavo_survey* survey, const tavo_geometry* geometry, const CsvLayer& layer);
  CsvRows(const CsvRows&) = delete;
  CsvRows& operator=(const CsvRows&) = delete;
  ~CsvRows();

  void addColumns(CsvColumns* columns) const;

  // Hands over the cells of every row, under the heads given; the first is the survey's name. False
  // when a row was not taken.
  using Take = std::function<bool(const std::vector<std::string>& cells)>;
  bool each(const std::string& survey, const std::vector<std::string>& heads,
            const Take& take) const;

 private:
  class Run;
  class Attributes;
  class Shapes;

  template <class Function>
  void eachRun(Function function) const;

  const tavo_survey* survey_;
  const CsvLayer& layer_;
  std::unique_ptr<Attributes> attributes_;  // none for what has no THEMINFO
  std::unique_ptr<Shapes> shapes_;          // none for what has no shape
};

}  // namespace tavo::tool

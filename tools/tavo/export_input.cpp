// Names, formats and findings of the surveys of an export.
#include "export_input.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <string_view>

#include "console.h"
#include "files.h"
#include "text.h"

namespace tavo::tool {

namespace {

constexpr ExportFormat kSuffixes[] = {
    {"gpkg", "GPKG"},      {"geojson", "GeoJSON"},    {"json", "GeoJSON"},
    {"dxf", "DXF"},        {"csv", nullptr},          {"kml", "KML"},
    {"fgb", "FlatGeobuf"}, {"shp", "ESRI Shapefile"}, {"PG:", "PostgreSQL"},
};

// Where the suffix of a path begins, behind its dot; the path's size when there is none.
size_t suffixOf(std::string_view path) {
  const size_t name = path.find_last_of("/\\") + 1;
  const size_t dot = path.rfind('.');
  return dot == path.npos || dot <= name ? path.size() : dot + 1;
}

std::string baseName(const std::string& path) {
  if (isStream(path)) return "stdin";
  const size_t begin = path.find_last_of("/\\") + 1;
  const size_t suffix = suffixOf(path);
  return path.substr(begin, (suffix == path.size() ? suffix : suffix - 1) - begin);
}

}  // namespace

const ExportFormat* exportFormat(const std::string& output) {
  std::string suffix = isStream(output) ? "csv" : output.substr(suffixOf(output));
  std::ranges::transform(suffix, suffix.begin(), [](unsigned char c) { return std::tolower(c); });
  if (output.starts_with("PG:")) suffix = "PG:";
  for (const ExportFormat& format : kSuffixes) {
    if (suffix == format.suffix) return &format;
  }
  complain("'" + output +
           "': its suffix names no format; there are gpkg, geojson, dxf, csv, kml, fgb, shp, and "
           "\"PG:...\" for a database");
  return nullptr;
}

std::vector<std::string> surveyNames(const ExportOptions& options) {
  if (!options.survey.empty()) {
    if (options.files.size() == 1) return {options.survey};
    complain("--survey names one survey, and there are several");
    return {};
  }
  const auto complainOfSameName = [](const std::string& one, const std::string& other,
                                     const std::string& name) {
    complain("'" + one + "' and '" + other + "' would both be survey '" + name +
             "'; export them one by one, with --survey");
  };
  std::vector<std::string> names;
  std::map<std::string, std::string> files;
  for (const std::string& file : options.files) {
    const std::string& name = names.emplace_back(toUtf8(baseName(file)));
    const auto [other, added] = files.emplace(name, file);
    if (added) continue;
    complainOfSameName(other->second, file, name);
    return {};
  }
  return names;
}

std::string pathOfLayer(const std::string& output, const std::string& layer) {
  std::string path = output;
  return path.insert(suffixOf(path) - 1, "_" + layer);
}

std::string alreadyThere(const std::string& output, const std::string& survey) {
  return output + " has survey '" + survey +
         "' already; use --replace to take its old rows out first";
}

Survey readExported(const std::string& path, bool strict, InputText* text, int* status) {
  Analysis analysis;
  Survey survey = openSurvey(path, text, &analysis);
  if (survey == nullptr) {
    *status = kFailed;
    return nullptr;
  }
  complainOfNotes(*text, analysis);
  const uint64_t findings = analysis.counts.errors + analysis.counts.warnings;
  if (findings == 0) return survey;
  complain(text->name() + ": " + analysis.summary() +
           (strict ? "; refused (see 'tavo check')"
                   : "; lines with errors are not exported (see 'tavo check')"));
  if (analysis.counts.errors > 0 || strict) *status = kFindings;
  return strict ? nullptr : std::move(survey);
}

}  // namespace tavo::tool

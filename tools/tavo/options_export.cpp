// The options and help text of the verb that takes surveys elsewhere.
#include <memory>
#include <string>
#include <vector>

#include "options.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// The options given as words again, for the program that does the part with GDAL.
std::vector<std::string> wordsOf(const CLI::App& verb) {
  std::vector<std::string> words;
  std::vector<std::string> files;
  for (const CLI::Option* option : verb.get_options()) {
    for (const std::string& value : option->results()) {
      if (option->get_positional()) {
        files.push_back(value);
        continue;
      }
      const bool flag = option->get_items_expected_max() == 0;
      words.push_back(option->get_name() + (flag ? "" : "=" + value));
    }
  }
  words.emplace_back("--");
  words.insert(words.end(), files.begin(), files.end());
  return words;
}

}  // namespace

void addExport(CLI::App& app, Action* action) {
  const auto options = std::make_shared<ExportOptions>();
  CLI::App* const verb = addVerb(
      app, "export", "Take surveys into GIS, CAD, a table or a database",
      "The suffix names the format: gpkg, geojson, dxf, csv, kml, fgb or shp; \"PG:...\" is a\n"
      "PostGIS database. All but csv need a build with GDAL. Several files go into the same\n"
      "layers, whose column 'survey' says where a row comes from. What a format has no place\n"
      "for is counted in a note.\n"
      "geojson and kml are in WGS 84, the others in the system of the survey. dxf has a CAD\n"
      "layer for each layer or code. csv is one layer, the points if none is named; shp and\n"
      "fgb have one layer a file, so several become NAME_points.shp, NAME_lines.shp ...\n"
      "Exit status: 0 exported, 1 errors in a file (the rest is exported) or refused, 2 a file\n"
      "cannot be read or written.\n\n"
      "Example: tavo export survey.tvo -o survey.gpkg\n"
      "Example: tavo export *.tvo -o \"PG:dbname=office\" --replace");
  verb->add_option("FILE", options->files, "Texts to export")->required()->type_name("");
  verb->add_option("-o,--output", options->output, "File to make, or \"PG:...\"")
      ->required()
      ->type_name("PATH");
  verb->add_option("--layer", options->layers, "Take this layer (again for more)")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("NAME");
  verb->add_option("--survey", options->survey,
                   "What the one file is called in column 'survey' (default: file name)")
      ->type_name("NAME");
  verb->add_option("--crs", options->crs, "Reference system, whatever the file says, EPSG:n")
      ->type_name("CRS");
  verb->add_option("--to-crs", options->toCrs, "Move everything into this reference system")
      ->type_name("CRS");
  verb->add_flag("--append", options->append, "Add to the output that is there");
  verb->add_flag("--replace", options->replace,
                 "The same, and take the surveys' old rows out first");
  verb->add_flag("--strict", options->strict,
                 "Refuse a survey with findings, and an unknown datum where WGS 84 is wanted");
  addOverwrite(verb, &options->overwrite);
  verb->add_flag("--ignore-transformations", options->ignoreTransformations,
                 "Take a set's projection although it names a transformation");
  verb->callback([=] {
    options->words = wordsOf(*verb);
    *action = [=] { return exportSurveys(*options); };
  });
}

}  // namespace tavo::tool

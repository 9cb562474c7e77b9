// The options and help texts of the verbs that check, keep and write surveys.
#include "options.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "verbs.h"

namespace tavo::tool {

void addCheck(CLI::App& app, Action* action) {
  const auto options = std::make_shared<CheckOptions>();
  const auto failOn = std::make_shared<std::vector<std::string>>();
  CLI::App* const verb = addVerb(
      app, "check", "Check texts and show what is wrong with them",
      "Prints each finding as FILE:LINE:COLUMN: error E2500: syntax error: 'ABC', the line\n"
      "of the file under it with the text marked, and how many lines and records were read.\n"
      "Several files are checked side by side and shown in their order.\n"
      "A number that does not fit its field, and so is read as another one, gets a note.\n"
      "With --deep the rules T101 and on look for doubled numbers, references to nothing, open\n"
      "rings, outliers and the like ('tavo explain T101').\n"
      "Exit status: 0 no errors (warnings do not count), 1 errors, or what --fail-on names,\n"
      "2 a file cannot be read.\n\n"
      "Example: tavo check --fail-on warning --log survey.log survey.tvo");
  verb->add_option("FILE", options->files, "Texts to check")->required()->type_name("");
  verb->add_option("--log", options->log, "Write the library's log of the one file here")
      ->type_name("PATH");
  addOverwrite(verb, &options->overwrite);
  verb->add_option("--max-errors", options->maxErrors, "Stop a file behind this many errors")
      ->check(CLI::Range(1, int{UINT16_MAX}).description(""))
      ->type_name("N")
      ->capture_default_str();
  verb->add_flag("--deep", options->deep, "Check what the records mean together, too");
  addRules(verb, &options->rules);
  addForms(verb, &options->form, {"text", "json", "csv", "sarif"},
           "text, json (a line for each file), csv or sarif");
  oneOf(verb->add_option("--fail-on", *failOn, "Exit with 1 also on warnings, or on no record"),
        {"warning", "empty"})
      ->delimiter(',')
      ->allow_extra_args(false);
  verb->add_option("-j,--jobs", options->jobs, "Files checked at once (default: one per core)")
      ->check(CLI::Range(1, 1024).description(""))
      ->type_name("N");
  verb->add_flag("-q,--quiet", options->quiet, "Print nothing, the exit status tells");
  verb->callback([=] {
    for (const std::string& what : *failOn) {
      (what == "empty" ? options->failOnEmpty : options->failOnWarning) = true;
    }
    *action = [=] { return check(*options); };
  });
}

void addImport(CLI::App& app, Action* action) {
  const auto options = std::make_shared<ImportOptions>();
  CLI::App* const verb =
      addVerb(app, "import", "Read a text into a new data file",
              "A data file of that name is replaced when the new one is complete. It keeps every\n"
              "record in its order; lines with errors are shown and left out. With --compatible\n"
              "it is of the kind that the library's TVO functions read and write: what that does\n"
              "not keep is left out and counted, and a text is refused that could not be built\n"
              "from it again, with a second HEADER or an item twice in one.\n"
              "Exit status: 0 no errors, 1 errors in the text, or nothing written since there is\n"
              "no record in it or it is refused, 2 a file cannot be read or written.\n\n"
              "Example: tavo import survey.tvo -o survey.dat");
  verb->add_option("FILE", options->file, "Text")->required()->type_name("");
  verb->add_option("-o,--output", options->dataFile, "Data file to make")
      ->required()
      ->type_name("PATH");
  addOverwrite(verb, &options->overwrite);
  verb->add_flag("--compatible", options->compatible,
                 "Make the kind of data file that the TVO functions use");
  verb->callback([=] { *action = [=] { return import(*options); }; });
}

void addVerify(CLI::App& app, Action* action) {
  const auto options = std::make_shared<VerifyOptions>();
  CLI::App* const verb =
      addVerb(app, "verify", "Check the inner order of a data file",
              "Says what is wrong and where, and prints the height of the tree, its pages, how\n"
              "far they are filled, and the records by type.\n"
              "Exit status: 0 sound, 1 findings, 2 not a data file or unreadable.\n\n"
              "Example: tavo verify survey.dat");
  verb->add_option("DATAFILE", options->dataFile, "Data file")->required()->type_name("");
  addForm(verb, &options->json);
  verb->callback([=] { *action = [=] { return verify(*options); }; });
}

void addRepair(CLI::App& app, Action* action) {
  const auto options = std::make_shared<RepairOptions>();
  CLI::App* const verb =
      addVerb(app, "repair", "Save what is whole in a damaged data file into a new one",
              "Takes every record that is whole, wherever in the file it stands, and makes keys\n"
              "and counts anew. Tells by record type how many were found, how many are damaged\n"
              "and how many were found twice. The damaged file stays as it is.\n"
              "Exit status: 0 nothing is missing, 1 records are missing, 2 a file cannot be read\n"
              "or written, or has no record at all.\n\n"
              "Example: tavo repair survey.dat -o survey-new.dat");
  verb->add_option("DATAFILE", options->file, "Data file")->required()->type_name("");
  verb->add_option("-o,--output", options->dataFile, "Data file to make")
      ->required()
      ->type_name("PATH");
  addOverwrite(verb, &options->overwrite);
  addForm(verb, &options->json);
  verb->callback([=] { *action = [=] { return repair(*options); }; });
}

namespace {

// The two verbs that write texts. A file of that name is replaced when the new one is complete.
void addLayout(CLI::App* verb, const std::shared_ptr<BuildOptions>& options) {
  verb->add_option("-o,--output", options->output, "Text to write")->required()->type_name("PATH");
  addOverwrite(verb, &options->overwrite);
  const auto align = [options](const std::string& value) {
    options->layout.align = value == "on" ? 1 : 0;
  };
  oneOf(
      verb->add_option_function<std::string>("--columns", align, "Align the columns of data lines"),
      {"on", "off"})
      ->default_str("on");
  verb->add_option_function<std::vector<int>>(
          "--decimals",
          [options](const std::vector<int>& value) {
            options->layout.angular_decimals = static_cast<uint8_t>(value[0]);
            options->layout.linear_decimals = static_cast<uint8_t>(value[1]);
            options->layout.geographic_decimals = static_cast<uint8_t>(value[2]);
          },
          "Decimals: angles, lengths, geographic coordinates")
      ->delimiter(',')
      ->expected(3)
      ->check(CLI::Range(0, 30).description(""))
      ->type_name("A,L,G")
      ->default_str("4,4,10");
}

}  // namespace

void addBuild(CLI::App& app, Action* action) {
  const auto options = std::make_shared<BuildOptions>();
  CLI::App* const verb = addVerb(
      app, "build", "Write the records of a data file as text",
      "Values are rounded to the decimals. Nothing is written from a "
      "data file that 'tavo verify'\n"
      "finds damaged.\n"
      "Exit status: 0 all records written, 1 the data file is damaged "
      "or a compatible one has\n"
      "time-tagged codes, which it cannot give back, 2 a file cannot be read or written.\n\n"
      "Example: tavo build survey.dat -o survey.tvo --decimals 4,3,10");
  verb->add_option("DATAFILE", options->file, "Data file")->required()->type_name("");
  addLayout(verb, options);
  verb->add_flag("--force", options->force,
                 "Write what can be read of a damaged data file, without records "
                 "that begin no section");
  verb->callback([=] { *action = [=] { return build(*options); }; });
}

void addFormat(CLI::App& app, Action* action) {
  const auto options = std::make_shared<BuildOptions>();
  CLI::App* const verb = addVerb(
      app, "format", "Write a text anew, in the library's layout",
      "COMMENTS ARE NOT KEPT, and values are rounded to the decimals (both are reported);\n"
      "everything else is the same, which is proved by reading the new text. A text with\n"
      "findings is refused, since lines with errors and unknown items would be lost, and so\n"
      "is one with a number that does not fit its field, such as PointNo 4294967296. The new\n"
      "text may take the place of the old one.\n"
      "Exit status: 0 written, 1 refused for its findings, 2 a file cannot be read or\n"
      "written.\n\n"
      "Example: tavo format survey.tvo -o survey-new.tvo --columns off");
  verb->add_option("FILE", options->file, "Text")->required()->type_name("");
  addLayout(verb, options);
  verb->add_flag("--force", options->force, "Write what there is, although something gets lost");
  verb->callback([=] { *action = [=] { return format(*options); }; });
}

void addTimeline(CLI::App& app, Action* action) {
  const auto options = std::make_shared<TimelineOptions>();
  CLI::App* const verb =
      addVerb(app, "timeline", "Print a text's time-stamped records in time order",
              "One line each: kind (point, setup, slope, code), time, number, ID or code, main\n"
              "values.\n\n"
              "Example: tavo timeline survey.tvo");
  verb->add_option("FILE", options->file, "Text")->required()->type_name("");
  addForm(verb, &options->json);
  verb->callback([=] { *action = [=] { return timeline(*options); }; });
}

}  // namespace tavo::tool

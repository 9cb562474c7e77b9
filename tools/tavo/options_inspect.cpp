// The options and help texts of the verbs that look at surveys and at the format.
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "options.h"
#include "topics.h"
#include "verbs.h"

namespace tavo::tool {

CLI::Option* addForms(CLI::App* verb, Form* form, const std::vector<std::string>& names,
                      const char* description) {
  static const std::pair<const char*, Form> kForms[] = {{"text", Form::kText},
                                                        {"json", Form::kJson},
                                                        {"csv", Form::kCsv},
                                                        {"sarif", Form::kSarif},
                                                        {"md", Form::kMarkdown}};
  const auto set = [form](const std::string& value) {
    for (const auto& [name, known] : kForms) {
      if (value == name) *form = known;
    }
  };
  return oneOf(verb->add_option_function<std::string>("--format", set, description), names)
      ->default_str("text");
}

void addRules(CLI::App* verb, RuleSettings* rules) {
  verb->add_option_function<std::vector<std::string>>(
          "--rule",
          [rules](const std::vector<std::string>& words) {
            for (const std::string& word : words) {
              const size_t equals = std::min(word.find('='), word.size());
              const Topic* const topic = findTopic(word.substr(0, equals));
              const std::string value = word.substr(std::min(equals + 1, word.size()));
              const auto known = std::ranges::find(kSeverities, value);
              if (topic == nullptr || topic->letter != 'T') {
                throw CLI::ValidationError("--rule: '" + word.substr(0, equals) +
                                           "' is no rule; see 'tavo explain --all'");
              }
              if (known == std::end(kSeverities)) {
                throw CLI::ValidationError("--rule: " + topic->code() +
                                           " can be off, note, warning or error");
              }
              (*rules)[topic->number] = static_cast<uint32_t>(known - std::begin(kSeverities));
            }
          },
          "Set a rule of --deep: T101=off|note|warning|error")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("RULE=LEVEL");
}

void addExplain(CLI::App& app, Action* action) {
  const auto options = std::make_shared<ExplainOptions>();
  CLI::App* const verb = addVerb(
      app, "explain", "Explain a number of a finding, a rule or a status",
      "CODE is a number with or without its letter: E2051, 2051, W7010, T101, or a status of a\n"
      "call like 2571. Says what it means and what usually causes it, with a wrong and a right\n"
      "example, whose own lines are marked with >.\n\n"
      "Example: tavo explain E2051");
  verb->add_option("CODE", options->codes, "Numbers to explain")->type_name("");
  verb->add_flag("--all", options->all, "Explain all numbers and rules");
  addForms(verb, &options->form, {"text", "json", "md"}, "text for people, json, or md, a page");
  verb->callback([=] {
    if (options->codes.empty() && !options->all) throw CLI::RequiredError("CODE or --all");
    *action = [=] { return explain(*options); };
  });
}

void addInfo(CLI::App& app, Action* action) {
  const auto options = std::make_shared<InfoOptions>();
  CLI::App* const verb = addVerb(
      app, "info", "Tell what surveys are: units, systems, extent, counts",
      "Reads texts and data files in one pass, of any size. Extents are in metres and degrees,\n"
      "with the offsets of the HEADER.\n"
      "Exit status: 0 told, 1 errors in a text or a damaged data file, 2 a file cannot be\n"
      "read.\n\n"
      "Example: tavo info survey.tvo");
  verb->add_option("FILE", options->files, "Texts or data files")->required()->type_name("");
  addForms(verb, &options->form, {"text", "json"}, "text for people, or json, one line per file");
  verb->callback([=] { *action = [=] { return info(*options); }; });
}

void addDump(CLI::App& app, Action* action) {
  const auto options = std::make_shared<DumpOptions>();
  CLI::App* const verb = addVerb(
      app, "dump", "Print every record as one JSON line, or as a table",
      "FILE is a text, whose records come in the order of their delivery, or a data file,\n"
      "whose records come in stored order. The first line of each names the units of lengths\n"
      "and angles, and so does a further one when a HEADER changes them. Offsets of the HEADER\n"
      "are not added to coordinates. A table (csv) holds the blocks of --type, with the columns\n"
      "that the files declare.\n"
      "Exit status: 0 all records, 1 errors in the text, a data file that is damaged or keeps\n"
      "records that it cannot give back, 2 a file cannot be read.\n\n"
      "Example: tavo dump --type POINTS --format csv survey.tvo");
  verb->add_option("FILE", options->files, "Texts or data files")->required()->type_name("");
  verb->add_option("--type", options->types, "Blocks or record types: POINTS,LINES/EDGES,34")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("BLOCK");
  const auto setForm = [options](const std::string& form) {
    options->form = form == "csv" ? Form::kCsv : Form::kJson;
  };
  oneOf(verb->add_option_function<std::string>("--format", setForm,
                                               "jsonl, one line a record, or csv"),
        {"jsonl", "csv"})
      ->default_str("jsonl");
  const auto units = std::make_shared<std::string>("file");
  oneOf(verb->add_option("--units", *units, "the file's own units, or si: metres and radians"),
        {"file", "si"})
      ->capture_default_str();
  verb->add_flag("--all", options->allFields, "Show fields that the file does not declare, too");
  verb->add_flag("--force", options->force, "Print what can be read of a damaged data file");
  verb->callback([=] {
    options->si = *units == "si";
    *action = [=] { return dump(*options); };
  });
}

void addDiff(CLI::App& app, Action* action) {
  const auto options = std::make_shared<DiffOptions>();
  const auto tolerances = std::make_shared<std::vector<std::string>>();
  CLI::App* const verb = addVerb(
      app, "diff", "Compare the records of two surveys",
      "A and B are texts or data files. Records are matched by their keys (tavo schema), those\n"
      "without one by what they refer to and their order; layout, comments and the order of\n"
      "records with keys do not count. Prints - for what only A has, + for what only B has, and\n"
      "for what changed each field. B's values are shown in A's units.\n"
      "Exit status: 0 the same, 1 different, 2 a file cannot be read whole.\n\n"
      "Example: tavo diff before.tvo after.tvo --tolerance 0.001 --tolerance Hz=0.0005");
  verb->add_option("A", options->first, "Text or data file")->required()->type_name("");
  verb->add_option("B", options->second, "Text or data file")->required()->type_name("");
  verb->add_option("--tolerance", *tolerances, "Reals may differ by T, all or those of a field")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("T|FIELD=T");
  addForms(verb, &options->form, {"text", "json"}, "text for people, or json, a line a record");
  verb->callback([=] {
    for (const std::string& word : *tolerances) {
      const size_t equals = word.find('=');
      const bool named = equals != word.npos;
      double value = -1;
      if (!CLI::detail::lexical_cast(named ? word.substr(equals + 1) : word, value) ||
          !(value >= 0)) {
        throw CLI::ValidationError("--tolerance: '" + word + "' is not a number, or FIELD=NUMBER");
      }
      options->tolerances[named ? word.substr(0, equals) : ""] = value;
    }
    *action = [=] { return diff(*options); };
  });
}

void addSchema(CLI::App& app, Action* action) {
  const auto options = std::make_shared<SchemaOptions>();
  CLI::App* const verb = addVerb(
      app, "schema", "Print the format's own tables",
      "Without BLOCK the tree of blocks, else the fields of that block: type, key, what it refers\n"
      "to, unit and words. A block inside others may be named by its path: POINTS/THEMINFO.\n\n"
      "Example: tavo schema POINTS");
  verb->add_option("BLOCK", options->block, "Keyword of a block")->type_name("");
  addForms(verb, &options->form, {"text", "json"}, "text for people, or one line of json");
  verb->callback([=] { *action = [=] { return schema(*options); }; });
}

}  // namespace tavo::tool

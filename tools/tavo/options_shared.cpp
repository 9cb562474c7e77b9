// What the options of several verbs have in common.
#include "options.h"

#include <string>

namespace tavo::tool {

CLI::App* addVerb(CLI::App& app, const char* name, const char* description, const char* footer) {
  CLI::App* const verb = app.add_subcommand(name, description);
  verb->group("Verbs");
  verb->footer(footer);
  return verb;
}

void addOverwrite(CLI::App* verb, bool* overwrite) {
  verb->add_flag("--overwrite", *overwrite, "Replace a file there, whatever it is");
}

void addForm(CLI::App* verb, bool* json, const char* description) {
  verb->add_option_function<std::string>(
          "--format", [json](const std::string& form) { *json = form == "json"; }, description)
      ->check(CLI::IsMember({"text", "json"}).description(""))
      ->type_name("FORM")
      ->default_str("text");
}

}  // namespace tavo::tool

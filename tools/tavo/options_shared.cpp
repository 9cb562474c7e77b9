// What the options of several verbs have in common.
#include "options.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text.h"

namespace tavo::tool {

namespace {

// The lines of a help text as paragraphs for a terminal. Exit status and example begin their own.
std::string paragraphs(std::string_view text) {
  std::string shown, paragraph;
  const auto flush = [&] { shown += wrapped(std::exchange(paragraph, {})); };
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const bool begins = line.starts_with("Exit status:") || line.starts_with("Example:");
    if (line.empty() || begins) flush();
    if (line.empty()) shown += '\n';
    if (!line.empty()) paragraph += (paragraph.empty() ? "" : " ") + std::string(line);
  }
  flush();
  if (shown.ends_with('\n')) shown.pop_back();
  return shown;
}

}  // namespace

CLI::App* addVerb(CLI::App& app, const char* name, const char* description, const char* footer) {
  CLI::App* const verb = app.add_subcommand(name, description);
  verb->group("Verbs");
  verb->footer(paragraphs(footer));
  return verb;
}

void addOverwrite(CLI::App* verb, bool* overwrite) {
  verb->add_flag("--overwrite", *overwrite, "Replace a file there, whatever it is");
}

CLI::Option* oneOf(CLI::Option* option, const std::vector<std::string>& words) {
  return option->check(CLI::IsMember(words).description(""))
      ->type_name(CLI::detail::join(words, "|"));
}

void addForm(CLI::App* verb, bool* json, const char* description) {
  const auto set = [json](const std::string& form) { *json = form == "json"; };
  oneOf(verb->add_option_function<std::string>("--format", set, description), {"text", "json"})
      ->default_str("text");
}

}  // namespace tavo::tool

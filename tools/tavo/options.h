// How the verbs add themselves to the command line: their options and help texts.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "verbs.h"

namespace tavo::tool {

// A verb sets what is to be done when the command line has been read without an error.
using Action = std::function<int()>;

CLI::App* addVerb(CLI::App& app, const char* name, const char* description, const char* footer);
// --overwrite, of a verb that writes a file.
void addOverwrite(CLI::App* verb, bool* overwrite);
// An option whose value is one of some words, which the help and the completions show.
CLI::Option* oneOf(CLI::Option* option, const std::vector<std::string>& words);
// --format with those of the names text, json, csv, sarif and md.
CLI::Option* addForms(CLI::App* verb, Form* form, const std::vector<std::string>& names,
                      const char* description);
// --rule T101=off, of a verb that checks deep.
void addRules(CLI::App* verb, RuleSettings* rules);
// --format: one line of JSON, or several, instead of text for people.
void addForm(CLI::App* verb, bool* json, const char* description = "text for people, or json");

void addCheck(CLI::App& app, Action* action);
void addDump(CLI::App& app, Action* action);
void addImport(CLI::App& app, Action* action);
void addVerify(CLI::App& app, Action* action);
void addRepair(CLI::App& app, Action* action);
void addBuild(CLI::App& app, Action* action);
void addFormat(CLI::App& app, Action* action);
void addTimeline(CLI::App& app, Action* action);
void addExplain(CLI::App& app, Action* action);
void addInfo(CLI::App& app, Action* action);
void addDiff(CLI::App& app, Action* action);
void addSchema(CLI::App& app, Action* action);
void addReport(CLI::App& app, Action* action);
void addPlot(CLI::App& app, Action* action);
void addExport(CLI::App& app, Action* action);

}  // namespace tavo::tool

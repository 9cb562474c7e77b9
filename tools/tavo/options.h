// How the verbs add themselves to the command line: their options and help texts.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace tavo::tool {

// A verb sets what is to be done when the command line has been read without an error.
using Action = std::function<int()>;

CLI::App* addVerb(CLI::App& app, const char* name, const char* description, const char* footer);
// --overwrite, of a verb that writes a file.
void addOverwrite(CLI::App* verb, bool* overwrite);
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
void addReport(CLI::App& app, Action* action);
void addPlot(CLI::App& app, Action* action);
void addExport(CLI::App& app, Action* action);

}  // namespace tavo::tool

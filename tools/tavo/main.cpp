// The command line tool `tavo`: reads the command line and does what its verb asks for.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "console.h"
#include "interrupt.h"
#include "options.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// In the order of the help text.
constexpr void (*kVerbs[])(CLI::App&, Action*) = {
    addCheck,   addDump, addImport, addVerify, addRepair, addBuild, addFormat, addTimeline,
    addExplain, addInfo, addDiff,   addSchema, addReport, addPlot,  addExport,
};

// How many letters must be put in, left out, exchanged or swapped to make one word of the other.
size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<size_t>> rows(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) {
    for (size_t j = 0; j <= b.size(); ++j) {
      size_t& least = rows[i][j];
      least = i == 0 || j == 0 ? i + j : rows[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      if (i > 0 && j > 0) least = std::min({least, rows[i - 1][j] + 1, rows[i][j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) least = std::min(least, rows[i - 2][j - 2] + 1);
    }
  }
  return rows[a.size()][b.size()];
}

// Complains of a first word that is no verb, with the verb that it may have been meant for.
bool isUnknownVerb(const CLI::App& app, int argc, char** argv) {
  if (argc < 2 || argv[1][0] == '-' || argv[1][0] == '\0') return false;
  const std::string word = argv[1];
  std::string nearest;
  size_t least = 3;
  for (const CLI::App* verb : app.get_subcommands({})) {
    const size_t now = distance(word, verb->get_name());
    if (now == 0) return false;
    if (now >= least) continue;
    least = now;
    nearest = verb->get_name();
  }
  complain("'" + word + "' is no verb" +
           (nearest.empty() ? "; see 'tavo --help'" : "; did you mean 'tavo " + nearest + "'?"));
  return true;
}

int run(int argc, char** argv) {
  CLI::App app("Reads, checks, stores and writes TAVO survey files.", "tavo");
  // The same command lines on every platform: a path may begin with '/'.
  app.allow_windows_style_options(false);
  app.set_version_flag("--version", "tavo " TAVO_VERSION);
  app.require_subcommand(1);
  app.get_formatter()->label("REQUIRED", "");
  app.get_formatter()->label("SUBCOMMAND", "VERB");
  app.footer(
      "A file named - is the standard input or output. Any other output takes its place\n"
      "when complete, and replaces an existing file only when that is of its kind.\n"
      "Help for a verb: tavo VERB --help\nExample: tavo check survey.tvo");
  Action action;
  for (const auto add : kVerbs) add(app, &action);
  if (isUnknownVerb(app, argc, argv)) return kFailed;
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // 0 for --help and --version; every other code means that the call is wrong, and is explained
    // with words of the call itself.
    std::ostringstream message;
    const int code = app.exit(error, std::cout, message);
    std::istringstream lines(message.str());
    for (std::string line; std::getline(lines, line);) {
      std::fprintf(stderr, "%s\n", printable(line).c_str());
    }
    return code == 0 ? kSound : kFailed;
  }
  return action();
}

}  // namespace

}  // namespace tavo::tool

namespace {

int runProgram(int argc, tavo::tool::ArgumentChar** argv) {
  tavo::tool::prepareConsole();
  try {
    std::vector<std::string> words = tavo::tool::arguments(argc, argv);
    std::vector<char*> pointers = tavo::tool::argumentPointers(words);
    const int status = tavo::tool::run(static_cast<int>(words.size()), pointers.data());
    tavo::tool::endIfInterrupted();
    return status;
  } catch (const std::exception& error) {
    tavo::tool::complain(error.what());
    return tavo::tool::kFailed;
  }
}

}  // namespace

#ifdef _WIN32
// The start-up code splits the words of the command line; the shell's library, which could, too,
// takes longer to load than all else.
extern "C" int wmain(int argc, wchar_t** argv) { return runProgram(argc, argv); }
#else
int main(int argc, char** argv) { return runProgram(argc, argv); }
#endif

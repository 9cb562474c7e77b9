// tavo-export: what `tavo export` starts for every format that GDAL writes. It takes the same
// words.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "console.h"
#include "interrupt.h"
#include "options.h"
#include "verbs.h"

int main(int argc, char** argv) {
  using namespace tavo::tool;
  try {
    CLI::App app("Takes TAVO surveys into formats that GDAL writes.", "tavo");
    app.require_subcommand(1);
    Action action;
    addExport(app, &action);
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return app.exit(error, std::cout, std::cerr) == 0 ? kSound : kFailed;
    }
    const int status = action();
    endIfInterrupted();
    return status;
  } catch (const std::exception& error) {
    complain(error.what());
    return kFailed;
  }
}

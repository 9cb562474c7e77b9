// The verbs of the command line: what each is asked for, and the function that does it. The result
// is the exit status of the program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tavo/survey.h"

namespace tavo::tool {

enum ExitStatus : int {
  kSound = 0,
  kFindings = 1,  // something is wrong with the file
  kFailed = 2,    // a file cannot be read or written, or the call is wrong
};

struct CheckOptions {
  std::vector<std::string> files;
  std::string log;         // empty: no log is kept
  bool overwrite = false;  // the log's file, whatever it is
  uint16_t maxErrors = UINT16_MAX;
  bool json = false;
  bool quiet = false;
  bool failOnWarning = false;
  bool failOnEmpty = false;  // a file without any record
  size_t jobs = 0;           // files checked side by side; 0: as many as the machine has cores
};
int check(const CheckOptions& options);

struct DumpOptions {
  std::string file;        // text or data file
  bool allFields = false;  // also those that the file does not declare
  bool force = false;      // what can be read of a damaged data file
  bool si = false;         // lengths in metres and angles in radians, not in the file's units
};
int dump(const DumpOptions& options);

struct ImportOptions {
  std::string file;
  std::string dataFile;
  bool overwrite = false;   // the data file's, whatever it is
  bool compatible = false;  // of the kind that the exported functions use
};
int import(const ImportOptions& options);

struct RepairOptions {
  std::string file;
  std::string dataFile;
  bool overwrite = false;  // the new data file's, whatever it is
  bool json = false;
};
int repair(const RepairOptions& options);

struct VerifyOptions {
  std::string dataFile;
  bool json = false;
};
int verify(const VerifyOptions& options);

struct BuildOptions {
  std::string file;  // the data file; for format the text
  std::string output;
  bool overwrite = false;  // the output's file, whatever it is
  tavo_build_options layout = TAVO_BUILD_OPTIONS_INIT;
  bool force = false;  // also when something would be lost
};
int build(const BuildOptions& options);
int format(const BuildOptions& options);

struct TimelineOptions {
  std::string file;
  bool json = false;
};
int timeline(const TimelineOptions& options);

struct ReportOptions {
  std::vector<std::string> files;
  std::string output;
  bool overwrite = false;  // the page's file, whatever it is
};
int report(const ReportOptions& options);

struct PlotOptions {
  std::string file;
  std::string output;
  bool overwrite = false;               // the picture's file, whatever it is
  std::vector<std::string> layers;      // empty: everything
  size_t map = 0;                       // 0: the one with the most things on it
  unsigned width = 1200, height = 800;  // pixels
};
int plot(const PlotOptions& options);

struct ExportOptions {
  std::vector<std::string> files;
  std::string output;               // its suffix names the format; or a database, "PG:..."
  std::vector<std::string> layers;  // empty: those that the format takes by itself
  std::string survey;               // in the column `survey`; empty: what the file is called
  std::string crs;                  // taken instead of the file's own system
  std::string toCrs;                // moved into; empty: nothing is moved
  bool append = false;              // into what is there already
  bool replace = false;             // the same, but the surveys' old rows are taken out first
  bool strict = false;              // refuse what otherwise has a note
  bool overwrite = false;           // the output's file, whatever it is
  bool ignoreTransformations = false;
  std::vector<std::string> words;  // all of this as words of a command line
};
int exportSurveys(const ExportOptions& options);

}  // namespace tavo::tool

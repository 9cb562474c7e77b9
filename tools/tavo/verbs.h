// The verbs of the command line: what each is asked for, and the function that does it. The result
// is the exit status of the program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "writers/build.h"

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
};
int check(const CheckOptions& options);

struct DumpOptions {
  std::string file;        // text or data file
  bool allFields = false;  // also those that the file does not declare
  bool force = false;      // what can be read of a damaged data file
};
int dump(const DumpOptions& options);

struct ImportOptions {
  std::string file;
  std::string dataFile;
  bool overwrite = false;   // the data file's, whatever it is
  bool compatible = false;  // the kind that the exported functions write and read
};
int import(const ImportOptions& options);

int verify(const std::string& dataFile);

struct RepairOptions {
  std::string file;        // the damaged data file
  std::string dataFile;    // the new one
  bool overwrite = false;  // the new data file's, whatever it is
};
int repair(const RepairOptions& options);

struct BuildOptions {
  std::string file;  // the data file; for format the text
  std::string output;
  bool overwrite = false;  // the output's file, whatever it is
  writers::BuildSettings settings;
  bool force = false;  // also when something would be lost
};
int build(const BuildOptions& options);
int format(const BuildOptions& options);

int timeline(const std::string& file);

}  // namespace tavo::tool

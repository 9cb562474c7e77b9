// tavo export: a CSV is written here, everything else by the program beside this one that has GDAL,
// so that the tool neither waits for GDAL at its start nor needs it.
#include "console.h"
#include "export_csv.h"
#include "export_input.h"
#include "verbs.h"

#ifndef _WIN32
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iterator>
#endif

namespace tavo::tool {

namespace {

#ifdef _WIN32

int exportByGdal(const ExportOptions&) {
  complain("this format needs GDAL, which tavo for Windows does not have; csv works everywhere");
  return kFailed;
}

#else

constexpr char kProgram[] = "tavo-export";
// As seen from the folder of this program: in the build tree, and where it is installed.
constexpr const char* kFolders[] = {"", "../libexec/tavo/"};

// That program takes the place of this one, so signals and the exit status need no care.
int exportByGdal(const ExportOptions& options) {
  std::vector<std::string> words = {kProgram, "export"};
  words.insert(words.end(), options.words.begin(), options.words.end());
  const std::vector<char*> arguments = argumentPointers(words);
  std::string self(4096, '\0');
  const ssize_t size = readlink("/proc/self/exe", self.data(), self.size());
  self.resize(size > 0 ? static_cast<size_t>(size) : 0);
  const std::string folder = self.substr(0, self.find_last_of('/') + 1);
  for (const char* const where : kFolders) {
    execv((folder + where + kProgram).c_str(), arguments.data());
    if (errno == ENOENT || errno == ENOTDIR) continue;
    complain("'" + folder + where + kProgram + "' cannot be started: " + std::strerror(errno));
    return kFailed;
  }
  complain("this format needs GDAL, which this build of tavo does not have; csv works everywhere");
  return kFailed;
}

#endif

}  // namespace

int exportSurveys(const ExportOptions& options) {
  const ExportFormat* const format = exportFormat(options.output);
  if (format == nullptr) return kFailed;
  return format->driver == nullptr ? exportCsv(options) : exportByGdal(options);
}

}  // namespace tavo::tool

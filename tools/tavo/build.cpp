// tavo build: writes the records of a data file as text.
#include "console.h"
#include "files.h"
#include "stored_records.h"
#include "verbs.h"

namespace tavo::tool {

int build(const BuildOptions& options) {
  StoredRecords records;
  OutputFile output;
  const std::string problem =
      targetProblem(options.output, options.file, OutputKind::kText, options.overwrite);
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  if (!records.open(options.file) || !output.open(options.output)) return kFailed;
  const uint16_t status = writers::writeText(output, records, options.settings);
  if (records.complainAtEnd()) return kFindings;
  if (status == TVO_ERR_NO_RECORD) {
    complain("'" + options.file + "' holds records that begin no section (see 'tavo dump')");
    return kFindings;
  }
  if (status != TVO_OK) {
    complain("writing '" + options.output + "' failed");
    return kFailed;
  }
  return output.commit() ? kSound : kFailed;
}

}  // namespace tavo::tool

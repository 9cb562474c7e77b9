// tavo build: writes the records of a data file as text.
#include "complete_source.h"
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
  if (const ExitStatus opened =
          records.open(options.file, StoredRecords::Use::kText, options.force);
      opened != kSound) {
    return opened;
  }
  if (!output.open(options.output)) return kFailed;
  CompleteSource completed(records);
  const uint16_t status = records.complete()
                              ? writers::writeText(output, completed, options.settings)
                              : writers::writeText(output, records, options.settings);
  if (status == TVO_ERR_NO_RECORD) {
    complain("'" + options.file + "' holds records that begin no section (see 'tavo dump')");
    return kFindings;
  }
  if (status != TVO_OK) {
    complain("writing '" + options.output + "' failed");
    return kFailed;
  }
  const bool losses = records.complainOfLosses();
  if (records.damaged() && !options.force) return kFindings;
  if (!output.commit()) return kFailed;
  return losses ? kFindings : kSound;
}

}  // namespace tavo::tool

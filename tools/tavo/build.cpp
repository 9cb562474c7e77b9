// tavo build: writes the records of a data file as text.
#include "console.h"
#include "files.h"
#include "stored_records.h"
#include "verbs.h"

namespace tavo::tool {

int build(const BuildOptions& options) {
  DataFileInput file;
  StoredRecords records;
  Output output;
  std::string problem =
      targetProblem(options.output, options.file, OutputKind::kText, options.overwrite);
  if (problem.empty()) problem = file.open(options.file);
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  if (const ExitStatus opened = records.open(file, StoredRecords::Use::kText, options.force);
      opened != kSound) {
    return opened;
  }
  if (problem = output.open(options.output); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  const auto fetch = [](uint32_t move, tavo_record* record, void* user) -> uint32_t {
    return static_cast<StoredRecords*>(user)->fetch(move, record);
  };
  const tavo_target target = output.target();
  const tavo_status status = tavo_build(&target, fetch, &records, &options.layout);
  if (status == TVO_ERR_NO_RECORD) {
    complain("'" + file.name() + "' holds records that begin no section (see 'tavo dump'); use " +
             "--force to leave them out");
    return kFindings;
  }
  if (status != TAVO_OK) {
    complain("writing '" + options.output + "' failed");
    return kFailed;
  }
  const bool losses = records.complainOfLosses();
  if (records.damaged() && !options.force) return kFindings;
  if (!output.commit()) return kFailed;
  return losses ? kFindings : kSound;
}

}  // namespace tavo::tool

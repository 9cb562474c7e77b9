// Surveys as comma-separated values.
#pragma once

#include "verbs.h"

namespace tavo::tool {

// Writes each layer asked for into a file of its own.
int exportCsv(const ExportOptions& options);

}  // namespace tavo::tool

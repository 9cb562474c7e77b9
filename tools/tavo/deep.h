// The deep check: rules on what records mean together, beyond the form of their lines.
#pragma once

#include "findings.h"
#include "verbs.h"

namespace tavo::tool {

// Adds what the rules find to the findings of an analysis, in the order of the lines. settings hold
// the rules that are not as they are by default. An interruption of the program leaves the analysis
// incomplete. std::bad_alloc when memory runs out.
void checkDeep(const InputText& text, tavo_survey* survey, const RuleSettings& settings,
               Analysis* analysis);

}  // namespace tavo::tool

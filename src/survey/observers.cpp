// Findings in the public form.
#include "survey/observers.h"

#include <string>

namespace tavo::survey {

namespace {

tavo_finding viewOf(const reader::Finding& finding) {
  tavo_finding view = {};
  view.number = static_cast<uint32_t>(finding.number);
  view.kind = finding.number == reader::kNote  ? TAVO_NOTE
              : finding.number < reader::kNote ? TAVO_ERROR
                                               : TAVO_WARNING;
  view.line = finding.line.number;
  view.column = finding.column;
  view.length = finding.column == 0 ? 0 : static_cast<uint32_t>(finding.text.size());
  view.text = finding.text.data() == nullptr ? "" : finding.text.data();
  view.text_size = finding.text.size();
  view.message = finding.message.empty() ? "" : finding.message.data();
  view.source = finding.line.text.data();
  view.source_size = finding.line.text.size();
  return view;
}

}  // namespace

void Findings::tell(const tavo_finding& finding) {
  if (data_ != nullptr) data_->append(finding);
  if (options_.on_finding != nullptr) options_.on_finding(&finding, options_.finding_user);
}

void Findings::onFinding(const reader::Finding& finding) {
  const tavo_finding view = viewOf(finding);
  if (view.kind == TAVO_ERROR) ++errors;
  if (view.kind == TAVO_WARNING) ++warnings;
  tell(view);
}

// Every number that became another one has a note; of lost digits, which a file may be full of, the
// first ones alone.
void Findings::onLoss(reader::Loss loss, const reader::Finding& number) {
  const bool digits = loss == reader::Loss::kDigits;
  if (++(digits ? rounded : wrapped) > 1 && digits) return;
  const std::string note = "'" + std::string(number.text) +
                           (digits ? "' has more digits than its field keeps"
                                   : "' does not fit its field and is read as another number");
  tavo_finding view = viewOf(number);
  view.text = note.data();
  view.text_size = note.size();
  tell(view);
}

}  // namespace tavo::survey

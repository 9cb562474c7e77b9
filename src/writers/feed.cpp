// Fetching and stepping back.
#include "writers/feed.h"

namespace tavo::writers {

void Feed::fetch(uint32_t mode) {
  uint32_t type = 0;
  void* record = nullptr;
  status_ = source_.fetch(mode, &type, &record);
  // Success without a record is no record.
  if (status_ == 0 && record == nullptr) status_ = TVO_ERR_NO_RECORD;
  type_ = type;
  record_ = static_cast<const char*>(record);
}

void Feed::returnBehind(RecordType type, uint64_t passed) {
  if (status_ == TVO_ERR_ABORTED) return;
  // One more: a source may stand behind its last record after a failed step forward.
  for (uint64_t steps = 0; steps <= passed; ++steps) {
    fetch(TVO_PREVIOUS);
    if (!ok() || type_ == type) break;
  }
  if (status_ != TVO_ERR_ABORTED) fetch(TVO_NEXT);
}

}  // namespace tavo::writers

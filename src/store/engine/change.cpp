// Begins and takes back changes.
#include "store/engine/change.h"

#include "store/engine/page_cache.h"

namespace tavo::engine {

Change::Change(ControlBlock& file)
    : file_(file),
      code_(file.cache->settle(file)),
      pagesInUse_(file.header.pagesInUse),
      nextRecord_(file.header.nextRecord),
      freeCount_(file.header.freeCount),
      recordCount_(file.header.recordCount) {
  assert(!file.images.open());
  file.images.begin();
  file.ioError = kOk;
}

void Change::undo() {
  FileHeader& header = file_.header;
  header.pagesInUse = pagesInUse_;
  header.nextRecord = nextRecord_;
  header.freeCount = freeCount_;
  header.recordCount = recordCount_;
  file_.headerChanged = true;
  file_.cache->undo(file_);
  file_.invalidatePositions();
  file_.images.begin();
  file_.ioError = kOk;
}

}  // namespace tavo::engine

// Brings a data file together with its journal: takes back what a transaction left undone, and
// makes the journal when there is none.
#pragma once

#include "store/engine/control_block.h"

namespace tavo::engine {

// Whoever opens a file that has a journal and whoever takes its gate does this first. A transaction
// that did not come to its end is taken back, or the file refused: with kBadJournal when the
// journal is another file's or the file is in another state than the transaction can have left it
// in, with kInterrupted when there is something to take back and this opener cannot write.
int recover(ControlBlock& file);

// Before the first transaction of an opener that writes, with the header read: sees to it that
// there is a journal of this file.
int provideJournal(ControlBlock& file);

}  // namespace tavo::engine

// Read and write transactions: the locks between openers, the change check, the writes that end a
// change, and the transfers of header and markers that these need.
#pragma once

#include <cstdint>

#include "store/engine/control_block.h"

namespace tavo::engine {

// --- Transfers of header and markers
int readHeader(ControlBlock& file);
int writeHeader(ControlBlock& file);
int writeMarker(ControlBlock& file, std::uint32_t position, std::uint16_t value);

// --- Transactions. Each returns a Code; they nest.
int lockGate(ControlBlock& file);
int unlockGate(ControlBlock& file);
int enterRead(ControlBlock& file);
int leaveRead(ControlBlock& file);
int enterWrite(ControlBlock& file);
// The writes that end a transaction; only the outermost one has any.
int completeWrite(ControlBlock& file);
// Ends it behind them.
int releaseWrite(ControlBlock& file);
// Both; the locks are given back whatever the result.
int leaveWrite(ControlBlock& file);
// Before a page is read: drops what is known of a shared file that another opener changed.
int noticeChange(ControlBlock& file);
// Before a page of a safe write is written: sets the marker, once per transaction.
int safeWriteStep(ControlBlock& file);

// Keeps a read or write transaction until its end.
class ReadTransaction {
 public:
  explicit ReadTransaction(ControlBlock& file) : file_(file), code_(enterRead(file)) {}
  int code() const { return code_; }
  // Ends it; its error replaces the result.
  int end(int result) {
    const int code = leaveRead(file_);
    return code != kOk ? code : result;
  }

 private:
  ControlBlock& file_;
  int code_;
};

}  // namespace tavo::engine

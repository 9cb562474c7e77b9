// The writers' view of the record source: the current record, and the steps that the protocol with
// a host's callback allows.
#pragma once

#include <cstdint>

#include "tavo/records.h"
#include "writers/build.h"

namespace tavo::writers {

class Feed {
 public:
  explicit Feed(RecordSource& source) : source_(source) {}

  void first() { fetch(TVO_FIRST); }
  void next() {
    previous_ = type_;
    fetch(TVO_NEXT);
  }
  // Steps back to the latest record of the type and then one forward, onto the record that followed
  // it, `passed` records before the current one. A source that never delivers the type does not
  // hold the library up: the search ends with the records that were passed. An abort stays.
  void returnBehind(RecordType type, uint64_t passed);

  bool ok() const { return status_ == 0; }
  bool at(RecordType type) const { return ok() && type_ == type; }
  uint16_t status() const { return status_; }
  // Both hold while ok().
  RecordType type() const { return type_; }
  const char* record() const { return record_; }
  // Type of the record before the last next().
  RecordType previousType() const { return previous_; }

 private:
  void fetch(uint32_t mode);

  RecordSource& source_;
  uint16_t status_ = 0;
  RecordType type_ = 0;
  RecordType previous_ = 0;
  const char* record_ = nullptr;
};

}  // namespace tavo::writers

// TAVO library, object interface for C++: collects the time-stamped records of a text file in
// memory and walks them in time order. The virtual slots stand in a fixed order, without a
// virtual destructor, so that a host compiled apart can call them.
#pragma once

#include <cstdint>

#include "tavo/tavo.h"

// A position in the time-ordered sequence of an ITavo object's points, setups and codes. Made by
// ITavo::CreateCursor, owned by the object, valid until ITavo::Delete. It sees the entries that
// were there when it was made.
class TimeCursor {
 public:
  // Stand on the entry with the smallest or the largest time; 1 when there is one, else 0.
  virtual uint32_t First() = 0;
  virtual uint32_t Last() = 0;
  // Step forward or backward; 1 when the cursor then stands on an entry, else 0. Each has a second
  // slot that does the same.
  virtual uint32_t Next() = 0;
  virtual uint32_t NextEntry() = 0;
  virtual uint32_t Previous() = 0;
  virtual uint32_t PreviousEntry() = 0;
  // 1 while the cursor stands on an entry, else 0.
  virtual uint32_t IsValid() = 0;
  // Stores a pointer to the current record's bytes and returns its kind: 1 PointRecord, 2
  // SetupRecord or SlopeRecord, 3 TimeTaggedRecord. Stores null and returns 0 without one.
  virtual uint32_t Get(const void** record) = 0;
  // Does nothing.
  virtual void Reserved() = 0;

 protected:
  ~TimeCursor() = default;
};

class ITavo {
 public:
  // Runs the analysis of a text file as TVO_Analyse does (flags: the error limit in the low 16
  // bits), appends its time-stamped records to those collected before and sorts them. Always 0:
  // look at the counters and the log.
  virtual uint16_t Analyse(const char* inputPath, const char* logPath, uint32_t flags,
                           uint16_t* errors, uint16_t* warnings) = 0;
  // Makes a cursor over the collected records.
  virtual TimeCursor* CreateCursor() = 0;
  // Destroys the object with its entries and cursors.
  virtual void Delete() = 0;
  // Sorts the collected records by time.
  virtual void Sort() = 0;

 protected:
  ~ITavo() = default;
};

// Returns a new, empty object, or null when memory runs out.
extern "C" TVO_API ITavo* TVO_CALL GetITavo();

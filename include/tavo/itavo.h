// TAVO library, object interface for C++: collects the time-stamped records of a text file in
// memory and walks them in time order. The virtual slots stand in a fixed order, without a
// virtual destructor, so that a host compiled apart can call them. What tavo.h says of threads and
// paths holds here, too; no operation lets an exception out.
#pragma once

#include <cstdint>

#include "tavo/tavo.h"

// A position in the time-ordered sequence of an ITavo object's points, setups and codes. Made by
// ITavo::CreateCursor, owned by the object, valid until ITavo::Delete.
//
// A cursor keeps how many entries of each kind there were when it was made, not which: after a
// further Analyse it walks over as many entries, but those that are now the first in time. Make a
// new one after each Analyse. It goes on in one direction: after a change of direction, begin anew
// with First or Last.
//
// The order is that of a key of 32 bits, which hosts rely on: the hundredths of a second since the
// year 0, of months of 31 days, modulo 2^32. It starts anew about every 497 such days, so it is the
// order in time only within records of a few months. In the half of that time in which the key is
// negative an entry is collected, but absent for every cursor; what has a key of 0 and above is not
// hidden by it. For an order without gaps, take the records from TVO_Analyse.
class TimeCursor {
 public:
  // Stand on the entry with the smallest or the largest key; 1 when there is one, else 0. On equal
  // keys points come before setups, and setups before codes, in both directions.
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
  // SlopeRecord (a SetupRecord has no time), 3 TimeTaggedRecord. Stores null and returns 0 without
  // one. The record, and the values of a code, are the object's and stay where they are until its
  // Delete. record may be null.
  virtual uint32_t Get(const void** record) = 0;
  // Does nothing.
  virtual void Reserved() = 0;

 protected:
  ~TimeCursor() = default;
};

class ITavo {
 public:
  // Runs the analysis of a text file as TVO_Analyse does (flags: the error limit in the low 16
  // bits), appends copies of its time-stamped points, slopes and codes to those collected before
  // and sorts them; records of the year 0 have no time. Closes the library's data file as
  // TVO_Analyse does. Always 0: look at the counters and the log. The counters, of which either may
  // be null, are left alone when a file cannot be opened. Since a host could not tell that records
  // are missing, the program ends with "out of memory" on standard error when memory runs out.
  virtual uint16_t Analyse(const char* inputPath, const char* logPath, uint32_t flags,
                           uint16_t* errors, uint16_t* warnings) = 0;
  // Makes a cursor over the collected records, which stands on none. Null when memory runs out.
  virtual TimeCursor* CreateCursor() = 0;
  // Destroys the object with its entries and cursors; nothing of it may be used afterwards.
  virtual void Delete() = 0;
  // Sorts the collected records by their keys, as Analyse does. Records of one kind with equal keys
  // are in no particular order.
  virtual void Sort() = 0;

 protected:
  ~ITavo() = default;
};

// Returns a new, empty object, or null when memory runs out.
extern "C" TVO_API ITavo* TVO_CALL GetITavo();

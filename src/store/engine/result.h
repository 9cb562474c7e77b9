// Results inside the engine that its callers do not see, and what they become outside.
#pragma once

#include "store/engine/engine.h"

namespace tavo::engine {

// A page that claims too many entries or whose entries do not fit it: nothing can be found in it.
constexpr int kUnreadable = -1000;
// A read, a flush or another call of the system failed outright. Nothing was found out by it, so it
// must not be taken for kNotFound.
constexpr int kSystemFailed = -1001;
// The file cannot be extended.
constexpr int kNoRoom = -1002;

// What an operation returns for a result from inside.
inline int publicCode(int code) {
  switch (code) {
    case kSystemFailed:
      return kNotFound;
    case kUnreadable:
      return kCorrupt;
    case kNoRoom:
      return kWriteFailed;
    default:
      return code;
  }
}

}  // namespace tavo::engine

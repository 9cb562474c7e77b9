// Ctrl-C and its like while an output is under construction: the program is asked to come to the
// place where it removes the temporary file, and ends there.
#pragma once

namespace tavo::tool {

// While at least one of these lives a request to end the program is only noted.
class Interruptible {
 public:
  Interruptible();
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;
  ~Interruptible();
};

// Whether the program was asked to end. What takes long looks at it now and then.
bool interrupted();

// The same for work that is many calls deep: throws Interruption, which ends it.
struct Interruption {};
inline void throwIfInterrupted() {
  if (interrupted()) throw Interruption();
}

// For the end of the program: ends it as the request would have done. Comes back when there was
// none.
void endIfInterrupted();

}  // namespace tavo::tool

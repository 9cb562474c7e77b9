// Signals and console events.
#include "interrupt.h"

#ifdef _WIN32
#include <windows.h>

#include <atomic>
#else
#include <csignal>
#include <iterator>
#include <mutex>
#endif

namespace tavo::tool {

#ifdef _WIN32

namespace {

std::atomic<bool> requested;

// Runs in a thread of its own. Windows ends the program when the handler of a closing window is
// done, so that one waits for the end of the program.
BOOL WINAPI note(DWORD event) {
  requested = true;
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

Interruptible::Interruptible() { SetConsoleCtrlHandler(note, TRUE); }
Interruptible::~Interruptible() { SetConsoleCtrlHandler(note, FALSE); }

bool interrupted() { return requested; }

void endIfInterrupted() {
  if (requested) ExitProcess(static_cast<UINT>(STATUS_CONTROL_C_EXIT));
}

#else

namespace {

volatile std::sig_atomic_t requested = 0;

void note(int signal) { requested = signal; }

// A file that may not grow is a write that fails, with its message.
const struct {
  int number;
  void (*handler)(int);
} kSignals[] = {
    {SIGINT, note}, {SIGTERM, note}, {SIGHUP, note}, {SIGPIPE, note}, {SIGXFSZ, SIG_IGN}};
// Files that are checked side by side have one each.
std::mutex guard;
struct sigaction before[std::size(kSignals)];
int living = 0;

}  // namespace

Interruptible::Interruptible() {
  const std::lock_guard lock(guard);
  if (living++ > 0) return;
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    struct sigaction action = {};
    action.sa_handler = kSignals[i].handler;
    sigaction(kSignals[i].number, nullptr, &before[i]);
    // What the program was started to ignore it goes on ignoring.
    if (before[i].sa_handler != SIG_IGN) sigaction(kSignals[i].number, &action, nullptr);
  }
}

Interruptible::~Interruptible() {
  const std::lock_guard lock(guard);
  if (--living > 0) return;
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i].number, &before[i], nullptr);
  }
}

bool interrupted() { return requested != 0; }

void endIfInterrupted() {
  if (requested != 0) std::raise(requested);
}

#endif

}  // namespace tavo::tool

/* Preloaded into 32-bit Wine when a user-mode emulator runs it, on machines whose kernel or
 * hypervisor cannot run 32-bit programs. Corrects what the emulator does differently from Linux and
 * Wine relies on. Free of library headers, so that a compiler without a 32-bit C library builds it.
 */

enum {
  kSysExecve = 11,
  kSysMunmap = 91,
  kSysModifyLdt = 123,
  kSysMmap2 = 192,
  kSysSetThreadArea = 243,
  kMapFixedNoReplace = 0x100000,
  kErrNoMem = 12,
  kErrExist = 17,
  kErrInvalid = 22
};
static const unsigned kUserSpaceEnd = 0x7ffe0000u;
static const unsigned kGranularity = 0x10000u;
static const unsigned kLastError = 0xfffff000u;

extern int* __errno_location(void);
extern char* getenv(const char* name);
extern char** environ;
extern void* dlsym(void* handle, const char* name);
extern void* malloc(unsigned size);
extern void free(void* memory);

static unsigned systemCall(unsigned number, const unsigned args[6]) {
  __asm__ volatile(
      "push %%ebp\n\tpush %%ebx\n\t"
      "mov 0(%1), %%ebx\n\tmov 4(%1), %%ecx\n\tmov 8(%1), %%edx\n\t"
      "mov 12(%1), %%esi\n\tmov 20(%1), %%ebp\n\tmov 16(%1), %%edi\n\t"
      "int $0x80\n\t"
      "pop %%ebx\n\tpop %%ebp"
      : "+a"(number), "+D"(args)
      :
      : "ecx", "edx", "esi", "memory");
  return number;
}

static void* failed(int error) {
  *__errno_location() = error;
  return (void*)-1;
}

/* The emulator takes a fixed-no-replace address as a hint and maps elsewhere when it is taken, and
 * Wine's search for address space above its own end, 64 KiB by 64 KiB, would take a minute per
 * process: the first is answered as Linux does, the second is refused at once. */
void* mmap64(void* start, unsigned length, int protection, int flags, int fd, long long offset) {
  const unsigned address = (unsigned)start;
  const int exact = (flags & kMapFixedNoReplace) != 0;
  if ((offset & 0xfff) != 0) return failed(kErrInvalid);
  if (exact && protection == 0 &&
      (address >= 0x80000000u || (address >= kUserSpaceEnd && length > kGranularity))) {
    return failed(kErrNoMem);
  }
  const unsigned args[6] = {address,         length,       (unsigned)protection,
                            (unsigned)flags, (unsigned)fd, (unsigned)(offset >> 12)};
  const unsigned result = systemCall(kSysMmap2, args);
  if (result > kLastError) return failed((int)-result);
  if (exact && result != address) {
    const unsigned mapped[6] = {result, length, 0, 0, 0, 0};
    systemCall(kSysMunmap, mapped);
    return failed(kErrExist);
  }
  return (void*)result;
}

void* mmap(void* start, unsigned length, int protection, int flags, int fd, long offset) {
  return mmap64(start, length, protection, flags, fd, offset);
}

static int endsWith(const char* text, const char* tail) {
  unsigned n = 0;
  unsigned m = 0;
  while (text[n] != 0) ++n;
  while (tail[m] != 0) ++m;
  if (n < m) return 0;
  for (unsigned i = 0; i < m; ++i) {
    if (text[n - m + i] != tail[i]) return 0;
  }
  return 1;
}

/* Wine starts its loader and its server as programs: they go through the emulator again. */
int execv(const char* path, char* const argv[]) {
  const char* replacement = 0;
  if (endsWith(path, "/wine")) replacement = getenv("EMULATED_WINE_LOADER");
  if (endsWith(path, "/wineserver")) replacement = getenv("EMULATED_WINE_SERVER");
  if (replacement != 0) path = replacement;
  const unsigned args[6] = {(unsigned)path, (unsigned)argv, (unsigned)environ, 0, 0, 0};
  *__errno_location() = -(int)systemCall(kSysExecve, args);
  return -1;
}

/* The emulator delivers every signal with trap number -1. Wine tells page faults, breakpoints and
 * the like apart by it: it is rebuilt from the signal and its code. */
typedef void (*Handler)(int signal, int* info, unsigned* context);

struct Action {
  Handler handler;
  unsigned mask[32];
  int flags;
  void (*restorer)(void);
};

enum { kSigIll = 4, kSigTrap = 5, kSigBus = 7, kSigFpe = 8, kSigSegv = 11, kWantsInfo = 4 };
/* Word of the user context that holds the trap number: 5 words precede the 19 registers. */
enum { kTrapWord = 5 + 12 };

static Handler handlers[65];

static unsigned trapOf(int signal, int code) {
  switch (signal) {
    case kSigTrap:
      return code == 2 ? 1 : 3;
    case kSigFpe:
      return code == 1 ? 0 : 16;
    case kSigIll:
      return 6;
    case kSigSegv:
      return code == 1 || code == 2 ? 14 : 13;
    default:
      return 14;
  }
}

static void withTrapNumber(int signal, int* info, unsigned* context) {
  if (context[kTrapWord] == 0xffffffffu) context[kTrapWord] = trapOf(signal, info[2]);
  handlers[signal](signal, info, context);
}

int sigaction(int signal, const struct Action* action, struct Action* old) {
  static int (*next)(int, const struct Action*, struct Action*);
  if (next == 0) {
    next = (int (*)(int, const struct Action*, struct Action*))dlsym((void*)-1L, "sigaction");
  }
  const int wrapped = signal == kSigIll || signal == kSigTrap || signal == kSigBus ||
                      signal == kSigFpe || signal == kSigSegv;
  if (!wrapped || action == 0 || (action->flags & kWantsInfo) == 0) {
    return next(signal, action, old);
  }
  const Handler before = handlers[signal];
  struct Action changed = *action;
  changed.handler = withTrapNumber;
  handlers[signal] = action->handler;
  const int result = next(signal, &changed, old);
  if (old != 0 && before != 0) old->handler = before;
  return result;
}

/* The emulator's threads share one global descriptor table, where each of Linux' has its own. Wine
 * loads %fs and %gs again and again, so a thread would get the block of another one, started later,
 * from the entry that both use. The local table is one for all threads on Linux, too: every thread
 * gets a descriptor of its own there for %gs, and Wine takes one for %fs once the global table is
 * full; it leaves the first 512 to who uses them for %gs.
 */
struct Descriptor {
  int entry;
  unsigned base;
  unsigned limit;
  unsigned flags;
};

enum { kThreadDescriptors = 512, kWriteLocal = 0x11, kOfLocalTable = 7, kOfGlobalTable = 3 };

static unsigned descriptorBases[kThreadDescriptors];
static int globalEntry;
static int descriptorLock;

static void lockDescriptors(void) {
  while (__sync_lock_test_and_set(&descriptorLock, 1) != 0) {
  }
}

static void unlockDescriptors(void) { __sync_lock_release(&descriptorLock); }

/* Of 32-bit data, with a limit in pages, for this thread's block. */
static struct Descriptor descriptorHere(int entry) {
  struct Descriptor here = {entry, 0, 0xfffff, 0x51};
  __asm__ volatile("mov %%gs:0, %0" : "=r"(here.base));
  return here;
}

static void loadGs(int entry, int table) {
  __asm__ volatile("mov %w0, %%gs" : : "r"((entry << 3) | table));
}

static unsigned setGlobal(struct Descriptor* descriptor) {
  const unsigned args[6] = {(unsigned)descriptor, 0, 0, 0, 0, 0};
  return systemCall(kSysSetThreadArea, args);
}

/* Into an entry of this thread's own: that of an ended thread when its block is used again. */
static void leaveGlobalTable(void) {
  struct Descriptor own = descriptorHere(0);
  const unsigned args[6] = {kWriteLocal, (unsigned)&own, sizeof own, 0, 0, 0};
  while (descriptorBases[own.entry] != 0 && descriptorBases[own.entry] != own.base) {
    if (++own.entry == kThreadDescriptors) __builtin_trap();
  }
  descriptorBases[own.entry] = own.base;
  if (systemCall(kSysModifyLdt, args) != 0) __builtin_trap();
  loadGs(own.entry, kOfLocalTable);
}

__attribute__((constructor)) static void fillGlobalTable(void) {
  struct Descriptor any = descriptorHere(-1);
  __asm__ volatile("mov %%gs, %0" : "=r"(globalEntry));
  globalEntry >>= 3;
  leaveGlobalTable();
  while (setGlobal(&any) == 0) any.entry = -1;
}

struct Start {
  void* (*routine)(void*);
  void* argument;
};

static void* startThread(void* memory) {
  const struct Start start = *(struct Start*)memory;
  free(memory);
  lockDescriptors();
  leaveGlobalTable();
  unlockDescriptors();
  return start.routine(start.argument);
}

/* A new thread starts with its creator's selector and its own block in the global table. */
int pthread_create(void* thread, const void* attributes, void* (*routine)(void*), void* argument) {
  typedef int (*Create)(void*, const void*, void* (*)(void*), void*);
  const Create create = (Create)dlsym((void*)-1L, "pthread_create");
  struct Descriptor here = descriptorHere(globalEntry);
  struct Start* start = malloc(sizeof *start);
  if (start == 0) return kErrNoMem;
  start->routine = routine;
  start->argument = argument;
  lockDescriptors();
  setGlobal(&here);
  loadGs(globalEntry, kOfGlobalTable);
  const int result = create(thread, attributes, startThread, start);
  leaveGlobalTable();
  unlockDescriptors();
  if (result != 0) free(start);
  return result;
}

// Following the jumps through which a Windows host reaches an imported function.
#include "api/callbacks.h"

#if defined(_WIN32)
#include <windows.h>

#include <cstdint>
#include <cstring>
#endif

namespace tavo::api {

#if defined(_WIN32)

namespace {

// Memory that a host points to may be anything, so it is read through the system.
bool peek(const void* address, void* bytes, size_t count) {
  SIZE_T done = 0;
  return ReadProcessMemory(GetCurrentProcess(), address, bytes, count, &done) != 0 && done == count;
}

// Where a jump instruction at the address leads, or null when none stands there.
const void* jumpTarget(const void* address) {
  uint8_t code[6];
  if (!peek(address, code, sizeof code)) return nullptr;
  const auto place = reinterpret_cast<uintptr_t>(address);
  int32_t operand = 0;
  if (code[0] == 0xFF && code[1] == 0x25) {  // jmp [operand]: through an import table
    std::memcpy(&operand, code + 2, sizeof operand);
    // 32-bit code names the entry's address, 64-bit code its distance from the next instruction.
    const uintptr_t entry = sizeof(void*) == 4 ? static_cast<uint32_t>(operand)
                                               : place + 6 + static_cast<uintptr_t>(operand);
    const void* target = nullptr;
    return peek(reinterpret_cast<const void*>(entry), &target, sizeof target) ? target : nullptr;
  }
  if (code[0] == 0xE9) {  // jmp relative to the next instruction: incremental linking
    std::memcpy(&operand, code + 1, sizeof operand);
    return reinterpret_cast<const void*>(place + 5 + static_cast<uintptr_t>(operand));
  }
  return nullptr;
}

}  // namespace

bool isExport(const void* callback, const void* local, const void* visible) {
  constexpr int kMostJumps = 4;
  for (int jump = 0; callback != nullptr && jump <= kMostJumps; ++jump) {
    if (callback == local || callback == visible) return true;
    callback = jumpTarget(callback);
  }
  return false;
}

#else

bool isExport(const void* callback, const void* local, const void* visible) {
  return callback == local || callback == visible;
}

#endif

}  // namespace tavo::api

// Callbacks of a host that several tests hand over.
#pragma once

#include <cstdint>

#include "tavo/tavo.h"

namespace tavo::tests {

inline std::uint32_t TVO_CALL ignore(std::uint32_t, const void*) { return TVO_OK; }
inline std::uint16_t TVO_CALL noRecord(std::uint32_t, std::uint32_t*, void**) { return 1; }

}  // namespace tavo::tests

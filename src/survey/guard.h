// The guard around every function that a host calls: no exception leaves the library.
#pragma once

#include <type_traits>

namespace tavo::survey {

// The result of work, or failure when an exception ends it: memory has run out, or a callback of
// the host has thrown one through the library. What the work had begun is undone by destructors.
template <class Work, class Result = std::invoke_result_t<Work>>
Result guarded(std::type_identity_t<Result> failure, Work work) noexcept {
  try {
    return work();
  } catch (...) {
    return failure;
  }
}

}  // namespace tavo::survey

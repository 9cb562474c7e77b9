// Values out of bytes that need not be aligned.
#pragma once

#include <cstring>

namespace tavo::schema {

template <class T>
T load(const void* bytes) {
  T value;
  memcpy(&value, bytes, sizeof value);
  return value;
}

}  // namespace tavo::schema

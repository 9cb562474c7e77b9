// Looks owners up.
#include "owners.h"

#include "record_json.h"

namespace tavo::tool {

OwnerIndex::OwnerIndex(const tavo_records& owners) {
  constexpr size_t kRoom = sizeof(TVO_PointRecord::PointID);
  numbers_.reserve(owners.count);
  for (size_t i = 0; i < owners.count; ++i) {
    const char* const owner = recordAt(owners, i);
    numbers_.try_emplace(load<uint32_t>(owner), i);
    if (const std::string_view id = textOf(owner + kOwnerId, kRoom); !id.empty()) {
      ids_.try_emplace(id, i);
    }
  }
}

size_t OwnerIndex::find(uint32_t number, std::string_view id) const {
  if (number != 0) {
    const auto found = numbers_.find(number);
    return found == numbers_.end() ? SIZE_MAX : found->second;
  }
  const auto found = ids_.find(id);
  return found == ids_.end() ? SIZE_MAX : found->second;
}

}  // namespace tavo::tool

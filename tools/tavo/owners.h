// Points, lines or polygons as other records name them: by number, or by identifier.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "tavo/survey.h"

namespace tavo::tool {

// Where all three keep their identifier, behind the number that they begin with.
inline constexpr size_t kOwnerId = offsetof(TVO_PointRecord, PointID);
static_assert(offsetof(TVO_LineRecord, LineID) == kOwnerId &&
              offsetof(TVO_PolygonRecord, PolygonID) == kOwnerId);

class OwnerIndex {
 public:
  // The records must outlive it.
  explicit OwnerIndex(const tavo_records& owners);

  // The place of the first with that number or, where a reference gives none, with that identifier;
  // SIZE_MAX when there is none.
  size_t find(uint32_t number, std::string_view id) const;

 private:
  std::unordered_map<uint32_t, size_t> numbers_;
  std::unordered_map<std::string_view, size_t> ids_;
};

}  // namespace tavo::tool

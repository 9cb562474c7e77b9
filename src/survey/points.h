// Places of a survey's points: which of their coordinates count, in metres or degrees, in which
// reference system; and points found by number or identifier.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <vector>

#include "survey/crs.h"
#include "survey/view.h"

namespace tavo::survey {

inline constexpr size_t kNowhere = SIZE_MAX;

// A record's number or text key; a number of 0 and an empty text are none.
struct PointKey {
  uint32_t number = 0;
  std::string_view id;
};

// Records of a type found by their number; of several the first.
class NumberIndex {
 public:
  // By the 32-bit member at this offset of the records.
  NumberIndex(const tavo_records& records, size_t offset);
  size_t find(uint32_t number) const;
  // Calls back with (index, first) for every record whose number an earlier one has.
  template <class Function>
  void eachTwin(Function function) const {
    for (size_t i = 1, first = 0; i < order_.size(); ++i) {
      if (numbers_[order_[i]] != numbers_[order_[first]]) {
        first = i;
      } else {
        function(order_[i], order_[first]);
      }
    }
  }

 private:
  std::vector<uint32_t> numbers_;
  std::vector<size_t> order_;  // by number, then place
};

class Points {
 public:
  Points(const SurveyView& view, const ReferenceSystems& systems, GeometryFindings& findings);
  Points(const Points&) = delete;
  Points& operator=(const Points&) = delete;

  const std::vector<tavo_position>& positions() const { return positions_; }
  const std::vector<tavo_crs>& systems() const { return crs_; }
  // Radians of a place in a system of geographic or projected coordinates; nothing in others.
  std::optional<Geographic> geographic(uint32_t crs, double x, double y) const;
  // Place of the point among POINTS, or kNowhere. For one thread at a time.
  size_t find(const PointKey& key) const;
  // Whether the point of that place has coordinates.
  bool located(size_t index) const { return index != kNowhere && positions_[index].dimension != 0; }

 private:
  // Which of the two heights of a point its z is.
  enum class Height : uint8_t { kNone, kElevation, kEllipsoidal };
  struct Bits {
    tavo_given east, north, elevation, lon, lat, height, x, y, z, set;
  };
  const std::vector<size_t>& byId() const;
  struct CrsTexts {
    std::string name, wkt;
    const Projector* projector = nullptr;
    System zone;  // owns them where the set is zoned
  };

  void place(size_t index, const schema::Units& units);
  bool placeGrid(size_t index, const PointRecord& record, const schema::Units& units,
                 const ProjectionSet* set);
  bool placeGeographic(size_t index, double lat, double lon, const ProjectionSet* set);
  bool placeGeocentric(size_t index, const PointRecord& record, const schema::Units& units,
                       const ProjectionSet* set);
  const ProjectionSet* setOf(size_t index, const PointRecord& record, tavo_given given);
  uint32_t crsOf(const ProjectionSet* set, int zone, uint32_t coordinates);
  void settleHeights();
  void tellTwins();

  SurveyView view_;
  const ReferenceSystems& systems_;
  GeometryFindings& findings_;
  Bits bits_;
  std::vector<tavo_position> positions_;
  std::vector<Height> heights_;
  std::vector<tavo_crs> crs_;
  std::deque<CrsTexts> texts_;  // what crs_ points to
  std::map<std::tuple<const ProjectionSet*, int, uint32_t>, uint32_t> known_;
  std::map<uint16_t, size_t> unknownSets_;
  size_t withoutSystem_ = 0;
  NumberIndex numbers_;
  // Of points with an identifier, by it, then place; there from the first search on, since most
  // surveys name their points by number.
  mutable std::optional<std::vector<size_t>> byId_;
};

}  // namespace tavo::survey

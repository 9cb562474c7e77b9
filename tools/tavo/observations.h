// What theodolite observations say of their own quality: differences between the two faces, and how
// well the sets of a setup repeat.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tavo/survey.h"

namespace tavo::tool {

// The n-th sighting of a target in face one and the n-th in face two, in one setup. Face two less
// face one: directions 200 gon apart and zenith angles that add up to 400 gon have the difference
// 0.
struct FacePair {
  size_t one, two;          // places among SLOPE
  double hz, vz, distance;  // gon, metres; NaN where one of the two is not given
};

// A target that was sighted in several sets of a setup. A set is a pair of faces, or where a target
// has no two such pairs a sighting in the face that was used more often.
struct Repetition {
  size_t first;             // place of its first sighting among SLOPE
  size_t sets;              // at least 2
  double hz, vz, distance;  // standard deviation of one set, gon and metres; NaN: fewer than 2
};

struct Observations {
  std::vector<FacePair> pairs;
  std::vector<Repetition> repetitions;
};

Observations observationsOf(const tavo_survey* survey, const tavo_geometry* geometry);

// Whether an observation was made in face two.
bool isFaceTwo(const tavo_observation& observation);

}  // namespace tavo::tool

// Pairs of faces and repeated sets among the observations of each setup.
#include "observations.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

#include "record_json.h"

namespace tavo::tool {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// An angle in gon between -200 and 200.
double wrapped(double gon) { return std::remainder(gon, 400); }

// One set's values, turned to face one.
using Values = std::array<double, 3>;

Values valuesOf(const tavo_observation& observation) {
  return {observation.red_hz, observation.red_vz, observation.distance};
}

// Means of the two faces: directions are averaged beside the first one, so that 399.99 and 0.01
// give 0.
Values meanOf(const Values& one, const Values& two) {
  return {one[0] + wrapped(two[0] - one[0]) / 2, (one[1] + two[1]) / 2,
          std::isnan(two[2])   ? one[2]
          : std::isnan(one[2]) ? two[2]
                               : (one[2] + two[2]) / 2};
}

double deviation(const std::vector<Values>& sets, size_t which) {
  std::vector<double> values;
  for (const Values& set : sets) {
    if (std::isnan(set[which])) continue;
    const double first = values.empty() ? set[which] : values.front();
    values.push_back(which == 0 ? first + wrapped(set[which] - first) : set[which]);
  }
  if (values.size() < 2) return kNone;
  const auto count = static_cast<double>(values.size());
  double mean = 0;
  for (const double value : values) mean += value / count;
  double squares = 0;
  for (const double value : values) squares += (value - mean) * (value - mean);
  return std::sqrt(squares / (count - 1));
}

void addRepetition(const std::array<std::vector<size_t>, 2>& faces,
                   const tavo_observation* observations, Observations* result) {
  std::vector<Values> sets;
  const size_t pairs = std::min(faces[0].size(), faces[1].size());
  if (pairs >= 2) {
    for (size_t i = 0; i < pairs; ++i) {
      sets.push_back(
          meanOf(valuesOf(observations[faces[0][i]]), valuesOf(observations[faces[1][i]])));
    }
  } else {
    for (const size_t i : faces[faces[1].size() > faces[0].size() ? 1 : 0]) {
      sets.push_back(valuesOf(observations[i]));
    }
  }
  if (sets.size() < 2) return;
  size_t first = SIZE_MAX;
  for (const auto& face : faces) {
    if (!face.empty()) first = std::min(first, face.front());
  }
  result->repetitions.push_back(
      {first, sets.size(), deviation(sets, 0), deviation(sets, 1), deviation(sets, 2)});
}

}  // namespace

bool isFaceTwo(const tavo_observation& observation) {
  return !std::isnan(observation.vz) && std::abs(observation.vz - observation.red_vz) > 1e-9;
}

Observations observationsOf(const tavo_survey* survey, const tavo_geometry* geometry) {
  size_t count = 0;
  const tavo_observation* const observations = tavo_geometry_observations(geometry, &count);
  const tavo_records& slopes = *tavo_survey_records(survey, TVO_RECORD_SLOPE);
  // By setup, number and identifier of the target: its sightings in face one and two.
  std::map<std::tuple<size_t, uint32_t, std::string>, std::array<std::vector<size_t>, 2>> targets;
  for (size_t i = 0; i < count; ++i) {
    if (std::isnan(observations[i].red_hz) && std::isnan(observations[i].red_vz)) continue;
    const auto slope = recordAt<TVO_SlopeRecord>(slopes, i);
    std::string id;
    if (slope.TgtNo == 0) id = textOf(slope.TgtID);
    targets[{observations[i].setup, slope.TgtNo, std::move(id)}][isFaceTwo(observations[i]) ? 1 : 0]
        .push_back(i);
  }
  Observations result;
  for (const auto& [key, faces] : targets) {
    for (size_t i = 0; i < std::min(faces[0].size(), faces[1].size()); ++i) {
      const tavo_observation& one = observations[faces[0][i]];
      const tavo_observation& two = observations[faces[1][i]];
      result.pairs.push_back({faces[0][i], faces[1][i], wrapped(two.hz - one.hz - 200),
                              wrapped(two.vz + one.vz - 400), two.distance - one.distance});
    }
    addRepetition(faces, observations, &result);
  }
  std::ranges::sort(result.pairs, {}, &FacePair::one);
  std::ranges::sort(result.repetitions, {}, &Repetition::first);
  return result;
}

}  // namespace tavo::tool

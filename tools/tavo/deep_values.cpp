// Rules on single values and on observations.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "deep_survey.h"
#include "text.h"

namespace tavo::tool {

namespace {

constexpr uint32_t kImpossibleDate = 143, kNoSetup = 161, kFacesDiffer = 162;
constexpr double kGonPerRadian = 200 / std::numbers::pi, kHalfTurn = 200, kTurn = 400;

// Of an observation in two faces: three times the error of a difference of two.
const double kTolerance = 3 * std::sqrt(2.0);

void checkDate(DeepSurvey& survey, RecordAt at, FieldId field, const char* name,
               const DateTime& date) {
  if (isNone(date) || isPossible(date)) return;
  survey.find(kImpossibleDate, at, field,
              std::string(name) + " " + dateJson(date).get<std::string>() + " is in no calendar");
}

// Observations of one target from one setup with one configuration.
struct Target {
  size_t setup;
  uint32_t number;
  std::string id;
  uint16_t config;
  auto operator<=>(const Target&) const = default;
};

// Errors of one observation in gon and metres; 0: not given.
struct Errors {
  double hz = 0, vz = 0, distance = 0;
};

class Faces {
 public:
  explicit Faces(DeepSurvey& survey)
      : survey_(survey), observations_(tavo_geometry_observations(survey.geometry(), &count_)) {
    const uint32_t type = TVO_RECORD_APRIORI_ERRORS;
    for (size_t i = 0; i < survey.of(type).count; ++i) {
      const auto record = survey.record<AprioriErrorRecord>({type, i});
      errors_.try_emplace(record.CfgNo, Errors{record.Hz * kGonPerRadian, record.Vz * kGonPerRadian,
                                               shortest(record.SDist)});
    }
  }

  void check() {
    std::map<Target, std::pair<std::vector<size_t>, std::vector<size_t>>> targets;
    for (size_t i = 0; i < count_; ++i) {
      const tavo_observation& seen = observations_[i];
      const auto slope = survey_.record<SlopeRecord>({TVO_RECORD_SLOPE, i});
      if (seen.setup == SIZE_MAX || !std::isfinite(seen.vz) || !errors_.contains(slope.CfgNo)) {
        continue;
      }
      const std::string id(textOf(slope.TgtID));
      auto& [one, two] = targets[{seen.setup, slope.TgtNo, id, slope.CfgNo}];
      double circle = std::fmod(seen.vz, kTurn);
      if (circle < 0) circle += kTurn;
      (circle > kHalfTurn ? two : one).push_back(i);
    }
    for (const auto& [target, faces] : targets) {
      const size_t pairs = std::min(faces.first.size(), faces.second.size());
      for (size_t i = 0; i < pairs; ++i) {
        compare(faces.first[i], faces.second[i], errors_.at(target.config));
      }
    }
  }

 private:
  void compare(size_t one, size_t two, const Errors& errors) {
    const tavo_observation &a = observations_[one], &b = observations_[two];
    const size_t later = std::max(one, two);
    tell(later, TVO_FIELD_Hz, std::remainder(b.red_hz - a.red_hz, kTurn), errors.hz, "gon");
    tell(later, TVO_FIELD_Vz, b.red_vz - a.red_vz, errors.vz, "gon");
    tell(later, TVO_FIELD_SDist, b.distance - a.distance, errors.distance, "m");
  }
  void tell(size_t slope, FieldId field, double difference, double error, const char* unit) {
    const bool beyond = error > 0 && std::fabs(difference) > kTolerance * error;
    if (!beyond) return;
    char detail[140];
    std::snprintf(detail, sizeof detail, "%s of the faces differ by %.4f %s, more than %.4f %s",
                  fieldOf(TVO_RECORD_SLOPE, field).field->name, std::fabs(difference), unit,
                  kTolerance * error, unit);
    survey_.find(kFacesDiffer, {TVO_RECORD_SLOPE, slope}, field, detail);
  }

  DeepSurvey& survey_;
  size_t count_ = 0;
  const tavo_observation* observations_;
  std::map<uint32_t, Errors> errors_;
};

}  // namespace

void checkValues(DeepSurvey& survey) {
  for (const uint32_t type : survey.types()) {
    for (const PlacedField& field : survey.fields(type)) {
      if (field.field->type != TAVO_TYPE_DATE_TIME) continue;
      for (size_t i = 0; i < survey.of(type).count; ++i) {
        checkDate(survey, {type, i}, field.field->id, field.field->name,
                  load<DateTime>(survey.bytes({type, i}) + field.field->offset));
      }
    }
  }
  const uint32_t codes = TVO_RECORD_TIME_TAGGED_CODES;
  for (size_t i = 0; i < survey.of(codes).count; ++i) {
    checkDate(survey, {codes, i}, 0, "TimeTag",
              survey.record<TimeTaggedRecord>({codes, i}).TimeTag);
  }
}

void checkObservations(DeepSurvey& survey) {
  size_t count = 0;
  const tavo_observation* const observations =
      tavo_geometry_observations(survey.geometry(), &count);
  size_t without = 0;
  while (without < count && observations[without].setup == SIZE_MAX) ++without;
  // Behind the first setup every observation has one.
  if (without > 0) {
    survey.find(kNoSetup, {TVO_RECORD_SLOPE, 0}, 0,
                counted(without, "observation") + " in front of the first SETUP");
  }
  Faces(survey).check();
}

}  // namespace tavo::tool

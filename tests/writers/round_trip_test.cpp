// Random records of every type in every block: written, read, written and read again. Nothing may
// be reported on what was written, the second text equals the first, and values survive up to the
// decimals asked for.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "schema/bytes.h"
#include "schema/catalogue.h"
#include "support/random_records.h"

namespace tavo::tests {
namespace {

using schema::DataType;
using schema::FieldDef;
using schema::load;

// Random files of each case; one at least in the slow lanes.
constexpr uint32_t kSeeds = 1 + 20 * TAVO_TEST_EFFORT / 100;

std::string write(Replay& records, const TextCase& c) {
  TextKeeper keeper;
  EXPECT_EQ(writers::writeText(keeper, records, {c.align, c.decimals}), TVO_OK);
  return keeper.text;
}

// What a record is expected to come back as: member by member, reals up to a tolerance.
double tolerance(const FieldDef& field, const TextCase& c, double value) {
  const auto step = [](int decimals) { return std::pow(10.0, -std::min(decimals, 12)); };
  const double relative = field.type == DataType::kFloat ? 5e-7 : 1e-12;
  double absolute = 0.051;
  if (field.decimals == schema::DecimalKind::kAngular) absolute = step(c.decimals.angular);
  if (field.decimals == schema::DecimalKind::kLinear) absolute = step(c.decimals.linear);
  if (field.decimals == schema::DecimalKind::kGeographic) absolute = step(c.decimals.geographic);
  if (field.decimals == schema::DecimalKind::kGeneral && value >= 99999) return 0.051 * value;
  // No unit is larger than a radian or a metre; a unit of packed minutes or seconds is smaller.
  if (field.unit != schema::UnitKind::kNone) absolute *= 1.1;
  return absolute + relative * std::fabs(value);
}

bool sameFree(const char* a, const char* b, const TextCase& c) {
  const auto x = load<FreeValue>(a);
  const auto y = load<FreeValue>(b);
  const double step = std::pow(10.0, -std::clamp<int>(c.decimals.geographic, 1, 12));
  return x.kind == y.kind && strcmp(x.text, y.text) == 0 && x.integer == y.integer &&
         std::fabs(x.real - y.real) <= step + 1e-12 * std::fabs(x.real);
}

bool sameDefault(const char* a, const char* b, const TextCase& c) {
  const auto x = load<DefaultValue>(a);
  const auto y = load<DefaultValue>(b);
  const double step = std::pow(10.0, -std::clamp<int>(c.decimals.geographic, 1, 12));
  return x.kind == y.kind && strcmp(x.text, y.text) == 0 &&
         std::fabs(x.real - y.real) <= step + 1e-12 * std::fabs(x.real);
}

bool sameValue(const FieldDef& field, const char* a, const char* b, const TextCase& c) {
  switch (field.type) {
    case DataType::kFloat: {
      const double value = load<float>(a);
      return std::fabs(value - load<float>(b)) <= tolerance(field, c, value);
    }
    case DataType::kDouble: {
      const auto value = load<double>(a);
      return std::fabs(value - load<double>(b)) <= tolerance(field, c, value);
    }
    case DataType::kFree:
      return sameFree(a, b, c);
    case DataType::kDefault:
      return sameDefault(a, b, c);
    default:
      return memcmp(a, b, schema::storedSize(field.type, field.width)) == 0;
  }
}

void expectSame(const Replay::Item& a, const Replay::Item& b, const TextCase& c) {
  ASSERT_EQ(a.type, b.type);
  const schema::RecordDef& def = schema::recordDef(a.type);
  if (def.columns || def.fields == nullptr) {
    // The bytes of a TimeTaggedRecord end with a pointer.
    const size_t compared = a.bytes.size() - (a.type == 91 ? sizeof(void*) : 0);
    EXPECT_EQ(memcmp(a.bytes.data(), b.bytes.data(), compared), 0) << a.type;
    return;
  }
  for (const FieldDef& field : schema::rows(def.fields)) {
    const bool version = a.type == 5 && field.id == TVO_FIELD_VERSION;
    if (field.offset == schema::kNotKept || version || a.type == 6 || a.type == 7) continue;
    EXPECT_TRUE(sameValue(field, a.bytes.data() + field.offset, b.bytes.data() + field.offset, c))
        << "type " << a.type << " " << field.name;
  }
}

void expectSame(const Replay& a, const Replay& b, const TextCase& c) {
  ASSERT_EQ(a.items().size(), b.items().size());
  for (size_t i = 0; i < a.items().size() && !testing::Test::HasFailure(); ++i) {
    expectSame(a.items()[i], b.items()[i], c);
    ASSERT_EQ(a.items()[i].entries.size(), b.items()[i].entries.size());
    for (size_t n = 0; n < a.items()[i].entries.size(); ++n) {
      const TimeTaggedEntry& x = a.items()[i].entries[n];
      const TimeTaggedEntry& y = b.items()[i].entries[n];
      EXPECT_TRUE(strcmp(x.name, y.name) == 0 && x.kind == y.kind && strcmp(x.text, y.text) == 0);
      EXPECT_EQ(EnumId{x.kind} == TVO_ENUM_INT ? int32_t{x.integer} : 0, int32_t{y.integer});
    }
  }
}

// The reader delivers no columns record for TIME_TAGGED_CODES; a build needs one.
Replay withTimeTaggedColumns(const Replay& records) {
  Replay result;
  bool open = false;
  for (const Replay::Item& item : records.items()) {
    if (item.type == 91 && !open) result.columns(90, {});
    open = item.type == 91;
    result.add(item.type, static_cast<const void*>(item.bytes.data()));
  }
  return result;
}

class RoundTrip : public testing::TestWithParam<TextCase> {};

TEST_P(RoundTrip, KeepsRecordsAndText) {
  const TextCase& c = GetParam();
  for (uint32_t seed = 1; seed <= kSeeds && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Dice dice(seed);
    Replay first = RecordGenerator(c, dice).generate();
    const std::string text = write(first, c);
    Replay read;
    ASSERT_EQ(analyseRecords(text, &read), "") << text;
    Replay second = withTimeTaggedColumns(read);
    expectSame(first, second, c);
    const std::string again = write(second, c);
    EXPECT_EQ(text, again);
    Replay readAgain;
    ASSERT_EQ(analyseRecords(again, &readAgain), "");
    const Replay third = withTimeTaggedColumns(readAgain);
    ASSERT_EQ(second.items().size(), third.items().size());
    for (size_t i = 0; i < second.items().size(); ++i) {
      if (second.items()[i].type == 91) continue;
      ASSERT_EQ(second.items()[i].bytes, third.items()[i].bytes) << second.items()[i].type;
    }
  }
}

constexpr TVO_Decimals kUsual{4, 4, 10};
INSTANTIATE_TEST_SUITE_P(
    Writers, RoundTrip,
    testing::Values(
        TextCase{true, ',', ';', TVO_ENUM_GRADS, TVO_ENUM_METRE, TVO_ENUM_DMS, TVO_ENUM_DMY,
                 kUsual},
        TextCase{false, ',', ';', TVO_ENUM_DMS, TVO_ENUM_INT_FEET, TVO_ENUM_DEGS, TVO_ENUM_MDY,
                 kUsual},
        TextCase{true,
                 '|',
                 '#',
                 TVO_ENUM_DEGS,
                 TVO_ENUM_US_SURVEY_FEET,
                 TVO_ENUM_GRADS,
                 TVO_ENUM_YMD,
                 {0, 0, 0}},
        TextCase{
            false, ';', '#', TVO_ENUM_RADS, TVO_ENUM_LINKS, TVO_ENUM_RADS, TVO_ENUM_MJD, {3, 1, 2}},
        TextCase{false,
                 '|',
                 ';',
                 TVO_ENUM_USER,
                 TVO_ENUM_USER_LINEAR,
                 TVO_ENUM_USER_GEOGRAPHIC,
                 TVO_ENUM_DMY,
                 {8, 8, 8}},
        TextCase{true,
                 ',',
                 ';',
                 TVO_ENUM_DMS,
                 TVO_ENUM_USER_LINEAR,
                 TVO_ENUM_DMS,
                 TVO_ENUM_YMD,
                 {255, 255, 255}},
        TextCase{false,
                 ',',
                 ';',
                 TVO_ENUM_DEGS,
                 TVO_ENUM_LINKS,
                 TVO_ENUM_DMS,
                 TVO_ENUM_MJD,
                 {255, 255, 255}},
        TextCase{false,
                 ',',
                 ';',
                 TVO_ENUM_UNKNOWN,
                 TVO_ENUM_UNKNOWN,
                 TVO_ENUM_UNKNOWN,
                 TVO_ENUM_DMY,
                 {12, 15, 18}}));

}  // namespace
}  // namespace tavo::tests

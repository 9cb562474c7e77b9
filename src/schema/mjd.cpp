// Day counts by the 400-year era of the Gregorian calendar, years beginning in March.
#include "schema/mjd.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace tavo::schema {

namespace {

constexpr int64_t kDaysPerEra = 146097;
constexpr int64_t kEpoch = 678881;  // days from 0000-03-01 to 1858-11-17
constexpr int64_t kHundredthsPerDay = 8640000;

constexpr int64_t floorDiv(int64_t a, int64_t b) { return (a >= 0 ? a : a - (b - 1)) / b; }

// Days from 0000-03-01 to the first of the month; any month number.
constexpr int64_t daysToMonth(int64_t year, int64_t month) {
  year += floorDiv(month - 3, 12);
  const int64_t sinceMarch = month - 3 - 12 * floorDiv(month - 3, 12);
  return 365 * year + floorDiv(year, 4) - floorDiv(year, 100) + floorDiv(year, 400) +
         (153 * sinceMarch + 2) / 5;
}
static_assert(daysToMonth(1858, 11) + 16 == kEpoch);

struct Civil {
  int64_t year, month, day;
};

constexpr Civil civil(int64_t days) {
  const int64_t era = floorDiv(days, kDaysPerEra);
  const int64_t dayOfEra = days - era * kDaysPerEra;
  const int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const int64_t sinceMarch = (5 * dayOfYear + 2) / 153;
  const int64_t month = sinceMarch < 10 ? sinceMarch + 3 : sinceMarch - 9;
  return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
          dayOfYear - (153 * sinceMarch + 2) / 5 + 1};
}

}  // namespace

bool fromMjd(double mjd, DateTime* date) {
  *date = DateTime{};
  constexpr double kBeyondAnyYear = 1e8;
  if (!(std::fabs(mjd) < kBeyondAnyYear)) return false;
  const double whole = std::floor(mjd);
  auto days = static_cast<int64_t>(whole);
  // Not std::llround, which computes on the x87 on 32-bit Windows.
  const double exact = (mjd - whole) * static_cast<double>(kHundredthsPerDay);
  int64_t time = static_cast<int32_t>(exact);
  if (exact - static_cast<int32_t>(exact) >= 0.5) ++time;
  if (time >= kHundredthsPerDay) {
    time -= kHundredthsPerDay;
    ++days;
  }
  const Civil day = civil(days + kEpoch);
  using Limits = std::numeric_limits<int16_t>;
  if (day.year < Limits::min() || day.year > Limits::max()) return false;
  const auto narrow = [](int64_t value) { return static_cast<int16_t>(value); };
  *date = {narrow(day.year),      narrow(day.month),        narrow(day.day),
           narrow(time / 360000), narrow(time / 6000 % 60), narrow(time / 100 % 60),
           narrow(time % 100)};
  return true;
}

double toMjd(const DateTime& date) {
  const int64_t days = daysToMonth(date.year, date.month) + date.day - 1 - kEpoch;
  const int64_t time =
      ((int64_t{date.hour} * 60 + date.minute) * 60 + date.second) * 100 + date.hundredths;
  return static_cast<double>(days) +
         static_cast<double>(time) / static_cast<double>(kHundredthsPerDay);
}

}  // namespace tavo::schema

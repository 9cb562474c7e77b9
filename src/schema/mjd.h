// Modified Julian Dates: day numbers that begin with 1858-11-17 00:00, proleptic Gregorian.
#pragma once

#include "tavo/records.h"

namespace tavo::schema {

// Day number -> calendar date and time of day, rounded to the nearest hundredth of a second with
// carry into the date. False, and a date-time of zeros, when the number is not finite or the year
// does not fit 16 bits.
bool fromMjd(double mjd, DateTime* date);

// Date and time -> day number. Members outside their calendar range count on: month 13 is January
// of the next year, hour 24 midnight of the next day.
double toMjd(const DateTime& date);

}  // namespace tavo::schema

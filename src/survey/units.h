// Units and offsets in force, between their public form and that of the conversions.
#pragma once

#include "schema/units.h"
#include "tavo/survey.h"

namespace tavo::survey {

schema::Units unitsOf(const tavo_units& units);
tavo_units viewOf(const schema::Units& units);

}  // namespace tavo::survey

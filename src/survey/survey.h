// The survey behind a handle.
#pragma once

#include "survey/survey_data.h"
#include "tavo/survey.h"

struct tavo_survey {
  tavo::survey::SurveyData data;
  tavo_analysis_counts counts = TAVO_ANALYSIS_COUNTS_INIT;
};

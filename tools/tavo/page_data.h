// A survey as the page of tavo report carries it.
#pragma once

#include "findings.h"
#include "json.h"
#include "scene.h"

namespace tavo::tool {

// From so many on, points are a position, a number and a code, and sightings are not listed.
constexpr size_t kManyRows = 100000;

struct PageData {
  Json survey;
  Json points;  // further values of points, which are read when they are asked for
  std::string title;
};

PageData pageData(const InputText& text, const Analysis& analysis, tavo_survey* survey);

}  // namespace tavo::tool

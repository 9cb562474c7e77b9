// A host of the survey layer with a DateTime and a PointRecord of its own: reads a survey in
// memory.
#include <cstdio>
#include <string_view>

struct DateTime {};
struct PointRecord {};

#define TAVO_NO_SHORT_NAMES
#include <tavo/survey.hpp>

int main() {
  constexpr std::string_view kText =
      "HEADER\r\n VERSION 1.20\r\nEND HEADER\r\n"
      "DATABASE\r\n POINTS(PointNo, PointID, East)\r\n  7, \"A\", 12.5;\r\n END POINTS\r\n"
      "END DATABASE\r\n";
  const auto survey = tavo::Survey::read(tavo::Input::memory(kText));
  for (const tavo::Point& point : survey.points()) {
    std::printf("point %u is at %.1f\n", unsigned{point.PointNo().value_or(0)},
                double{point.East().value_or(0)});
  }
  return survey.points().size() == 1 ? 0 : 1;
}

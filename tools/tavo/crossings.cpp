// The sweep: sides in their order from south to north, of which only neighbours need be compared.
#include "crossings.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "interrupt.h"

namespace tavo::tool {

namespace {

// Above 0 where c lies to the left of the way from a to b, 0 on the line.
double turn(const Corner& a, const Corner& b, const Corner& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

int signOf(double value) { return (value > 0) - (value < 0); }

// Of sides that begin west of where they end, and overlap from west to east.
bool isBelow(const Side& a, const Side& b) {
  if (b.from < a.from) {
    const double side = turn(b.from, b.to, a.from);
    if (side != 0) return side < 0;
    return turn(b.from, b.to, a.to) < 0;
  }
  const double side = turn(a.from, a.to, b.from);
  if (side != 0) return side > 0;
  return turn(a.from, a.to, b.to) > 0;
}

// c is on the line of the side; whether it is within.
bool holds(const Side& side, const Corner& c) { return !(c < side.from) && !(side.to < c); }

Corner meetingPoint(const Side& a, const Side& b) {
  const double across =
      (a.to.x - a.from.x) * (b.to.y - b.from.y) - (a.to.y - a.from.y) * (b.to.x - b.from.x);
  if (across == 0) return std::max(a.from, b.from);
  const double share =
      ((b.from.x - a.from.x) * (b.to.y - b.from.y) - (b.from.y - a.from.y) * (b.to.x - b.from.x)) /
      across;
  return {a.from.x + share * (a.to.x - a.from.x), a.from.y + share * (a.to.y - a.from.y)};
}

// Where two sides meet against the rules. That they share an end is the business of touches().
std::optional<Corner> conflict(const Side& a, const Side& b) {
  const int a1 = signOf(turn(b.from, b.to, a.from)), a2 = signOf(turn(b.from, b.to, a.to));
  const int b1 = signOf(turn(a.from, a.to, b.from)), b2 = signOf(turn(a.from, a.to, b.to));
  if (a1 * a2 < 0 && b1 * b2 < 0) return meetingPoint(a, b);
  if (a1 == 0 && a2 == 0) {
    // On one line: they may share an end, not more.
    const Corner west = std::max(a.from, b.from), east = std::min(a.to, b.to);
    if (west < east) return west;
    return std::nullopt;
  }
  if (a.ring != b.ring) return std::nullopt;
  const auto within = [](const Side& side, const Corner& c, int sign) {
    return sign == 0 && holds(side, c) && c != side.from && c != side.to;
  };
  if (within(b, a.from, a1)) return a.from;
  if (within(b, a.to, a2)) return a.to;
  if (within(a, b.from, b1)) return b.from;
  if (within(a, b.to, b2)) return b.to;
  return std::nullopt;
}

// A corner through which a ring comes more than once.
std::optional<Corner> touches(const std::vector<Side>& sides) {
  struct Visit {
    size_t ring;
    Corner at;
    auto operator<=>(const Visit&) const = default;
  };
  std::vector<Visit> visits;
  for (const Side& side : sides) {
    visits.push_back({side.ring, side.from});
    visits.push_back({side.ring, side.to});
  }
  std::sort(visits.begin(), visits.end());
  for (size_t i = 2; i < visits.size(); ++i) {
    if (visits[i] == visits[i - 2]) return visits[i].at;
  }
  return std::nullopt;
}

}  // namespace

std::optional<Corner> findCrossing(std::vector<Side> sides) {
  std::erase_if(sides, [](const Side& side) {
    return side.from == side.to || !std::isfinite(side.from.x) || !std::isfinite(side.to.x);
  });
  for (Side& side : sides) {
    if (side.to < side.from) std::swap(side.from, side.to);
  }
  struct Event {
    Corner at;
    bool begins;  // ends come first, so that sides that follow each other are not both there
    size_t side;
    auto operator<=>(const Event&) const = default;
  };
  std::vector<Event> events;
  for (size_t i = 0; i < sides.size(); ++i) {
    events.push_back({sides[i].from, true, i});
    events.push_back({sides[i].to, false, i});
  }
  std::sort(events.begin(), events.end());
  const auto below = [&](size_t a, size_t b) {
    if (isBelow(sides[a], sides[b])) return true;
    return !isBelow(sides[b], sides[a]) && a < b;
  };
  std::set<size_t, decltype(below)> order(below);
  std::vector<decltype(order)::iterator> places(sides.size(), order.end());
  for (const Event& event : events) {
    throwIfInterrupted();
    const auto at = event.begins ? order.insert(event.side).first : places[event.side];
    places[event.side] = at;
    const auto next = std::next(at);
    const bool hasBoth = at != order.begin() && next != order.end();
    std::optional<Corner> found;
    if (event.begins) {
      if (at != order.begin()) found = conflict(sides[*std::prev(at)], sides[*at]);
      if (!found && next != order.end()) found = conflict(sides[*at], sides[*next]);
    } else {
      if (hasBoth) found = conflict(sides[*std::prev(at)], sides[*next]);
      order.erase(at);
    }
    if (found) return found;
  }
  return touches(sides);
}

}  // namespace tavo::tool

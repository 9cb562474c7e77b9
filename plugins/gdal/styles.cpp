// Feature styles in GDAL's own notation: SYMBOL(...), PEN(...), BRUSH(...), LABEL(...).
#include "styles.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <optional>
#include <tuple>
#include <vector>

#include "texts.h"

namespace tavo::gdal {

namespace {

// The settings of one tool, each behind a comma.
class Tool {
 public:
  explicit Tool(const char* name) : text_(std::string(name) + "(") {}
  Tool& add(const char* key, const std::string& value) {
    if (text_.back() != '(') text_ += ',';
    text_ += std::string(key) + ":" + value;
    return *this;
  }
  // Name of the survey's own, and the plain one for those that do not know it.
  Tool& id(const char* kind, unsigned number) {
    return add("id", "\"tavo-" + std::string(kind) + "-" + std::to_string(number) + ",ogr-" + kind +
                         "-0\"");
  }
  Tool& colour(const char* key, std::optional<uint32_t> colour) {
    if (!colour) return *this;
    char text[16];
    std::snprintf(text, sizeof text, "#%02X%02X%02X", *colour & 0xFFU, *colour >> 8 & 0xFFU,
                  *colour >> 16 & 0xFFU);
    return add(key, text);
  }
  // Directions count clockwise, the angles of styles the other way round.
  Tool& direction(const tavo_units& units, std::optional<float> direction) {
    if (!direction || *direction == 0 || units.angular == TVO_ENUM_UNKNOWN) return *this;
    const double radians = tavo_to_si(&units, TAVO_UNIT_ANGULAR, static_cast<double>(*direction));
    return add("a", number(std::fmod(360 - radians * (180 / std::numbers::pi), 360)));
  }
  Tool& text(const std::string& text) { return add("t", quoted(text)); }
  static std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
  }
  std::string end() const { return text_ + ')'; }

 private:
  std::string text_;
};

Tool pen(std::optional<uint16_t> style, std::optional<uint32_t> colour) {
  Tool tool("PEN");
  tool.colour("c", colour);
  if (style.value_or(0) != 0) tool.id("pen", *style);
  return tool;
}

}  // namespace

Styles::Styles(const Source& source) {
  const Survey& survey = source.survey();
  // A box shows its items by the number of their line, then in the order of the file.
  std::vector<std::tuple<uint16_t, uint16_t, size_t>> order;
  const auto items = survey.items();
  for (size_t i = 0; i < items.size(); ++i) {
    order.emplace_back(items[i].TextBoxNo().value_or(0), items[i].LineNo().value_or(0), i);
  }
  std::ranges::sort(order);
  for (const auto& [number, line, i] : order) {
    const auto [at, first] = boxes_.try_emplace(number);
    if (first) at->second.property = items[i].TextPropertyNo().value_or(0);
    if (!first) at->second.text += '\n';
    at->second.text += toUtf8(items[i].TextItem().value_or(""));
  }
  for (const tavo::Property& property : survey.properties()) {
    if (const auto number = property.TextPropertyNo()) {
      properties_.try_emplace(*number, Property{toUtf8(property.Font().value_or("")),
                                                shortest(property.Height().value_or(0))});
    }
  }
}

const std::string* Styles::boxText(uint16_t box) const {
  const auto found = boxes_.find(box);
  return found == boxes_.end() ? nullptr : &found->second.text;
}

std::string Styles::of(const Row& row) const {
  switch (row.type) {
    case TVO_RECORD_POINTS:
      return ofPoint(row);
    case TVO_RECORD_LINES:
      return ofLine(row);
    case TVO_RECORD_POLYGONS:
      return ofPolygon(row);
    case TVO_RECORD_POINT_ANNOTATIONS:
    case TVO_RECORD_LINE_ANNOTATIONS:
    case TVO_RECORD_POLYGON_ANNOTATIONS:
      return ofAnnotation(row);
    case TVO_RECORD_BOX_ON_POINT:
      return ofBox(row);
    default:
      return {};
  }
}

std::string Styles::ofPoint(const Row& row) const {
  const Point point(row.bytes, 0, row.given);
  const uint16_t symbol = point.SymNo1().value_or(0);
  if (symbol == 0 && !point.Color()) return {};
  Tool tool("SYMBOL");
  if (symbol != 0) tool.id("sym", symbol);
  return tool.colour("c", point.Color()).direction(*row.units, point.SymDir()).end();
}

std::string Styles::ofLine(const Row& row) const {
  const Line line(row.bytes, 0, row.given);
  if (line.LineStyle().value_or(0) == 0 && !line.Color()) return {};
  return pen(line.LineStyle(), line.Color()).end();
}

std::string Styles::ofPolygon(const Row& row) const {
  const Polygon polygon(row.bytes, 0, row.given);
  std::string style;
  if (polygon.FillType().value_or(0) != 0) {
    Tool brush("BRUSH");
    brush.colour("fc", polygon.HatchColor()).id("brush", *polygon.FillType());
    style = brush.direction(*row.units, polygon.HatchDir()).end();
  }
  if (polygon.LineStyle().value_or(0) != 0 || polygon.Color()) {
    style += (style.empty() ? "" : ";") + pen(polygon.LineStyle(), polygon.Color()).end();
  }
  return style;
}

// All three kinds of annotations have one structure.
std::string Styles::ofAnnotation(const Row& row) const {
  const PointAnnotation annotation(row.bytes, 0, row.given);
  const std::string text = toUtf8(annotation.Annotation().value_or(""));
  return text.empty() ? text : Tool("LABEL").text(text).end();
}

std::string Styles::ofBox(const Row& row) const {
  const BoxOnPoint box(row.bytes, 0, row.given);
  const auto found = boxes_.find(box.TextBoxNo().value_or(0));
  if (found == boxes_.end()) return {};
  Tool tool("LABEL");
  tool.text(found->second.text);
  const auto property = properties_.find(found->second.property);
  if (property != properties_.end()) {
    // The usual heights of lettering on paper.
    if (property->second.height > 0) tool.add("s", Tool::number(property->second.height) + "mm");
    if (!property->second.font.empty()) tool.add("f", quoted(property->second.font));
  }
  // Rows from the bottom up, as on a keypad.
  const unsigned anchor = box.AnchorPosition().value_or(0);
  if (anchor >= 1 && anchor <= 9) tool.add("p", std::to_string(anchor));
  return tool.direction(*row.units, box.HzDirection()).end();
}

}  // namespace tavo::gdal

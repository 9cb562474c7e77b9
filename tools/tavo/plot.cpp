// tavo plot: the map of a survey as a picture (SVG).
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <set>
#include <unordered_set>
#include <utility>

#include "console.h"
#include "files.h"
#include "findings.h"
#include "record_json.h"
#include "scene.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

// Sizes in pixels.
constexpr double kFont = 11;
constexpr double kLetter = 6.1;  // mean width of a letter
constexpr double kWide = 7.4;    // of a capital or a digit
constexpr double kMargin = 14;
constexpr double kHead = 34;
constexpr double kFoot = 26;
constexpr double kLegendWidth = 132;
constexpr double kLegendRow = 17;
// More points than this are drawn as small dots.
constexpr size_t kFewPoints = 2000;
// Of more points than this none is named.
constexpr size_t kNamedPoints = 20000;
// Longest text of an annotation on the map, in characters.
constexpr size_t kNoteLength = 40;

// Text of a file in the picture's own syntax; control characters, which it cannot hold, as '?'.
std::string written(std::string_view text) { return escaped(printable(text), "&<>\""); }

// About how wide a text is, whatever font the viewer has.
double widthOf(std::string_view text) {
  const auto wide = std::count_if(text.begin(), text.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  });
  return static_cast<double>(columnsOf(text)) * kLetter +
         static_cast<double>(wide) * (kWide - kLetter);
}

// Room on the picture that is taken already, in cells.
class Room {
 public:
  Room(double width, double height)
      : columns_(static_cast<int>(width / kCell) + 1),
        rows_(static_cast<int>(height / kCell) + 1),
        taken_(static_cast<size_t>(columns_) * static_cast<size_t>(rows_)) {}

  // Takes a rectangle, if all of it is free and within the picture, or is to be taken anyway.
  bool take(double left, double top, double width, double height, bool anyway = false) {
    const int west = cell(left);
    const int east = cell(left + width);
    const int north = cell(top);
    const int south = cell(top + height);
    const bool inside = west >= 0 && north >= 0 && east < columns_ && south < rows_;
    if (!inside && !anyway) return false;
    const auto each = [&](auto function) {
      for (int row = std::max(north, 0); row <= std::min(south, rows_ - 1); ++row) {
        for (int column = std::max(west, 0); column <= std::min(east, columns_ - 1); ++column) {
          if (!function(static_cast<size_t>(row) * static_cast<size_t>(columns_) +
                        static_cast<size_t>(column)))
            return false;
        }
      }
      return true;
    };
    if (!anyway && !each([&](size_t at) { return !taken_[at]; })) return false;
    return each([&](size_t at) { return taken_[at] = true; });
  }

 private:
  static constexpr double kCell = 3;
  static int cell(double at) { return static_cast<int>(std::floor(at / kCell)); }

  int columns_, rows_;
  std::vector<bool> taken_;
};

// What is to be drawn.
struct Wanted {
  std::array<bool, kKinds> kinds{};
  std::vector<bool> groups;
};

class Picture {
 public:
  Picture(const Scene& scene, const View& view, const Wanted& wanted, const PlotOptions& options)
      : scene_(scene),
        view_(view),
        wanted_(wanted),
        width_(options.width),
        height_(options.height),
        room_(width_, height_) {
    place();
  }

  std::string draw(const std::string& title, const std::string& foot,
                   const std::vector<Place>& findings) {
    put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Map drawn by tavo plot -->\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
        "viewBox=\"0 0 %.0f %.0f\" role=\"img\" font-family=\"sans-serif\" font-size=\"%.0f\">\n",
        width_, height_, width_, height_, kFont);
    svg_ += "<title>" + written(title) + "</title>\n";
    put("<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n<text x=\"%.1f\" y=\"23\" "
        "font-size=\"16\" font-weight=\"bold\">",
        kMargin);
    svg_ +=
        written(title.substr(0, lengthOfWhole(title.substr(0, static_cast<size_t>(width_ / 9))))) +
        "</text>\n";
    put("<clipPath id=\"map\"><rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\"/>"
        "</clipPath>\n<g clip-path=\"url(#map)\">\n",
        left_, top_, mapWidth_, mapHeight_);
    drawShapes(kPolygons, view_.polygons, "fill-rule=\"evenodd\" fill-opacity=\"0.18\"", true);
    drawShapes(kRays, view_.rays, "stroke-width=\"0.6\" stroke-opacity=\"0.55\"", false);
    drawShapes(kLines, view_.lines, "stroke-width=\"1.5\"", false);
    drawTexts();
    drawPoints();
    drawSetups();
    drawFindings(findings);
    drawAnnotations();
    drawLabels();
    svg_ += "</g>\n";
    drawFrame();
    drawLegend();
    put("<text x=\"%.1f\" y=\"%.1f\" fill=\"#444\">", kMargin, height_ - 9);
    svg_ += written(foot) + "</text>\n</svg>\n";
    return std::move(svg_);
  }

 private:
  [[gnu::format(printf, 2, 3)]] void put(const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    svg_ += text;
  }

  bool isWanted(Kind kind, uint32_t group) const {
    return wanted_.kinds[kind] && wanted_.groups[group];
  }

  // Fits what is wanted, with a margin, into the frame.
  void place() {
    for (const Group& group : scene_.groups()) {
      const size_t index = static_cast<size_t>(&group - scene_.groups().data());
      if (group.code != 0 && wanted_.groups[index]) codes_.insert(group.code);
    }
    const bool legend = !codes_.empty() && width_ >= 3.5 * kLegendWidth;
    left_ = kMargin;
    top_ = kHead;
    mapWidth_ = width_ - 2 * kMargin - (legend ? kLegendWidth : 0);
    mapHeight_ = height_ - kHead - kFoot;
    if (!legend) codes_.clear();
    Bounds bounds;
    eachPlace([&](double x, double y) { bounds.add(x, y); });
    if (bounds.empty) bounds = view_.bounds;
    metres_ = view_.metres();
    const double east = std::max((bounds.east - bounds.west) * metres_[0], 1.0);
    const double north = std::max((bounds.north - bounds.south) * metres_[1], 1.0);
    scale_ = 0.92 * std::min(mapWidth_ / east, mapHeight_ / north);
    x_ = (bounds.west + bounds.east) / 2;
    y_ = (bounds.south + bounds.north) / 2;
  }

  template <class Function>
  void eachPlace(Function function) const {
    const auto marks = [&](Kind kind, const auto& all) {
      for (const auto& mark : all) {
        if (isWanted(kind, mark.group)) function(mark.x, mark.y);
      }
    };
    marks(kPoints, view_.points);
    marks(kSetups, view_.setups);
    marks(kAnnotations, view_.annotations);
    marks(kTexts, view_.texts);
    const auto shapes = [&](Kind kind, const Shapes& all) {
      for (size_t i = 0; i < all.size(); ++i) {
        if (!isWanted(kind, all.group[i])) continue;
        const uint32_t end = all.firstVertex[all.firstRun[i + 1]];
        for (uint32_t v = all.firstVertex[all.firstRun[i]]; v < end; ++v) {
          function(all.x[v], all.y[v]);
        }
      }
    };
    shapes(kLines, view_.lines);
    shapes(kPolygons, view_.polygons);
    shapes(kRays, view_.rays);
  }

  double across(double x) const { return left_ + mapWidth_ / 2 + (x - x_) * metres_[0] * scale_; }
  double down(double y) const { return top_ + mapHeight_ / 2 - (y - y_) * metres_[1] * scale_; }
  const char* colour(uint32_t group) const { return colourOf(scene_.groups()[group].code); }

  void drawShapes(Kind kind, const Shapes& all, const char* style, bool area) {
    for (size_t i = 0; i < all.size(); ++i) {
      if (!isWanted(kind, all.group[i])) continue;
      const char* const drawn = colour(all.group[i]);
      put("<path %s stroke=\"%s\" fill=\"%s\" d=\"", style, drawn, area ? drawn : "none");
      for (uint32_t run = all.firstRun[i]; run < all.firstRun[i + 1]; ++run) {
        for (uint32_t v = all.firstVertex[run]; v < all.firstVertex[run + 1]; ++v) {
          const char command = v == all.firstVertex[run] ? 'M' : 'L';
          put("%c%.1f %.1f", command, across(all.x[v]), down(all.y[v]));
        }
        if (area) svg_ += 'Z';
      }
      svg_ += "\"/>\n";
    }
  }

  // A dot of each colour once at a place, since nobody sees what lies under it.
  void drawPoints() {
    const double size = view_.points.size() <= kFewPoints ? 4.4 : 2.2;
    std::vector<std::string> dots(scene_.codes().size());
    std::unordered_set<uint64_t> seen;
    for (const Mark& point : view_.points) {
      if (!isWanted(kPoints, point.group)) continue;
      const double x = across(point.x);
      const double y = down(point.y);
      const uint32_t code = scene_.groups()[point.group].code;
      const uint64_t key =
          uint64_t{code} << 40 | static_cast<uint64_t>(y * 2) << 20 | static_cast<uint64_t>(x * 2);
      if (!seen.insert(key).second) continue;
      char dot[64];
      std::snprintf(dot, sizeof dot, "M%.1f %.1fh0", x, y);
      dots[code] += dot;
      if (size > 4) room_.take(x - 2, y - 2, 4, 4, true);
    }
    for (size_t code = 0; code < dots.size(); ++code) {
      if (dots[code].empty()) continue;
      put("<path stroke-linecap=\"round\" stroke-width=\"%.1f\" stroke=\"%s\" d=\"", size,
          colourOf(code));
      svg_ += dots[code] + "\"/>\n";
    }
  }

  void drawSetups() {
    for (const Mark& setup : view_.setups) {
      if (!isWanted(kSetups, setup.group)) continue;
      const double x = across(setup.x);
      const double y = down(setup.y);
      put("<path fill=\"none\" stroke=\"#111\" stroke-width=\"1.4\" "
          "d=\"M%.1f %.1fl6.5 11.2h-13z\"/>\n",
          x, y - 7.5);
      room_.take(x - 7, y - 8, 14, 12, true);
    }
  }

  void drawFindings(const std::vector<Place>& findings) {
    if (!wanted_.kinds[kFindingMarks]) return;
    for (const Place& place : findings) {
      put("<path fill=\"none\" stroke=\"#d00000\" stroke-width=\"2\" "
          "d=\"M%.1f %.1fl9 9m0-9l-9 9\"/>\n",
          across(place.x) - 4.5, down(place.y) - 4.5);
    }
  }

  void drawText(double x, double y, const std::string& text, const char* style,
                const char* anchor = "start") {
    put("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" paint-order=\"stroke\" stroke=\"#fff\" "
        "stroke-width=\"2.5\" stroke-linejoin=\"round\" %s>",
        x, y, anchor, style);
    svg_ += written(text) + "</text>\n";
  }

  // Writes a label beside a place where there is room for it, and else not.
  void drawLabel(double x, double y, const std::string& text, const char* style) {
    const double width = widthOf(text);
    const struct {
      const char* anchor;
      double x, left, top;
    } positions[] = {{"start", x + 6, x + 6, y - kFont / 2},
                     {"end", x - 6, x - 6 - width, y - kFont / 2},
                     {"middle", x, x - width / 2, y - kFont - 4},
                     {"middle", x, x - width / 2, y + 5}};
    for (const auto& at : positions) {
      if (at.left < left_ || at.left + width > left_ + mapWidth_ || at.top < top_ ||
          at.top + kFont > top_ + mapHeight_) {
        continue;
      }
      if (!room_.take(at.left, at.top, width, kFont)) continue;
      return drawText(at.x, at.top + kFont - 1.5, text, style, at.anchor);
    }
  }

  // Texts stand where the file has them.
  void drawTexts() {
    for (const Note& note : view_.texts) {
      if (!isWanted(kTexts, note.group)) continue;
      double y = down(note.y);
      for (size_t at = 0; at < note.text.size();) {
        const size_t end = std::min(note.text.find('\n', at), note.text.size());
        const std::string line = note.text.substr(at, end - at);
        room_.take(across(note.x), y - kFont, widthOf(line), kFont, true);
        drawText(across(note.x), y, line, "fill=\"#333\" font-style=\"italic\"");
        y += kFont + 2;
        at = end + 1;
      }
    }
  }

  // The flags; what is written on them comes with the labels.
  void drawAnnotations() {
    for (const Note& note : view_.annotations) {
      if (!isWanted(kAnnotations, note.group)) continue;
      put("<path fill=\"#ffd54a\" stroke=\"#7a5c00\" d=\"M%.1f %.1fv-11h9l-2 3l2 3h-9\"/>\n",
          across(note.x), down(note.y));
      room_.take(across(note.x), down(note.y) - 11, 9, 11, true);
    }
  }

  void drawLabels() {
    const tavo_records& setups = *tavo_survey_records(scene_.survey(), TVO_RECORD_SETUP);
    for (const Mark& setup : view_.setups) {
      if (!isWanted(kSetups, setup.group)) continue;
      const auto record = recordAt<TVO_SetupRecord>(setups, setup.owner);
      drawLabel(across(setup.x), down(setup.y) - 10,
                labelOf(record.STN_NO, record.STN_ID, sizeof record.STN_ID),
                "font-weight=\"bold\"");
    }
    for (const Note& note : view_.annotations) {
      if (!isWanted(kAnnotations, note.group)) continue;
      drawLabel(across(note.x) + 6, down(note.y) - 6, printable(note.text, kNoteLength),
                "fill=\"#7a5c00\"");
    }
    labelShapes(kPolygons, view_.polygons);
    labelShapes(kLines, view_.lines);
    if (view_.points.size() > kNamedPoints) return;
    for (const Mark& point : view_.points) {
      if (!isWanted(kPoints, point.group)) continue;
      drawLabel(across(point.x), down(point.y), labelOf(scene_.survey(), kPoints, point.owner),
                "fill=\"#555\" font-size=\"10\"");
    }
  }

  void labelShapes(Kind kind, const Shapes& all) {
    for (size_t i = 0; i < all.size(); ++i) {
      if (!isWanted(kind, all.group[i])) continue;
      const uint32_t begin = all.firstVertex[all.firstRun[i]];
      const uint32_t end = all.firstVertex[all.firstRun[i] + 1];
      Bounds box;
      for (uint32_t v = begin; v < end; ++v) box.add(all.x[v], all.y[v]);
      const uint32_t middle = (begin + end) / 2;
      const bool area = kind == kPolygons;
      const std::string text = labelOf(scene_.survey(), kind, all.owner[i]);
      const double half = area ? widthOf(text) / 2 + 6 : 0;
      drawLabel(across(area ? (box.west + box.east) / 2 : all.x[middle]) - half,
                down(area ? (box.south + box.north) / 2 : all.y[middle]), text,
                "fill=\"#222\" font-style=\"italic\"");
    }
  }

  void drawFrame() {
    put("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"none\" "
        "stroke=\"#888\"/>\n",
        left_, top_, mapWidth_, mapHeight_);
    // North is up.
    const double x = left_ + mapWidth_ - 20;
    put("<path fill=\"#222\" d=\"M%.1f %.1fl6 20l-6 -4l-6 4z\"/>\n<text x=\"%.1f\" y=\"%.1f\" "
        "text-anchor=\"middle\" font-weight=\"bold\">N</text>\n",
        x, top_ + 10, x, top_ + 43);
    const double wanted = 150 / scale_;
    const double power = std::pow(10, std::floor(std::log10(wanted)));
    const double length = power * (wanted >= 5 * power ? 5 : wanted >= 2 * power ? 2 : 1);
    const double bar = length * scale_;
    const double y = top_ + mapHeight_ - 12;
    put("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"24\" fill=\"#fff\" "
        "fill-opacity=\"0.8\"/>\n",
        left_ + 6, y - 18, bar + 12);
    put("<path stroke=\"#222\" stroke-width=\"1.5\" fill=\"none\" "
        "d=\"M%.1f %.1fv5h%.1fv-5\"/>\n<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">",
        left_ + 12, y - 5, bar, left_ + 12 + bar / 2, y - 5);
    const bool kilometres = length >= 1000;
    put("%g %s</text>\n", kilometres ? length / 1000 : length, kilometres ? "km" : "m");
  }

  void drawLegend() {
    double y = top_ + 12;
    const double x = left_ + mapWidth_ + 12;
    size_t left = codes_.size();
    for (const uint32_t code : codes_) {
      if (y + 2 * kLegendRow > height_ - kFoot && left > 1) {
        put("<text x=\"%.1f\" y=\"%.1f\">and ", x, y);
        svg_ += std::to_string(left) + " more</text>\n";
        return;
      }
      put("<rect x=\"%.1f\" y=\"%.1f\" width=\"10\" height=\"10\" fill=\"%s\"/>\n", x, y - 9,
          colourOf(code));
      put("<text x=\"%.1f\" y=\"%.1f\">", x + 16, y);
      svg_ += written(scene_.codes()[code]) + "</text>\n";
      y += kLegendRow;
      --left;
    }
  }

  const Scene& scene_;
  const View& view_;
  const Wanted& wanted_;
  double width_, height_;
  Room room_;
  double left_ = 0, top_ = 0, mapWidth_ = 0, mapHeight_ = 0;
  double x_ = 0, y_ = 0, scale_ = 1;  // middle of the map; pixels per metre
  std::array<double, 2> metres_{};
  std::set<uint32_t> codes_;  // in the legend
  std::string svg_;
};

// The words of --layer: numbers and names of the file's layers, and kinds of things. Returns what
// is wrong with them.
std::string readLayers(const Scene& scene, const std::vector<std::string>& words, Wanted* wanted) {
  std::set<std::optional<uint16_t>> layers;
  bool someKinds = false;
  for (const std::string& word : words) {
    const auto layer = std::ranges::find_if(scene.layers(), [&](const Layer& one) {
      return one.number && (one.name == word || std::to_string(*one.number) == word);
    });
    if (layer != scene.layers().end()) {
      layers.insert(layer->number);
      continue;
    }
    const auto kind = std::ranges::find(kKindNames, word);
    if (kind == kKindNames.end()) {
      std::string known;
      for (const Layer& one : scene.layers()) {
        if (!one.number) continue;
        known += ", " + std::to_string(*one.number);
        if (!one.name.empty()) known += " (" + one.name + ")";
      }
      for (const char* const name : kKindNames) known += std::string(", ") + name;
      return "nothing is in a layer '" + word + "'; there are" + known.substr(1);
    }
    wanted->kinds[static_cast<size_t>(kind - kKindNames.begin())] = true;
    someKinds = true;
  }
  if (!someKinds) wanted->kinds.fill(true);
  for (const Group& group : scene.groups()) {
    wanted->groups.push_back(layers.empty() || layers.contains(group.layer));
  }
  // Findings are in no layer.
  if (!layers.empty() && !someKinds) wanted->kinds[kFindingMarks] = false;
  return {};
}

size_t thingsIn(const View& view) {
  return view.points.size() + view.setups.size() + view.lines.size() + view.polygons.size();
}

// The map asked for, else the one with the most things on it, with a note on the others.
const View* chooseView(const Scene& scene, const PlotOptions& options) {
  const std::vector<View>& views = scene.views();
  if (options.map > views.size()) return nullptr;
  if (options.map > 0) return &views[options.map - 1];
  const View* best = nullptr;
  for (const View& view : views) {
    if (best == nullptr || thingsIn(view) > thingsIn(*best)) best = &view;
  }
  for (const View& view : views) {
    if (&view == best) continue;
    complain("what lies in '" + nameOf(*view.crs) + "' is not drawn (--map " +
             std::to_string(&view - views.data() + 1) + " does)");
  }
  return best;
}

int writePicture(const PlotOptions& options, const InputText& text, const Scene& scene,
                 const Analysis& analysis) {
  Wanted wanted;
  if (const std::string problem = readLayers(scene, options.layers, &wanted); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  const View* const view = chooseView(scene, options);
  if (view == nullptr || view->bounds.empty) {
    complain("'" + text.name() + "': " +
             (options.map > 0 ? "there is no map " + std::to_string(options.map) + ", only " +
                                    counted(scene.views().size(), "map")
                              : "nothing in it has coordinates, so there is nothing to draw"));
    return options.map > 0 ? kFailed : kFindings;
  }
  const size_t index = static_cast<size_t>(view - scene.views().data());
  std::vector<Place> findings;
  for (const Found& found : analysis.findings) {
    const auto place = scene.placeOfLine(found.line);
    if (place && place->view == index && place->near == 0) findings.push_back(*place);
  }
  const tavo_records& projects = *tavo_survey_records(scene.survey(), TVO_RECORD_PROJECT);
  std::string title;
  if (projects.count > 0) {
    const auto project = recordAt<TVO_ProjectRecord>(projects, 0);
    title = toUtf8(textOf(project.NAME));
  }
  const std::string foot = nameOf(*view->crs) + " · " + counted(view->points.size(), "point") +
                           ", " + counted(view->lines.size(), "line") + ", " +
                           counted(view->polygons.size(), "polygon") + " · tavo " + tavo_version();
  Picture picture(scene, *view, wanted, options);
  const std::string svg = picture.draw(title.empty() ? toUtf8(text.name()) : title, foot, findings);
  Output output;
  if (const std::string problem = output.open(options.output); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  if (!output.write(svg.data(), svg.size()) || !output.commit()) {
    complain("writing '" + options.output + "' failed");
    return kFailed;
  }
  return kSound;
}

}  // namespace

int plot(const PlotOptions& options) {
  const std::string problem =
      targetProblem(options.output, isStream(options.file) ? "" : options.file,
                    OutputKind::kPicture, options.overwrite);
  if (!problem.empty()) {
    complain(problem);
    return kFailed;
  }
  InputText text;
  Analysis analysis;
  const Survey survey = openSurvey(options.file, &text, &analysis);
  if (survey == nullptr) return kFailed;
  complainOfNotes(text, analysis);
  const int status = writePicture(options, text, Scene(survey.get()), analysis);
  return status == kSound ? int{complainOfFindings(text, analysis)} : status;
}

}  // namespace tavo::tool

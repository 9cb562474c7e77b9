// tavo timeline: prints the time-stamped records of a text in the order of their time.
#include <cmath>
#include <cstdio>
#include <numbers>

#include "console.h"
#include "findings.h"
#include "record_fields.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr double kGonPerRadian = 200.0 / std::numbers::pi;

// What a line says of a record, whatever its type.
struct Entry {
  const char* kind;
  DateTime time;
  uint32_t number;
  std::string id;
  std::string values;
};

// Coordinates of which a point gives one or both.
struct Pair {
  Pair(FieldId first, FieldId second)
      : one(fieldOf(TVO_RECORD_POINTS, first)), other(fieldOf(TVO_RECORD_POINTS, second)) {}
  bool given(tavo_given given) const { return one.given(given) || other.given(given); }

  PlacedField one, other;
};

std::string triple(const char* format, double a, double b, double c) {
  char text[160];
  // NOLINTNEXTLINE(clang-diagnostic-format-nonliteral)
  std::snprintf(text, sizeof text, format, a, b, c);
  return text;
}

// Presence decides which of its systems a point is shown in.
Entry entryOf(const PointRecord& point, tavo_given given) {
  static const Pair grid(TVO_FIELD_East, TVO_FIELD_North);
  static const Pair geographic(TVO_FIELD_Longitude, TVO_FIELD_Latitude);
  static const Pair geocentric(TVO_FIELD_X, TVO_FIELD_Y);
  Entry entry{"point", point.Date, point.PointNo, std::string(textOf(point.PointID)), {}};
  if (grid.given(given)) {
    entry.values =
        triple("East %.4f  North %.4f  Elevation %.4f", point.East, point.North, point.Elevation);
  } else if (geographic.given(given)) {
    entry.values = triple("Longitude %.10f  Latitude %.10f  EllHeight %.4f", point.Longitude,
                          point.Latitude, point.EllHeight);
  } else if (geocentric.given(given)) {
    entry.values = triple("X %.4f  Y %.4f  Z %.4f", point.X, point.Y, point.Z);
  }
  if (const std::string_view code = textOf(point.Code); !code.empty()) {
    entry.values.append("  Code ").append(code);
  }
  return entry;
}

Entry entryOf(const SlopeRecord& slope) {
  return {"slope", slope.Date, slope.TgtNo, std::string(textOf(slope.TgtID)),
          triple("Hz %.4f gon  Vz %.4f gon  SDist %.4f m", slope.Hz * kGonPerRadian,
                 slope.Vz * kGonPerRadian, slope.SDist)};
}

Entry entryOf(const SetupRecord& setup) {
  char height[64];
  std::snprintf(height, sizeof height, "INST_HT %.4f m", double{setup.INST_HT});
  return {"setup", setup.Date, setup.STN_NO, std::string(textOf(setup.STN_ID)), height};
}

Entry entryOf(const TimeTaggedRecord& code) {
  std::string values;
  for (size_t i = 0; i < code.EntryCount; ++i) {
    const TimeTaggedEntry& entry = code.entries[i];
    if (i > 0) values += "  ";
    values.append(textOf(entry.name)).append(1, ' ');
    if (entry.kind == TVO_ENUM_TEXT) {
      values.append(1, '"').append(textOf(entry.text)).append(1, '"');
    } else if (entry.kind == TVO_ENUM_REAL) {
      char number[64];
      std::snprintf(number, sizeof number, "%.10g", double{entry.real});
      values += number;
    } else {
      values += std::to_string(entry.integer);
    }
  }
  return {"code", code.TimeTag, code.Number, std::string(textOf(code.Code)), values};
}

Entry entryOf(const tavo_survey* survey, const tavo_moment& moment) {
  const tavo_records& records = *tavo_survey_records(survey, moment.type);
  switch (moment.type) {
    case TVO_RECORD_POINTS:
      return entryOf(recordAt<PointRecord>(records, moment.index), records.given[moment.index]);
    case TVO_RECORD_SETUP:
      return entryOf(recordAt<SetupRecord>(records, moment.index));
    case TVO_RECORD_SLOPE:
      return entryOf(recordAt<SlopeRecord>(records, moment.index));
    default:
      return entryOf(recordAt<TimeTaggedRecord>(records, moment.index));
  }
}

void printForPerson(const Entry& entry) {
  char columns[128];
  std::snprintf(columns, sizeof columns, "%-6s %04d-%02d-%02d %02d:%02d:%02d.%02d%10u  %-16s  ",
                entry.kind, entry.time.year, entry.time.month, entry.time.day, entry.time.hour,
                entry.time.minute, entry.time.second, entry.time.hundredths, entry.number,
                printable(entry.id).c_str());
  std::string line = columns + printable(entry.values);
  line.erase(line.find_last_not_of(' ') + 1);
  std::printf("%s\n", line.c_str());
}

bool printJson(const Entry& entry, uint64_t line) {
  Json json{{"kind", entry.kind}, {"time", dateJson(entry.time)}, {"line", line}};
  if (entry.number != 0) json["number"] = entry.number;
  if (!entry.id.empty()) json["id"] = toUtf8(entry.id);
  if (!entry.values.empty()) json["values"] = toUtf8(entry.values);
  return printLine(json);
}

}  // namespace

int timeline(const TimelineOptions& options) {
  InputText text;
  Analysis analysis;
  const Survey survey = openSurvey(options.file, &text, &analysis);
  if (survey == nullptr) return kFailed;
  if (options.json) printLine(jsonOf("tavo-timeline/1", text));
  size_t count = 0;
  const tavo_moment* const moments = tavo_survey_timeline(survey.get(), &count);
  for (size_t i = 0; i < count; ++i) {
    const Entry entry = entryOf(survey.get(), moments[i]);
    if (options.json) {
      printJson(entry, tavo_survey_records(survey.get(), moments[i].type)->lines[moments[i].index]);
    } else {
      printForPerson(entry);
    }
  }
  if (!flushOutput()) return kFailed;
  complainOfNotes(text, analysis);
  return complainOfFindings(text, analysis);
}

}  // namespace tavo::tool

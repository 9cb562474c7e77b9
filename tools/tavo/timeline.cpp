// tavo timeline: prints the time-stamped records of a text in time order, as the object interface's
// cursor delivers them.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "api/timeline.h"
#include "console.h"
#include "findings.h"
#include "tavo/itavo.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr double kGonPerRadian = 200.0 / std::numbers::pi;

template <size_t N>
std::string textOf(const char (&text)[N]) {
  return printable({text, strnlen(text, N)}, N);
}

std::string timeOf(const DateTime& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%02d", time.year, time.month,
                time.day, time.hour, time.minute, time.second, time.hundredths);
  return text;
}

void printEntry(const char* kind, const DateTime& time, uint32_t number, const std::string& id,
                const std::string& values) {
  std::string line = kind;
  line.resize(7, ' ');
  line += timeOf(time);
  char columns[64];
  std::snprintf(columns, sizeof columns, "%10u  %-16s  ", number, id.c_str());
  line += columns + values;
  line.erase(line.find_last_not_of(' ') + 1);
  std::printf("%s\n", line.c_str());
}

std::string triple(const char* format, double a, double b, double c) {
  char text[160];
  // NOLINTNEXTLINE(clang-diagnostic-format-nonliteral)
  std::snprintf(text, sizeof text, format, a, b, c);
  return text;
}

void printPoint(const PointRecord& point) {
  std::string values;
  if (point.East != 0 || point.North != 0 || point.Elevation != 0) {
    values =
        triple("East %.4f  North %.4f  Elevation %.4f", point.East, point.North, point.Elevation);
  } else if (point.Longitude != 0 || point.Latitude != 0) {
    values = triple("Longitude %.10f  Latitude %.10f  EllHeight %.4f", point.Longitude,
                    point.Latitude, point.EllHeight);
  } else if (point.X != 0 || point.Y != 0 || point.Z != 0) {
    values = triple("X %.4f  Y %.4f  Z %.4f", point.X, point.Y, point.Z);
  }
  const std::string code = textOf(point.Code);
  if (!code.empty()) values += "  Code " + code;
  printEntry("point", point.Date, point.PointNo, textOf(point.PointID), values);
}

void printSlope(const SlopeRecord& slope) {
  printEntry("slope", slope.Date, slope.TgtNo, textOf(slope.TgtID),
             triple("Hz %.4f gon  Vz %.4f gon  SDist %.4f m", slope.Hz * kGonPerRadian,
                    slope.Vz * kGonPerRadian, slope.SDist));
}

void printCode(const TimeTaggedRecord& code) {
  std::string values;
  for (size_t i = 0; i < code.EntryCount; ++i) {
    const TimeTaggedEntry& entry = code.entries[i];
    if (i > 0) values += "  ";
    values += textOf(entry.name) + ' ';
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
  printEntry("code", code.TimeTag, code.Number, textOf(code.Code), values);
}

// Whether the object interface collects the record.
bool isStamped(RecordType type, const void* record) {
  switch (type) {
    case TVO_RECORD_POINTS:
      return static_cast<const PointRecord*>(record)->Date.year != 0;
    case TVO_RECORD_SLOPE:
      return static_cast<const SlopeRecord*>(record)->Date.year != 0;
    case TVO_RECORD_TIME_TAGGED_CODES:
      return static_cast<const TimeTaggedRecord*>(record)->TimeTag.year != 0;
    default:
      return false;
  }
}

// Prints what the cursor delivers and returns the number of entries.
uint64_t walk(ITavo& timeline) {
  uint64_t count = 0;
  TimeCursor* const cursor = timeline.CreateCursor();
  if (cursor == nullptr) return 0;
  const void* record = nullptr;
  for (cursor->First(); cursor->IsValid() != 0; cursor->Next(), ++count) {
    switch (cursor->Get(&record)) {
      case 1:
        printPoint(*static_cast<const PointRecord*>(record));
        break;
      case 2:
        // No item of a setup sets its date, so what has one is a slope.
        printSlope(*static_cast<const SlopeRecord*>(record));
        break;
      default:
        printCode(*static_cast<const TimeTaggedRecord*>(record));
        break;
    }
  }
  return count;
}

}  // namespace

int timeline(const std::string& file) {
  InputText text;
  if (const std::string problem = text.open(file); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  // The object interface tells nothing about the run, so the findings come from one of our own.
  uint64_t stamped = 0;
  auto count = [&](RecordType type, const void* record) -> uint32_t {
    if (isStamped(type, record)) ++stamped;
    return TVO_OK;
  };
  api::Library library;
  const Analysis analysis = analyse(library, text, sinkOf(count));
  ITavo* const collected = GetITavo();
  platform::TextInput* const input = text.rewind();
  if (!analysis.readable() || collected == nullptr || input == nullptr) {
    complain("reading '" + text.name() + "' failed");
    return kFailed;
  }
  api::analyseInput(*collected, *input);
  const uint64_t shown = walk(*collected);
  collected->Delete();
  if (!flushOutput()) return kFailed;
  complainOfNotes(text, analysis);
  if (shown < stamped) {
    complain(text.name() + ": " + counted(stamped - shown, "record") +
             " not shown, their time is outside of what the time key can order");
  }
  if (analysis.findings.errors() == 0) return kSound;
  complain(text.name() + ": " + analysis.summary() + " (see 'tavo check')");
  return kFindings;
}

}  // namespace tavo::tool

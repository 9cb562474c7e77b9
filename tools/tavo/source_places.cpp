// Cuts data lines into values, as the reader does, but keeps where they stood.
#include "source_places.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include "interrupt.h"
#include "record_fields.h"

namespace tavo::tool {

namespace {

constexpr std::string_view kBlanks = " \t\v\f\r";

struct Delimiters {
  char separator = ',', terminator = ';';
};

struct Piece {
  size_t at, length;
};

Piece trimmed(std::string_view line, size_t from, size_t to) {
  while (from < to && kBlanks.find(line[from]) != kBlanks.npos) ++from;
  while (to > from && kBlanks.find(line[to - 1]) != kBlanks.npos) --to;
  return {from, to - from};
}

// The values of a data line, or of its continuation.
struct Values {
  std::vector<Piece> pieces;
  bool ended = false;  // by the terminator
  Piece whole{};       // all of it up to there
};

Values valuesOf(std::string_view line, const Delimiters& delimiters) {
  Values values;
  bool quoted = false;
  size_t from = 0, i = 0;
  for (; i < line.size() && !values.ended; ++i) {
    if (quoted && line[i] == '\\') {
      ++i;
    } else if (line[i] == '"') {
      quoted = !quoted;
    } else if (!quoted && (line[i] == delimiters.separator || line[i] == delimiters.terminator)) {
      values.pieces.push_back(trimmed(line, from, i));
      values.ended = line[i] == delimiters.terminator;
      from = i + 1;
    }
  }
  const size_t end = values.ended ? from - 1 : line.size();
  if (!values.ended) {
    // Blanks behind the last separator: the line goes on below.
    if (const Piece rest = trimmed(line, from, end); rest.length > 0) values.pieces.push_back(rest);
  }
  values.whole = trimmed(line, 0, end);
  return values;
}

class Finder {
 public:
  Finder(const tavo_survey* survey, const std::vector<Wanted>& wanted)
      : wanted_(wanted), order_(wanted.size()), places_(wanted.size()) {
    std::iota(order_.begin(), order_.end(), size_t{0});
    std::ranges::stable_sort(order_, {}, [&](size_t i) { return wanted[i].line; });
    while (next_ < order_.size() && wanted[order_[next_]].line == 0) ++next_;
    const tavo_records& headers = *tavo_survey_records(survey, TVO_RECORD_HEADER);
    const PlacedField separator = fieldOf(TVO_RECORD_HEADER, TVO_FIELD_SEPARATOR);
    const PlacedField terminator = fieldOf(TVO_RECORD_HEADER, TVO_FIELD_TERMINATOR);
    Delimiters now;
    for (size_t i = 0; i < headers.count; ++i) {
      const auto record = recordAt<HeaderRecord>(headers, i);
      if (separator.given(headers.given[i])) now.separator = record.SEPARATOR;
      if (terminator.given(headers.given[i])) now.terminator = record.TERMINATOR;
      delimiters_.emplace_back(headers.lines[i], now);
    }
  }

  // False when nothing is left to find.
  bool take(std::string_view line) {
    ++line_;
    for (; next_ < order_.size() && wanted_[order_[next_]].line == line_; ++next_) {
      open_.push_back({order_[next_], wanted_[order_[next_]].value});
    }
    if (open_.empty()) return next_ < order_.size();
    const Values values = valuesOf(line, delimiters());
    std::erase_if(open_, [&](Open& open) { return look(open, line, values); });
    return true;
  }

  std::vector<SourcePlace> places() { return std::move(places_); }

 private:
  struct Open {
    size_t wanted;
    size_t value;  // still to be counted
  };

  Delimiters delimiters() const {
    Delimiters now;
    for (const auto& [line, set] : delimiters_) {
      if (line < line_) now = set;
    }
    return now;
  }

  void keep(size_t wanted, std::string_view line, const Piece& piece) {
    places_[wanted] = {line_, static_cast<uint32_t>(piece.at + 1),
                       static_cast<uint32_t>(piece.length),
                       std::string(line.substr(piece.at, piece.length)), std::string(line)};
  }

  // True when it is found, or is not going to be.
  bool look(Open& open, std::string_view line, const Values& values) {
    const Wanted& wanted = wanted_[open.wanted];
    const bool first = wanted.line == line_;
    if (first) keep(open.wanted, line, values.whole);
    if (wanted.item != nullptr) return lookForItem(open, line, values.whole);
    if (wanted.value == SIZE_MAX) return true;
    if (open.value < values.pieces.size()) {
      keep(open.wanted, line, values.pieces[open.value]);
      return true;
    }
    open.value -= values.pieces.size();
    return values.ended;
  }

  bool lookForItem(const Open& open, std::string_view line, const Piece& whole) {
    const std::string_view text = line.substr(whole.at, whole.length);
    const size_t end = std::min(text.find_first_of(kBlanks), text.size());
    if (text.substr(0, end) == "END") return true;
    if (text.substr(0, end) != wanted_[open.wanted].item) return false;
    keep(open.wanted, line, trimmed(line, whole.at + end, whole.at + whole.length));
    return true;
  }

  const std::vector<Wanted>& wanted_;
  std::vector<size_t> order_;  // by line
  std::vector<SourcePlace> places_;
  std::vector<std::pair<uint64_t, Delimiters>> delimiters_;  // behind those lines
  std::vector<Open> open_;
  size_t next_ = 0;
  uint64_t line_ = 0;
};

}  // namespace

std::vector<SourcePlace> findPlaces(const InputText& text, const tavo_survey* survey,
                                    const std::vector<Wanted>& wanted) {
  Finder finder(survey, wanted);
  std::string rest;
  bool more = true;
  text.eachBlock([&](std::string_view block) {
    throwIfInterrupted();
    size_t end = 0;
    while (more && (end = block.find('\n')) != block.npos) {
      std::string_view line = block.substr(0, end);
      if (!rest.empty()) line = rest.append(line);
      if (line.ends_with('\r')) line.remove_suffix(1);
      more = finder.take(line);
      rest.clear();
      block.remove_prefix(end + 1);
    }
    rest.append(block);
    return more;
  });
  if (more && !rest.empty()) finder.take(rest);
  return finder.places();
}

}  // namespace tavo::tool

// Everything that has a number and can be explained: the findings of the library and the rules of
// the deep check, one row each. Help texts, the pages of docs/ and SARIF's rules come of these
// rows.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tavo::tool {

// Above all kinds of findings: a rule that is switched off.
inline constexpr uint32_t kOff = 3;
// The words for TAVO_NOTE, TAVO_WARNING, TAVO_ERROR and kOff.
inline constexpr std::string_view kSeverities[] = {"note", "warning", "error", "off"};

struct Topic {
  char letter;          // E, W, N of the library; T of the deep check
  uint32_t number;      // 2500, 101
  uint32_t severity;    // by default: TAVO_NOTE, TAVO_WARNING, TAVO_ERROR, kOff
  const char* name;     // the log's words, or the rule's
  const char* meaning;  // one or two sentences
  const char* cause;    // what usually brings it about
  // A survey with the mark "@" on a line of its own, and what stands there wrong and right. Empty
  // where no text brings the finding about.
  const char* frame;
  const char* wrong;
  const char* right;

  // "E2500", "T101".
  std::string code() const { return letter + std::to_string(number); }
  // The frame with the wrong or right lines in it.
  std::string survey(const char* lines) const;
};

std::span<const Topic> topics();
// Places of the rules of the deep check in topics(), by their number; null for none.
const Topic* topicOf(char letter, uint32_t number);
// By "E2500", "e2500" or "2500"; null for none.
const Topic* findTopic(std::string_view word);

}  // namespace tavo::tool

// tavo explain: what a number or rule means, what brings it about, and how it looks wrong and
// right.
#include <cstdio>
#include <cstring>
#include <string_view>

#include "console.h"
#include "findings.h"
#include "json.h"
#include "text.h"
#include "topics.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr char kUnknownStatus[] = "unknown status";
// Statuses of the library and of the survey layer.
constexpr uint32_t kFirstStatus = 2560, kLastStatus = TAVO_ERR_CANCELLED;

const char* severityName(uint32_t severity) { return kSeverities[severity].data(); }

// A status by its number, or 0.
uint32_t statusOf(std::string_view word) {
  uint32_t number = 0;
  for (const char c : word) {
    if (c < '0' || c > '9' || number > kLastStatus) return 0;
    number = 10 * number + static_cast<uint32_t>(c - '0');
  }
  const bool known = number >= kFirstStatus && number <= kLastStatus &&
                     std::string_view(tavo_status_text(number)) != kUnknownStatus;
  return known ? number : 0;
}

// Calls a function with each line of a text.
template <class Function>
void eachLine(std::string_view text, Function function) {
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    function(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

// The example in its frame, its own lines marked with '>'. Lines that are too long for a terminal
// are cut.
std::string example(const Topic& topic, const char* lines) {
  constexpr size_t kRoom = 70;
  std::string shown;
  const auto add = [&](const char* mark, std::string_view line) {
    shown += mark + printable(line, kRoom) + "\n";
  };
  eachLine(topic.frame, [&](std::string_view line) {
    if (line != "@") return add("    ", line);
    eachLine(lines, [&](std::string_view own) { add("  > ", own); });
  });
  return shown;
}

void printText(const Topic& topic) {
  std::printf("%s: %s (%s)\n\n", topic.code().c_str(), topic.name, severityName(topic.severity));
  std::printf("%s\n", wrapped(topic.meaning).c_str());
  std::printf("%s", wrapped(std::string("Usual cause: ") + topic.cause).c_str());
  if (*topic.frame != '\0') {
    std::printf("\nWrong:\n%s\nRight:\n%s", example(topic, topic.wrong).c_str(),
                example(topic, topic.right).c_str());
  }
  if (topic.letter == 'T') {
    std::printf("\n'tavo check --deep' looks for it; --rule %s=off|note|warning|error sets it.\n",
                topic.code().c_str());
  }
}

void printMarkdown(const Topic& topic) {
  std::printf("\n## %s %s\n\n", topic.code().c_str(), topic.name);
  const char* const what = topic.letter == 'T' ? "Rule of the deep check, by default" : "Kind";
  std::printf("%s: %s.\n\n%s\n", what, severityName(topic.severity),
              wrapped(topic.meaning, 0, 105).c_str());
  std::printf("%s", wrapped(std::string("Usual cause: ") + topic.cause, 0, 105).c_str());
  if (*topic.frame == '\0') return;
  std::printf("\nWrong:\n\n```\n%s```\n\nRight:\n\n```\n%s```\n", topic.survey(topic.wrong).c_str(),
              topic.survey(topic.right).c_str());
}

Json topicJson(const Topic& topic) {
  Json json{{"code", topic.code()},
            {"kind", topic.letter == 'T' ? "rule" : findingKind(topic.severity)},
            {"severity", severityName(topic.severity)},
            {"name", topic.name},
            {"meaning", topic.meaning},
            {"cause", topic.cause}};
  if (*topic.frame == '\0') return json;
  json["wrongLines"] = topic.wrong;
  json["rightLines"] = topic.right;
  json["wrong"] = topic.survey(topic.wrong);
  json["right"] = topic.survey(topic.right);
  return json;
}

// Prints one after the other, in the form that is asked for.
class Explainer {
 public:
  explicit Explainer(Form form) : form_(form), json_(jsonOf("tavo-explain/1")) {
    json_["topics"] = Json::array();
    if (form != Form::kMarkdown) return;
    std::printf(
        "# Messages\n\n"
        "Every number that the library and `tavo check --deep` can give. `tavo explain CODE` "
        "prints "
        "the same,\n`tavo explain --all --format md` this page.\n");
  }

  void topic(const Topic& topic) {
    if (form_ == Form::kText && !first_) std::printf("\n\n");
    first_ = false;
    if (form_ == Form::kText) printText(topic);
    if (form_ == Form::kMarkdown) printMarkdown(topic);
    if (form_ == Form::kJson) json_["topics"].push_back(topicJson(topic));
  }

  void status(uint32_t number) {
    const char* const text = tavo_status_text(number);
    if (form_ == Form::kJson) {
      json_["topics"].push_back(
          {{"code", std::to_string(number)}, {"kind", "status"}, {"meaning", text}});
    } else if (form_ == Form::kMarkdown) {
      if (!statuses_) std::printf("\n## Statuses of calls\n\n| status | meaning |\n|---|---|\n");
      statuses_ = true;
      std::printf("| %u | %s |\n", number, text);
    } else {
      std::printf("%s%u: %s (status of a call)\n", first_ || statuses_ ? "" : "\n\n", number, text);
      statuses_ = true;
      first_ = false;
    }
  }

  bool finish() const {
    if (form_ == Form::kJson) printLine(json_);
    return flushOutput();
  }

 private:
  Form form_;
  Json json_;
  bool first_ = true;
  bool statuses_ = false;
};

}  // namespace

int explain(const ExplainOptions& options) {
  for (const std::string& code : options.codes) {
    if (findTopic(code) != nullptr || statusOf(code) != 0) continue;
    complain("there is nothing numbered '" + code + "'; see 'tavo explain --all'");
    return kFailed;
  }
  Explainer explainer(options.form);
  for (const std::string& code : options.codes) {
    const Topic* const topic = findTopic(code);
    if (topic != nullptr) explainer.topic(*topic);
    if (topic == nullptr) explainer.status(statusOf(code));
  }
  if (options.all) {
    for (const Topic& topic : topics()) explainer.topic(topic);
    for (uint32_t number = kFirstStatus; number <= kLastStatus; ++number) {
      if (statusOf(std::to_string(number)) != 0) explainer.status(number);
    }
  }
  return explainer.finish() ? kSound : kFailed;
}

}  // namespace tavo::tool

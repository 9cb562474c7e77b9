// The members of SARIF and the columns of CSV.
#include "exchange.h"

#include <cmath>
#include <cstdio>
#include <span>

#include "csv.h"
#include "text.h"
#include "topics.h"

namespace tavo::tool {

namespace {

constexpr const char* kLevels[] = {"note", "warning", "error", "none"};

// A path as a relative reference of a URI.
std::string uriOf(const std::string& path) {
  std::string uri;
#ifdef _WIN32
  constexpr bool kBackslashes = true;
#else
  constexpr bool kBackslashes = false;
#endif
  if (path.starts_with('/')) uri = "file://";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = std::isalnum(byte) != 0 || std::string_view("-._~/").find(c) != path.npos;
    if (byte < 0x80 && plain) {
      uri += c;
    } else if (kBackslashes && c == '\\') {
      uri += '/';
    } else {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
      uri += escaped;
    }
  }
  return uri;
}

Json ruleJson(const Topic& topic) {
  std::string help = topic.meaning;
  std::string markdown = help;
  help += std::string(" Usual cause: ") + topic.cause;
  markdown += std::string("\n\nUsual cause: ") + topic.cause;
  if (*topic.wrong != '\0') {
    help += std::string("\nWrong:\n") + topic.wrong + "\nRight:\n" + topic.right;
    markdown += std::string("\n\nWrong:\n\n```\n") + topic.wrong + "\n```\n\nRight:\n\n```\n" +
                topic.right + "\n```\n";
  }
  const bool off = topic.severity == kOff;
  return {{"id", topic.code()},
          {"name", topic.name},
          {"shortDescription", {{"text", topic.name}}},
          {"fullDescription", {{"text", topic.meaning}}},
          {"help", {{"text", help}, {"markdown", markdown}}},
          {"defaultConfiguration",
           {{"level", kLevels[off ? uint32_t{TAVO_NOTE} : topic.severity]}, {"enabled", !off}}}};
}

size_t ruleIndex(const std::string& code) {
  const std::span<const Topic> all = topics();
  size_t i = 0;
  while (i < all.size() && all[i].code() != code) ++i;
  return i;
}

// Columns count characters, from 1.
Json regionOf(const Found& found) {
  Json region{{"startLine", found.line}};
  const std::string_view line = found.source;
  if (found.column > 0 && found.column <= line.size()) {
    const size_t at = found.column - 1;
    const size_t start = columnsOf(line.substr(0, at)) + 1;
    region["startColumn"] = start;
    region["endColumn"] = start + columnsOf(line.substr(at, found.length));
  }
  if (!line.empty()) region["snippet"] = {{"text", toUtf8(line)}};
  return region;
}

std::string sentenceOf(const Found& found) {
  if (found.deep) return found.message() + ": " + found.detail;
  return found.text == found.message() ? found.text : found.message() + ": '" + found.text + "'";
}

Json resultOf(const Found& found, const std::string& uri) {
  Json location;
  location["physicalLocation"]["artifactLocation"]["uri"] = uri;
  if (found.line > 0) location["physicalLocation"]["region"] = regionOf(found);
  const Owner& owner = found.owner;
  if (!owner.block.empty()) {
    std::string name = owner.block;
    if (owner.number != 0) name += " " + std::to_string(owner.number);
    if (!owner.id.empty()) name += " \"" + toUtf8(owner.id) + "\"";
    location["logicalLocations"] = Json::array({{{"fullyQualifiedName", name}}});
  }
  Json result{{"ruleId", found.code()},
              {"ruleIndex", ruleIndex(found.code())},
              {"level", kLevels[found.kind]},
              {"message", {{"text", toUtf8(sentenceOf(found))}}},
              {"locations", Json::array({std::move(location)})}};
  if (const auto& at = owner.position) {
    result["properties"] = {{"x", at->x}, {"y", at->y}};
    if (std::isfinite(at->z)) result["properties"]["z"] = at->z;
    if (!at->crs.empty()) result["properties"]["crs"] = toUtf8(at->crs);
  }
  return result;
}

std::string number(double value) {
  if (!std::isfinite(value)) return {};
  char text[40];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

}  // namespace

void SarifRun::add(const InputText& text, const Analysis& analysis) {
  const std::string uri = uriOf(text.name());
  Json artifact{{"location", {{"uri", uri}}}, {"length", text.size()}};
  if (const std::string hash = text.hash(); !hash.empty()) artifact["hashes"]["sha-256"] = hash;
  artifacts_.push_back(std::move(artifact));
  for (const Found& found : analysis.findings) results_.push_back(resultOf(found, uri));
}

void SarifRun::addProblem(const std::string& problem) {
  problems_.push_back({{"level", "error"}, {"message", {{"text", toUtf8(problem)}}}});
}

bool SarifRun::print() const {
  Json rules = Json::array();
  for (const Topic& topic : topics()) rules.push_back(ruleJson(topic));
  Json invocation{{"executionSuccessful", problems_.empty()}};
  if (!problems_.empty()) invocation["toolExecutionNotifications"] = problems_;
  Json run;
  run["tool"]["driver"] = {{"name", "tavo"},
                           {"version", tavo_version()},
                           {"semanticVersion", tavo_version()},
                           {"rules", std::move(rules)}};
  run["columnKind"] = "unicodeCodePoints";
  run["invocations"] = Json::array({std::move(invocation)});
  run["artifacts"] = artifacts_;
  run["results"] = results_;
  return printLine(
      {{"$schema",
        "https://docs.oasis-open.org/sarif/sarif/v2.1.0/os/schemas/sarif-schema-2.1.0.json"},
       {"version", "2.1.0"},
       {"runs", Json::array({std::move(run)})}});
}

std::string csvHead() {
  return "file,line,column,length,code,kind,message,detail,text,source,block,number,id,x,y,z,crs\n";
}

std::string csvLines(const InputText& text, const Analysis& analysis) {
  std::string lines;
  for (const Found& found : analysis.findings) {
    const bool placed = found.column > 0;
    const Owner& owner = found.owner;
    const auto& at = owner.position;
    appendCsvLine(
        {toUtf8(text.name()), found.line > 0 ? std::to_string(found.line) : "",
         placed ? std::to_string(found.column) : "", placed ? std::to_string(found.length) : "",
         found.code(), findingKind(found.kind), toUtf8(found.message()), toUtf8(found.detail),
         found.message() == found.text ? "" : toUtf8(found.text), toUtf8(found.source), owner.block,
         owner.number != 0 ? std::to_string(owner.number) : "", toUtf8(owner.id),
         at ? number(at->x) : "", at ? number(at->y) : "", at ? number(at->z) : "",
         at ? toUtf8(at->crs) : ""},
        EdgeBlanks::kPlain, &lines);
  }
  return lines;
}

}  // namespace tavo::tool

// tavo report: surveys as one page for a browser, complete in itself.
#include <cstdio>
#include <utility>

#include "assets.h"
#include "columns.h"
#include "console.h"
#include "files.h"
#include "findings.h"
#include "page_data.h"
#include "sha256.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr const char* kScripts[] = {"leaflet.js", "uplot.js", "page.js"};
constexpr const char* kStyles[] = {"leaflet.css", "uplot.css", "page.css"};
// What is no plain text in the page.
constexpr char kMarks[] = "&<\"";

// The data of one survey, ready to stand in the page.
struct Surveyed {
  std::string name, title, survey, points;
};

// The page allows the scripts that it is made with, by their hashes, and nothing else: neither
// another script nor any request.
std::string policy() {
  std::string hashes;
  for (const char* const name : kScripts) {
    Sha256 hash;
    hash.add(asset(name));
    const std::string digits = hash.digits();
    std::string bytes;
    for (size_t i = 0; i < digits.size(); i += 2) {
      bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    hashes += " 'sha256-" + base64(bytes) + "'";
  }
  return "default-src 'none'; script-src" + hashes +
         "; style-src 'unsafe-inline'; img-src data:; base-uri 'none'; form-action 'none'";
}

void addScript(const std::string& id, const std::string& json, std::string* page) {
  *page += "<script type=\"application/json\" id=\"" + id + "\">" + json + "</script>\n";
}

// What stands for a name between two @ in the page.
std::string filled(std::string_view name, const std::vector<Surveyed>& surveys) {
  std::string text;
  if (name == "POLICY") return policy();
  if (name == "TOOL") return std::string("tavo ") + tavo_version();
  if (name == "LEAFLET_LICENCE") return escaped(asset("leaflet.licence"), kMarks);
  if (name == "UPLOT_LICENCE") return escaped(asset("uplot.licence"), kMarks);
  if (name == "TITLE") {
    return surveys.size() == 1 ? escaped(surveys[0].title, kMarks)
                               : counted(surveys.size(), "survey");
  }
  if (name == "STYLE") {
    for (const char* const style : kStyles) text += asset(style);
    return text;
  }
  if (name == "SCRIPTS") {
    for (const char* const script : kScripts) {
      text.append("<script>").append(asset(script)).append("</script>\n");
    }
    return text;
  }
  Json names = Json::array();
  for (size_t i = 0; i < surveys.size(); ++i) {
    names.push_back(surveys[i].name);
    addScript("survey-" + std::to_string(i), surveys[i].survey, &text);
    addScript("points-" + std::to_string(i), surveys[i].points, &text);
  }
  addScript("index", scriptText(names), &text);
  return text;
}

// The page with everything that stands between two @ filled in.
bool writePage(const std::vector<Surveyed>& surveys, Output* output) {
  std::string_view page = asset("page.html");
  while (!page.empty()) {
    const size_t begin = page.find('@');
    const std::string_view plain = page.substr(0, begin);
    if (!output->write(plain.data(), plain.size())) return false;
    if (begin == page.npos) break;
    const size_t end = page.find('@', begin + 1);
    const std::string text = filled(page.substr(begin + 1, end - begin - 1), surveys);
    if (!output->write(text.data(), text.size())) return false;
    page.remove_prefix(end + 1);
  }
  return true;
}

// Reads a text into data for the page; the status says whether it is sound.
int readText(const std::string& path, Surveyed* result) {
  InputText text;
  Analysis analysis;
  const Survey survey = openSurvey(path, &text, &analysis);
  if (survey == nullptr) return kFailed;
  const PageData data = pageData(text, analysis, survey.get());
  *result = {toUtf8(text.name()), data.title, scriptText(data.survey), scriptText(data.points)};
  if (data.survey.contains("notes")) {
    for (const Json& note : data.survey["notes"]) {
      complain(text.name() + ": " + note.get<std::string>());
    }
  }
  return complainOfFindings(text, analysis);
}

}  // namespace

int report(const ReportOptions& options) {
  if (asset("leaflet.js").empty()) {
    complain("this build makes no reports: Leaflet was not there when it was built");
    return kFailed;
  }
  for (const std::string& file : options.files) {
    const std::string problem = targetProblem(options.output, isStream(file) ? "" : file,
                                              OutputKind::kPage, options.overwrite);
    if (problem.empty()) continue;
    complain(problem);
    return kFailed;
  }
  int status = kSound;
  std::vector<Surveyed> surveys;
  for (const std::string& file : options.files) {
    const int one = readText(file, &surveys.emplace_back());
    if (one == kFailed) return kFailed;
    status = std::max(status, one);
  }
  Output output;
  if (const std::string problem = output.open(options.output); !problem.empty()) {
    complain(problem);
    return kFailed;
  }
  if (writePage(surveys, &output) && output.commit()) return status;
  complain("writing '" + options.output + "' failed");
  return kFailed;
}

}  // namespace tavo::tool

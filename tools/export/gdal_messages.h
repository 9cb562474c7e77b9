// What GDAL has to say, kept instead of printed.
#pragma once

#include <string>
#include <vector>

#include <cpl_error.h>

namespace tavo::tool {

class GdalMessages {
 public:
  GdalMessages() { CPLPushErrorHandlerEx(&GdalMessages::take, this); }
  GdalMessages(const GdalMessages&) = delete;
  GdalMessages& operator=(const GdalMessages&) = delete;
  ~GdalMessages() { CPLPopErrorHandler(); }

  // The first failure since the last call of clear(), as one line; empty: there was none.
  const std::string& failure() const { return failure_; }
  const std::vector<std::string>& warnings() const { return warnings_; }
  void clear() {
    failure_.clear();
    warnings_.clear();
  }

 private:
  static void take(CPLErr kind, CPLErrorNum, const char* text) {
    auto* const self = static_cast<GdalMessages*>(CPLGetErrorHandlerUserData());
    std::string line(text);
    line.resize(line.find_last_not_of(" \n\r") + 1);
    for (char& c : line) c = c == '\n' || c == '\r' || c == '\t' ? ' ' : c;
    if (kind == CE_Warning) self->warnings_.push_back(line);
    if (kind >= CE_Failure && self->failure_.empty()) self->failure_ = line.empty() ? "?" : line;
  }

  std::string failure_;
  std::vector<std::string> warnings_;
};

}  // namespace tavo::tool

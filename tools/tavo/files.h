// Files as the verbs see them: what a path names, whether two paths name one file, and output that
// takes its place only when it is complete.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "writers/build.h"

namespace tavo::tool {

enum class FileKind { kMissing, kRegular, kOther };
FileKind fileKind(const std::string& path);

// Bytes of a regular file, else -1.
int64_t fileSize(const std::string& path);

// Whether both name the same existing file, by whatever path.
bool sameFile(const std::string& a, const std::string& b);

// Why a file cannot be read as a TAVO text, or an empty text when it can.
std::string textProblem(const std::string& path);
// Why a file cannot be read as a data file, or an empty text when it can.
std::string dataFileProblem(const std::string& path);
// Why a file must not be replaced by output made from the input, or an empty text when it may.
std::string targetProblem(const std::string& target, const std::string& input);

// The system's sink for output that nobody wants.
const char* nullDevice();

// Text output under a temporary name beside its target; commit() puts it in the target's place. An
// output that was not committed leaves no trace.
class OutputFile final : public writers::TextSink {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  // False, with a complaint, when no file can be made there.
  bool open(const std::string& target);
  bool write(const char* bytes, size_t size) override;
  bool close() override;
  // Path of what was written, until it is committed.
  const std::string& path() const { return path_; }
  // False, with a complaint, when the target cannot be replaced.
  bool commit();

 private:
  std::string target_;
  std::string path_;  // empty: nothing to remove
  std::FILE* file_ = nullptr;
};

}  // namespace tavo::tool

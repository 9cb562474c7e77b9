// Files as the verbs see them: what a path names, what may be replaced, and output that takes its
// place only when it is complete. "-" is the standard input or output.
#pragma once

#include <cstdint>
#include <string>

#include "interrupt.h"
#include "platform/text_file.h"

namespace tavo::tool {

using platform::FileKind;
FileKind fileKind(const std::string& path);

// Bytes of a regular file, else -1.
int64_t fileSize(const std::string& path);

// Whether the path stands for the standard input or output.
inline bool isStream(const std::string& path) { return path == "-"; }

// Why a path cannot be opened, as a sentence about it.
std::string openProblem(const std::string& path, platform::OpenResult result);
// Why a file cannot be read as a data file, or an empty text when it can.
std::string dataFileProblem(const std::string& path);

enum class OutputKind { kText, kLog, kDataFile };
// Why a path must not take output of that kind, or an empty text when it may. An existing file must
// begin like such an output unless it is to be overwritten, and is never the input itself; `input`
// is empty where that may be.
std::string targetProblem(const std::string& target, const std::string& input, OutputKind kind,
                          bool overwrite);

// A new file under a temporary name beside its target. One that was not committed leaves no trace,
// not even when the program is interrupted.
class NewFile {
 public:
  explicit NewFile(const std::string& target) { place_.prepare(target.c_str()); }
  const std::string& path() const { return place_.path(); }
  // Puts it in the target's place; false, with a complaint, when that cannot be.
  bool commit();

 private:
  Interruptible interruptible_;
  platform::Replacement place_;
};

// Text output into a new file, or to the standard output as it comes.
class OutputFile final : public platform::TextOutput {
 public:
  // Why no file can be made there, or an empty text when it is.
  std::string tryOpen(const std::string& target);
  // The same; false, with a complaint, when there is a problem.
  bool open(const std::string& target);
  bool write(const char* bytes, size_t size) override;
  bool close() override;
  // False, with a complaint, when the target cannot be replaced or the stream written.
  bool commit();

 private:
  std::unique_ptr<NewFile> place_;  // none for the standard output
  platform::OutputFile file_;
};

}  // namespace tavo::tool

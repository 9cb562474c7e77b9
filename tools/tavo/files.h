// Files as the verbs see them: what a path names, what may be replaced, and output that takes its
// place only when it is complete. "-" is the standard input or output.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "interrupt.h"
#include "tavo/survey.h"

namespace tavo::tool {

// Whether the path stands for the standard input or output.
inline bool isStream(const std::string& path) { return path == "-"; }

// Why a path cannot be opened, as a sentence about it; reason is the layer's.
std::string openProblem(const std::string& path, uint32_t reason);

// A file open for reading.
class ReadFile {
 public:
  explicit ReadFile(const std::string& path) : path_(path) {
    tavo_file_open(&file_, path.c_str(), &reason_);
  }
  ReadFile(const ReadFile&) = delete;
  ReadFile& operator=(const ReadFile&) = delete;
  ~ReadFile() { tavo_file_close(file_); }

  bool isOpen() const { return file_ != nullptr; }
  // The sentence on why it is not.
  std::string problem() const { return openProblem(path_, reason_); }
  uint32_t reason() const { return reason_; }
  // Bytes read, 0 at the end, -1 on failure.
  int64_t read(char* bytes, size_t room) const { return tavo_file_read(bytes, room, file_); }
  bool seek(uint64_t place) const { return tavo_file_seek(file_, place) == TAVO_OK; }

 private:
  std::string path_;
  tavo_file* file_ = nullptr;
  uint32_t reason_ = TAVO_REASON_NONE;
};

enum class OutputKind { kText, kLog, kDataFile, kCsv, kPage, kPicture };
// Why a path must not take output of that kind, or an empty text when it may. An existing file must
// begin like such an output unless it is to be overwritten, and is never the input itself; `input`
// is empty where that may be.
std::string targetProblem(const std::string& target, const std::string& input, OutputKind kind,
                          bool overwrite);

// A file in the system's folder for temporary files, for a data file that comes or goes as a
// stream. It is gone when the object is, also when the program is interrupted.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { tavo_output_abandon(file_); }

  // False when no file can be made there. Until the first write somebody else may make it.
  bool make();
  bool write(std::string_view bytes) {
    return tavo_output_write(file_, bytes.data(), bytes.size()) == TAVO_OK;
  }
  bool close() { return tavo_output_close(file_) == TAVO_OK; }
  const char* path() const { return tavo_output_path(file_); }

 private:
  Interruptible interruptible_;
  tavo_output* file_ = nullptr;
};

// What can be read of the standard input's beginning, to see of what kind it is.
std::string streamHead();

// The data file that a verb reads: that of a path, or the standard input in a temporary file.
class DataFileInput {
 public:
  // Why it cannot be had, or an empty text. head: what was read of the standard input already.
  std::string open(const std::string& path, std::string_view head = {});
  // Where it is, and what messages call it.
  const std::string& path() const { return path_; }
  const std::string& name() const { return name_; }

 private:
  std::string path_, name_;
  std::optional<TemporaryFile> stream_;
};

// Output under a temporary name beside its target, or to the standard output: a text as it comes,
// what somebody else makes when it is complete. One that was not committed leaves no trace, not
// even when the program is interrupted.
class Output {
 public:
  enum class Writer {
    kTool,   // write() below
    kHeld,   // the same; the standard output gets it at commit, until then it is at path(), too
    kOther,  // somebody else makes the file at path()
  };

  Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output() { tavo_output_abandon(output_); }

  // Why no output can be made there, or an empty text when it is.
  std::string open(const std::string& target, Writer writer = Writer::kTool);
  const char* path() const {
    return output_ == nullptr ? stream_->path() : tavo_output_path(output_);
  }
  bool write(const void* bytes, size_t size);
  // The output as the layer's target of a text.
  tavo_target target();
  // False, with a complaint, when the target cannot be replaced or the stream not written.
  bool commit();

 private:
  bool copyStream();

  Interruptible interruptible_;
  std::string target_;
  tavo_output* output_ = nullptr;        // none for the standard output that is not held
  std::optional<TemporaryFile> stream_;  // what comes to it at commit
};

}  // namespace tavo::tool

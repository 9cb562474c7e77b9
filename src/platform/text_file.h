// Text files: input in blocks, output in the platform's text mode, and what has to be known of a
// file before it is read or written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tavo::platform {

// How the bytes of a path are meant. On Linux they are the path as it is.
enum class PathForm {
  kNative,  // those of the system's narrow calls: on Windows its ANSI code page
  kUtf8,
};

enum class OpenResult {
  kDone,
  kMissing,  // no such file or folder
  kFolder,
  kDenied,  // no permission
  kHeld,    // another opener, of this or another process, does not share the file
  kFailed,
};

// Where a text comes from. Blocks should be large: nothing is buffered in between.
class TextInput {
 public:
  virtual ~TextInput() = default;
  // The next `size` bytes as they are; fewer at the end of the text or when reading fails.
  virtual size_t read(char* bytes, size_t size) = 0;
  virtual bool failed() const = 0;
};

// Where a text goes to, with line feeds as line ends. Both calls return false on failure.
class TextOutput {
 public:
  virtual ~TextOutput() = default;
  virtual bool write(const char* bytes, size_t size) = 0;
  virtual bool close() = 0;
};

// A text that is in memory already and must outlive this.
class MemoryInput final : public TextInput {
 public:
  explicit MemoryInput(std::string_view text) : rest_(text) {}
  size_t read(char* bytes, size_t size) override;
  bool failed() const override { return false; }

 private:
  std::string_view rest_;
};

// Collects a text in memory; a write fails when that runs out.
class MemoryOutput final : public TextOutput {
 public:
  bool write(const char* bytes, size_t size) override;
  bool close() override { return true; }

  std::string text;
};

// For a text that nobody wants.
class NoOutput final : public TextOutput {
 public:
  bool write(const char*, size_t) override { return true; }
  bool close() override { return true; }
};

// A descriptor or handle of the operating system.
#ifdef _WIN32
using NativeHandle = void*;
#else
using NativeHandle = int;
#endif

// A file that others may read and write meanwhile, but neither delete nor open for themselves
// alone.
class InputFile final : public TextInput {
 public:
  InputFile() = default;
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() override { close(); }

  OpenResult open(const char* path, PathForm form = PathForm::kNative);
  // The standard input of the process.
  void openStandard();
  void close();

  size_t read(char* bytes, size_t size) override;
  bool failed() const override { return failed_; }
  // Goes on so many bytes behind the beginning; false where that cannot be.
  bool seek(uint64_t place);

 private:
  NativeHandle file_{};
  bool open_ = false;
  bool owned_ = false;
  bool failed_ = false;
};

// A text file under construction, shared like an input. What the file held stays until start(), so
// that the opener can look at its other files first; one that was not started leaves no trace.
class OutputFile final : public TextOutput {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile() override { abandon(); }

  // Opens a file, or makes it when it is missing.
  OpenResult open(const char* path, PathForm form = PathForm::kNative);
  // Makes a new file, with the permissions of the one named by `like` if there is one.
  OpenResult create(const char* path, const char* like, PathForm form = PathForm::kNative);
  // Empties the file. False on failure.
  bool start();
  bool write(const char* bytes, size_t size) override;
  // The same without a change of line ends.
  bool writeBytes(const char* bytes, size_t size);
  bool close() override;
  // Closes; a file that was not started is left as it was, one that open() or create() made is
  // deleted.
  void abandon();

 private:
  std::string path_;
  PathForm form_ = PathForm::kNative;
  NativeHandle file_{};
  bool open_ = false;
  bool made_ = false;     // the file was not there before
  bool started_ = false;  // it has its new contents, or a part of them
};

// A new file beside the one whose place it will take, so that it is there either whole or not at
// all. Who makes it under path() is free: a text output or the store.
class Replacement {
 public:
  Replacement() = default;
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  ~Replacement() { abandon(); }

  // Chooses the path. A link keeps being one: the file behind it is replaced.
  void prepare(const char* target, PathForm form = PathForm::kNative);
  const std::string& path() const { return path_; }
  const std::string& target() const { return target_; }
  // Puts the file, which must be closed, in the target's place; false, and the target as it was,
  // when somebody has that open or the system refuses.
  bool commit();
  // Deletes the new file, if it is there.
  void abandon();

 private:
  std::string target_;
  PathForm form_ = PathForm::kNative;
  std::string path_;  // empty when there is nothing to delete
};

enum class FileKind { kMissing, kRegular, kFolder, kOther };

// What a path names. Volume and index together are the file's identity, whatever path leads to it.
struct FileInfo {
  FileKind kind = FileKind::kMissing;
  uint64_t size = 0;  // bytes of a regular file
  uint64_t volume = 0;
  uint64_t index = 0;
};
FileInfo fileInfo(const char* path, PathForm form = PathForm::kNative);

// Whether both paths name one regular file, by links and relative names, too, or would when they
// made it. False when one of them is null.
bool sameFile(const char* a, const char* b, PathForm form = PathForm::kNative);

// Deletes a file; false when it is missing or the system refuses.
bool removeFile(const char* path, PathForm form = PathForm::kNative);

}  // namespace tavo::platform

// The texts that a host names: inputs and targets as paths, memory or callbacks. Paths are UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "platform/text_file.h"
#include "tavo/survey.h"
#include "tavo/tavo.h"

namespace tavo::survey {

// A text that a host's callback reads.
class CallbackInput final : public platform::TextInput {
 public:
  CallbackInput(tavo_read_fn function, void* user) : read_(function), user_(user) {}
  size_t read(char* bytes, size_t size) override;
  bool failed() const override { return failed_; }

 private:
  tavo_read_fn read_;
  void* user_;
  bool failed_ = false;
};

class Source {
 public:
  // TAVO_ERR_ARGUMENT without a version or a text, TVO_ERR_OPEN when the path is no readable file.
  tavo_status open(const tavo_input* input);
  platform::TextInput& text() { return *text_; }
  // Bytes of it, 0 when not known.
  uint64_t size() const { return size_; }
  // Null when it is no file.
  const char* path() const { return path_; }
  const char* name() const { return name_; }

 private:
  platform::TextInput* text_ = nullptr;
  platform::InputFile file_;
  std::optional<platform::MemoryInput> memory_;
  std::optional<CallbackInput> callback_;
  uint64_t size_ = 0;
  const char* path_ = nullptr;
  const char* name_ = "";
};

// A file that takes its place when it is complete. A device or pipe, which cannot be replaced, is
// written as it comes.
class NewFile {
 public:
  // False when no file can be made there.
  bool create(const char* path);
  const char* path() const { return direct_ ? target_.c_str() : place_.path().c_str(); }
  // With line feeds as line ends, and bytes as they are.
  bool writeText(const char* text, size_t size);
  bool writeBytes(const char* bytes, size_t size);
  bool close();
  // Puts the file in its place, even when somebody else has made it under path(). False when that,
  // or anything before it, failed; then the target is as it was.
  bool commit();
  bool failed() const { return failed_; }

 private:
  bool begin();

  // In this order: the file is closed before it is deleted.
  platform::Replacement place_;
  std::string target_;
  platform::OutputFile file_;
  bool direct_ = false;
  bool begun_ = false;
  bool failed_ = false;
};

// Where a text goes. Nothing of it is left unless it is committed; what a callback took is its own
// business.
class Target final : public platform::TextOutput {
 public:
  // TAVO_ERR_ARGUMENT without a version, TVO_ERR_OPEN when no file can be made, or when it would be
  // the input's file.
  tavo_status open(const tavo_target* target, const char* inputPath);
  // Nowhere is a target, too.
  bool isNowhere() const { return target_.path == nullptr && !inMemory() && !target_.write; }
  bool write(const char* bytes, size_t size) override;
  bool close() override;
  // TAVO_OK or failure().
  tavo_status commit();
  // Why writing the text failed: TVO_ERR_WRITE, or TAVO_ERR_MEMORY when it did not come to a write.
  tavo_status failure() const;

 private:
  struct Free {
    void operator()(char* memory) const;
  };

  bool inMemory() const { return target_.memory != nullptr; }
  bool grow(size_t size);

  tavo_target target_ = TAVO_TARGET_INIT;
  NewFile file_;
  std::unique_ptr<char, Free> text_;  // in memory, with room for an end mark
  size_t size_ = 0, room_ = 0;
  bool failed_ = false;  // a callback or the memory
  bool outOfMemory_ = false;
};

}  // namespace tavo::survey

// Texts in memory, and the comparison of paths.
#include "platform/text_file.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "platform/text_file_native.h"

namespace tavo::platform {

size_t MemoryInput::read(char* bytes, size_t size) {
  const size_t n = std::min(size, rest_.size());
  std::memcpy(bytes, rest_.data(), n);
  rest_.remove_prefix(n);
  return n;
}

bool MemoryOutput::write(const char* bytes, size_t size) try {
  text.append(bytes, size);
  return true;
} catch (const std::bad_alloc&) {
  return false;
} catch (const std::length_error&) {
  return false;
}

void OutputFile::abandon() {
  if (!open_) return;
  const bool remove = made_ && !started_;
  close();
  if (remove) removeFile(path_.c_str(), form_);
}

void Replacement::prepare(const char* target, PathForm form) {
  form_ = form;
  target_ = native::linkTarget(target);
  path_ = target_ + "." + std::to_string(native::processId()) + ".tmp";
}

bool Replacement::commit() {
  if (!native::replace(path_.c_str(), target_.c_str(), form_)) return false;
  path_.clear();
  return true;
}

void Replacement::abandon() {
  if (!path_.empty()) removeFile(path_.c_str(), form_);
  path_.clear();
}

bool sameFile(const char* a, const char* b, PathForm form) {
  if (a == nullptr || b == nullptr) return false;
  const FileInfo first = fileInfo(a, form);
  const FileInfo second = fileInfo(b, form);
  if (first.kind != second.kind) return false;
  if (first.kind == FileKind::kRegular) {
    return first.volume == second.volume && first.index == second.index;
  }
  if (first.kind != FileKind::kMissing) return false;
  // Neither is there: one name in one folder would be one file.
  const native::Name firstName = native::nameOf(a, form);
  const native::Name secondName = native::nameOf(b, form);
  const FileInfo firstFolder = fileInfo(firstName.folder.c_str(), form);
  const FileInfo secondFolder = fileInfo(secondName.folder.c_str(), form);
  return firstFolder.kind == FileKind::kFolder && secondFolder.kind == FileKind::kFolder &&
         firstFolder.volume == secondFolder.volume && firstFolder.index == secondFolder.index &&
         native::sameName(firstName.file.c_str(), secondName.file.c_str(), form);
}

}  // namespace tavo::platform

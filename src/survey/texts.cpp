// Opening, reading and writing of the texts that a host names, and the functions on its own output
// files.
#include "survey/texts.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "survey/guard.h"
#include "tavo/tavo.h"

namespace tavo::survey {

using platform::FileKind;
using platform::OpenResult;
using platform::PathForm;

size_t CallbackInput::read(char* bytes, size_t size) {
  size_t done = 0;
  while (done < size && !failed_) {
    const int64_t n = read_(bytes + done, size - done, user_);
    failed_ = n < 0 || static_cast<uint64_t>(n) > size - done;
    if (failed_ || n == 0) break;
    done += static_cast<size_t>(n);
  }
  return done;
}

tavo_status Source::open(const tavo_input* input) {
  if (input == nullptr || input->version != 1) return TAVO_ERR_ARGUMENT;
  if (input->path != nullptr) {
    path_ = name_ = input->path;
    if (file_.open(path_, PathForm::kUtf8) != OpenResult::kDone) return TVO_ERR_OPEN;
    size_ = platform::fileInfo(path_, PathForm::kUtf8).size;
    text_ = &file_;
  } else if (input->bytes != nullptr) {
    size_ = input->size;
    text_ = &memory_.emplace(std::string_view(static_cast<const char*>(input->bytes), input->size));
  } else if (input->read != nullptr) {
    text_ = &callback_.emplace(input->read, input->user);
  } else {
    return TAVO_ERR_ARGUMENT;
  }
  if (input->name != nullptr) name_ = input->name;
  return TAVO_OK;
}

bool NewFile::create(const char* path) {
  const FileKind kind = platform::fileInfo(path, PathForm::kUtf8).kind;
  if (kind == FileKind::kFolder) return false;
  target_ = path;
  direct_ = kind == FileKind::kOther;
  if (direct_) return begin();
  place_.prepare(path, PathForm::kUtf8);
  const bool possible = begin();
  // Not before something is written: until then another call may make the file.
  file_.abandon();
  if (possible) platform::removeFile(place_.path().c_str(), PathForm::kUtf8);
  begun_ = failed_ = false;
  return possible;
}

bool NewFile::begin() {
  if (begun_) return !failed_;
  begun_ = true;
  const OpenResult opened =
      direct_ ? file_.open(target_.c_str(), PathForm::kUtf8)
              : file_.create(place_.path().c_str(), target_.c_str(), PathForm::kUtf8);
  failed_ = opened != OpenResult::kDone || !file_.start();
  return !failed_;
}

bool NewFile::writeText(const char* text, size_t size) {
  failed_ = !begin() || !file_.write(text, size) || failed_;
  return !failed_;
}

bool NewFile::writeBytes(const char* bytes, size_t size) {
  failed_ = !begin() || !file_.writeBytes(bytes, size) || failed_;
  return !failed_;
}

bool NewFile::close() {
  failed_ = !file_.close() || failed_;
  return !failed_;
}

bool NewFile::commit() {
  if (direct_) return close();
  const FileKind kind = platform::fileInfo(place_.path().c_str(), PathForm::kUtf8).kind;
  if (!begun_ && kind == FileKind::kMissing) begin();
  failed_ = !close() || !place_.commit();
  return !failed_;
}

void Target::Free::operator()(char* memory) const { std::free(memory); }

tavo_status Target::open(const tavo_target* target, const char* inputPath) {
  if (target == nullptr || target->version != 1) return TAVO_ERR_ARGUMENT;
  target_ = *target;
  if (target_.path != nullptr) {
    target_.memory = nullptr;
    target_.write = nullptr;
    const bool same = platform::sameFile(target_.path, inputPath, PathForm::kUtf8);
    return !same && file_.create(target_.path) ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_OPEN};
  }
  if (!inMemory()) return TAVO_OK;
  if (target_.memory_size == nullptr) return TAVO_ERR_ARGUMENT;
  *target_.memory = nullptr;
  *target_.memory_size = 0;
  return grow(0) ? tavo_status{TAVO_OK} : tavo_status{TAVO_ERR_MEMORY};
}

bool Target::grow(size_t size) {
  if (size >= SIZE_MAX / 2 - room_) return false;
  const size_t room = std::max(size_ + size + 1, room_ + room_ / 2);
  auto* const memory = static_cast<char*>(std::realloc(text_.get(), room));
  if (memory == nullptr) return false;
  static_cast<void>(text_.release());
  text_.reset(memory);
  room_ = room;
  return true;
}

tavo_status Target::failure() const {
  const bool refused = (failed_ || file_.failed()) && !outOfMemory_;
  return refused ? tavo_status{TVO_ERR_WRITE} : tavo_status{TAVO_ERR_MEMORY};
}

bool Target::write(const char* bytes, size_t size) {
  if (target_.path != nullptr) return file_.writeText(bytes, size);
  if (inMemory()) {
    failed_ = outOfMemory_ = outOfMemory_ || (size >= room_ - size_ && !grow(size));
    if (failed_) return false;
    std::memcpy(text_.get() + size_, bytes, size);
    size_ += size;
    return true;
  }
  if (target_.write != nullptr) failed_ = failed_ || target_.write(bytes, size, target_.user) != 0;
  return !failed_;
}

bool Target::close() { return target_.path != nullptr ? file_.close() : !failed_; }

tavo_status Target::commit() {
  if (target_.path != nullptr) return file_.commit() ? tavo_status{TAVO_OK} : failure();
  if (inMemory() && !failed_) {
    text_.get()[size_] = '\0';
    *target_.memory = text_.release();
    *target_.memory_size = size_;
  }
  return failed_ ? failure() : tavo_status{TAVO_OK};
}

}  // namespace tavo::survey

struct tavo_output {
  tavo::survey::NewFile file;
};

using tavo::survey::guarded;

extern "C" {

void tavo_free(void* memory) { std::free(memory); }

tavo_status tavo_output_create(tavo_output** out, const char* path) {
  if (out == nullptr) return TAVO_ERR_ARGUMENT;
  *out = nullptr;
  if (path == nullptr) return TAVO_ERR_ARGUMENT;
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    auto output = std::make_unique<tavo_output>();
    if (!output->file.create(path)) return TVO_ERR_OPEN;
    *out = output.release();
    return TAVO_OK;
  });
}

tavo_status tavo_output_write(tavo_output* output, const void* bytes, size_t size) {
  if (output == nullptr || (bytes == nullptr && size > 0)) return TAVO_ERR_ARGUMENT;
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    return output->file.writeBytes(static_cast<const char*>(bytes), size)
               ? tavo_status{TAVO_OK}
               : tavo_status{TVO_ERR_WRITE};
  });
}

tavo_status tavo_output_write_text(tavo_output* output, const char* text, size_t size) {
  if (output == nullptr || (text == nullptr && size > 0)) return TAVO_ERR_ARGUMENT;
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    return output->file.writeText(text, size) ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_WRITE};
  });
}

const char* tavo_output_path(const tavo_output* output) {
  return output == nullptr ? nullptr : output->file.path();
}

tavo_status tavo_output_close(tavo_output* output) {
  if (output == nullptr) return TAVO_ERR_ARGUMENT;
  return output->file.close() ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_WRITE};
}

tavo_status tavo_output_commit(tavo_output* output) {
  if (output == nullptr) return TAVO_ERR_ARGUMENT;
  const std::unique_ptr<tavo_output> owned(output);
  return guarded(TAVO_ERR_MEMORY, [&]() -> tavo_status {
    return owned->file.commit() ? tavo_status{TAVO_OK} : tavo_status{TVO_ERR_WRITE};
  });
}

void tavo_output_abandon(tavo_output* output) { delete output; }

int tavo_same_file(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return 0;
  constexpr auto kUtf8 = tavo::platform::PathForm::kUtf8;
  return guarded(0, [&] {
    const bool there =
        tavo::platform::fileInfo(a, kUtf8).kind == tavo::platform::FileKind::kRegular;
    return there && tavo::platform::sameFile(a, b, kUtf8) ? 1 : 0;
  });
}

}  // extern "C"

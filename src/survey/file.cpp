// Files to read, and what paths name.
#include <new>

#include "platform/text_file.h"
#include "tavo/survey.h"
#include "tavo/tavo.h"

using tavo::platform::FileKind;
using tavo::platform::OpenResult;

static_assert(TAVO_REASON_OTHER == static_cast<int>(OpenResult::kFailed));
static_assert(TAVO_PATH_OTHER == static_cast<int>(FileKind::kOther));

struct tavo_file {
  tavo::platform::InputFile file;
};

extern "C" {

uint32_t tavo_path_kind(const char* path, uint64_t* size) {
  const tavo::platform::FileInfo info =
      path == nullptr ? tavo::platform::FileInfo{}
                      : tavo::platform::fileInfo(path, tavo::platform::PathForm::kUtf8);
  if (size != nullptr) *size = info.kind == FileKind::kRegular ? info.size : 0;
  return static_cast<uint32_t>(info.kind);
}

tavo_status tavo_file_open(tavo_file** out, const char* path, uint32_t* reason) {
  if (out == nullptr) return TAVO_ERR_ARGUMENT;
  *out = nullptr;
  if (reason != nullptr) *reason = TAVO_REASON_NONE;
  if (path == nullptr) return TAVO_ERR_ARGUMENT;
  auto* const opened = new (std::nothrow) tavo_file;
  if (opened == nullptr) return TAVO_ERR_MEMORY;
  const OpenResult result = opened->file.open(path, tavo::platform::PathForm::kUtf8);
  if (reason != nullptr) *reason = static_cast<uint32_t>(result);
  if (result != OpenResult::kDone) {
    delete opened;
    return TVO_ERR_OPEN;
  }
  *out = opened;
  return TAVO_OK;
}

int64_t tavo_file_read(void* bytes, size_t room, void* file) {
  if (bytes == nullptr || file == nullptr) return -1;
  auto& input = static_cast<tavo_file*>(file)->file;
  const size_t count = input.read(static_cast<char*>(bytes), room);
  return count == 0 && input.failed() ? -1 : static_cast<int64_t>(count);
}

tavo_status tavo_file_seek(tavo_file* file, uint64_t place) {
  if (file == nullptr) return TAVO_ERR_ARGUMENT;
  return file->file.seek(place) ? tavo_status{TAVO_OK} : tavo_status{TAVO_ERR_INPUT};
}

void tavo_file_close(tavo_file* file) { delete file; }

}  // extern "C"

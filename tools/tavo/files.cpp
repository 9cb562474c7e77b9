// File questions of both platforms, asked through the C and system interfaces so that a path means
// what it means to the library.
#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "console.h"
#include "store/data_file.h"

#ifdef _WIN32
#include <io.h>
#include <process.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace tavo::tool {

namespace {

#ifdef _WIN32
using Status = struct _stat64;
int status(const std::string& path, Status* result) { return _stat64(path.c_str(), result); }
int processId() { return _getpid(); }
constexpr unsigned kTypeMask = _S_IFMT, kRegularType = _S_IFREG, kDirectoryType = _S_IFDIR;
#else
using Status = struct stat;
int status(const std::string& path, Status* result) { return stat(path.c_str(), result); }
int processId() { return getpid(); }
constexpr unsigned kTypeMask = S_IFMT, kRegularType = S_IFREG, kDirectoryType = S_IFDIR;
#endif

#ifdef _WIN32
bool identify(const std::string& path, BY_HANDLE_FILE_INFORMATION* information) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE file = CreateFileA(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool known = GetFileInformationByHandle(file, information) != 0;
  CloseHandle(file);
  return known;
}
#endif

// A new text file that nobody else has made, with the permissions of the file that it will replace.
std::FILE* createNew(const std::string& path, const std::string& like) {
#ifdef _WIN32
  (void)like;
  const int file =
      _open(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_TEXT, _S_IREAD | _S_IWRITE);
  return file < 0 ? nullptr : _fdopen(file, "wt");
#else
  const int file = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
  if (file < 0) return nullptr;
  Status old;
  // Where permissions cannot be set, those of a new file have to do.
  if (status(like, &old) == 0 && fchmod(file, old.st_mode & 07777) != 0) errno = 0;
  return fdopen(file, "w");
#endif
}

bool replaceFile(const std::string& from, const std::string& to) {
#ifdef _WIN32
  return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
#else
  return std::rename(from.c_str(), to.c_str()) == 0;
#endif
}

// The file behind a link, so that the link stays one.
std::string linkTarget(const std::string& path) {
#ifdef _WIN32
  return path;
#else
  char* const real = realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string result(real);
  std::free(real);
  return result;
#endif
}

std::string readProblem(const std::string& path) {
  Status found;
  if (status(path, &found) != 0) return "cannot read '" + path + "': " + std::strerror(errno);
  if ((found.st_mode & kTypeMask) == kDirectoryType) {
    return "cannot read '" + path + "': it is a folder";
  }
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return "cannot read '" + path + "': " + std::strerror(errno);
  std::fclose(file);
  return {};
}

}  // namespace

FileKind fileKind(const std::string& path) {
  Status found;
  if (status(path, &found) != 0) return FileKind::kMissing;
  return (found.st_mode & kTypeMask) == kRegularType ? FileKind::kRegular : FileKind::kOther;
}

int64_t fileSize(const std::string& path) {
  Status found;
  if (status(path, &found) != 0 || (found.st_mode & kTypeMask) != kRegularType) return -1;
  return found.st_size;
}

bool sameFile(const std::string& a, const std::string& b) {
#ifdef _WIN32
  BY_HANDLE_FILE_INFORMATION first, second;
  return identify(a, &first) && identify(b, &second) &&
         first.dwVolumeSerialNumber == second.dwVolumeSerialNumber &&
         first.nFileIndexHigh == second.nFileIndexHigh &&
         first.nFileIndexLow == second.nFileIndexLow;
#else
  Status first, second;
  return status(a, &first) == 0 && status(b, &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
#endif
}

std::string textProblem(const std::string& path) {
  std::string problem = readProblem(path);
  if (problem.empty() && fileKind(path) == FileKind::kRegular && store::isDataFile(path.c_str())) {
    problem = "'" + path + "' is a data file, not a text (see 'tavo dump' and 'tavo build')";
  }
  return problem;
}

std::string dataFileProblem(const std::string& path) {
  std::string problem = readProblem(path);
  if (problem.empty() && !store::isDataFile(path.c_str())) {
    problem = "'" + path + "' is not a data file, or another program holds it open";
  }
  return problem;
}

std::string targetProblem(const std::string& target, const std::string& input) {
  if (sameFile(target, input)) return "'" + target + "' is the input itself; it is not overwritten";
  if (fileKind(target) == FileKind::kOther) return "'" + target + "' is not a regular file";
  return {};
}

const char* nullDevice() {
#ifdef _WIN32
  return "NUL";
#else
  return "/dev/null";
#endif
}

OutputFile::~OutputFile() {
  if (file_ != nullptr) std::fclose(file_);
  if (!path_.empty()) std::remove(path_.c_str());
}

bool OutputFile::open(const std::string& target) {
  target_ = linkTarget(target);
  const std::string path = target_ + "." + std::to_string(processId()) + ".tmp";
  file_ = createNew(path, target_);
  if (file_ == nullptr) {
    complain("cannot write '" + path + "': " + std::strerror(errno));
    return false;
  }
  path_ = path;
  return true;
}

bool OutputFile::write(const char* bytes, size_t size) {
  return std::fwrite(bytes, 1, size, file_) == size;
}

bool OutputFile::close() {
  std::FILE* const file = file_;
  file_ = nullptr;
  return std::fclose(file) == 0;
}

bool OutputFile::commit() {
  if (!replaceFile(path_, target_)) {
    complain("cannot replace '" + target_ + "'");
    return false;
  }
  path_.clear();
  return true;
}

}  // namespace tavo::tool

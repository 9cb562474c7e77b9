// Terminal handling of both platforms and the progress bar.
#include "console.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "interrupt.h"
#include "text.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace tavo::tool {

namespace {

constexpr uint64_t kLargeFile = 16U << 20;
constexpr int kBarWidth = 40;

// Old Windows consoles show escape sequences as they are.
bool understandsEscapes() {
#ifdef _WIN32
  const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
  constexpr DWORD kVirtualTerminal = 0x0004;
  DWORD mode = 0;
  return GetConsoleMode(console, &mode) != 0 &&
         SetConsoleMode(console, mode | kVirtualTerminal) != 0;
#else
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
#endif
}

}  // namespace

std::vector<std::string> arguments(int argc, ArgumentChar** argv) {
#ifdef _WIN32
  std::vector<std::string> result;
  for (int i = 0; i < argc; ++i) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, argv[i], -1, nullptr, 0, nullptr, nullptr);
    std::string& word = result.emplace_back(static_cast<size_t>(std::max(size, 1)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, argv[i], -1, word.data(), size, nullptr, nullptr);
    word.pop_back();  // the end mark
  }
  return result;
#else
  return {argv, argv + argc};
#endif
}

std::vector<char*> argumentPointers(std::vector<std::string>& words) {
  std::vector<char*> pointers(words.size() + 1);
  std::ranges::transform(words, pointers.begin(), [](std::string& word) { return word.data(); });
  return pointers;
}

void prepareConsole() {
#ifdef _WIN32
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
#endif
}

std::string temporaryFolder() {
#ifdef _WIN32
  wchar_t folder[MAX_PATH + 1];
  const DWORD size = GetTempPathW(MAX_PATH + 1, folder);
  std::string utf8(3 * size_t{size}, '\0');
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, folder, static_cast<int>(size), utf8.data(),
                                        static_cast<int>(utf8.size()), nullptr, nullptr);
  utf8.resize(static_cast<size_t>(std::max(bytes, 0)));
  return utf8;
#else
  const char* const folder = std::getenv("TMPDIR");
  return std::string(folder == nullptr || *folder == '\0' ? "/tmp" : folder) + "/";
#endif
}

bool isTerminal(std::FILE* stream) {
#ifdef _WIN32
  return _isatty(_fileno(stream)) != 0;
#else
  return isatty(fileno(stream)) != 0;
#endif
}

bool colourWanted() {
  const char* const no = std::getenv("NO_COLOR");
  return (no == nullptr || *no == '\0') && isTerminal(stdout) && understandsEscapes();
}

void complain(const std::string& message) {
  if (interrupted()) return;
  std::fflush(stdout);
  std::fprintf(stderr, "tavo: %s\n", printable(message).c_str());
}

bool flushOutput() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return true;
  complain("cannot write to the standard output");
  return false;
}

ProgressBar::ProgressBar(const std::string& name, uint64_t size)
    : name_(printable(name)), size_(size > kLargeFile && isTerminal(stderr) ? size : 0) {}

ProgressBar::~ProgressBar() {
  if (next_ == 0) return;
  std::fprintf(stderr, "\r%*s\r", static_cast<int>(name_.size()) + kBarWidth + 10, "");
  std::fflush(stderr);
}

void ProgressBar::show(uint64_t bytesRead) {
  if (size_ == 0 || bytesRead < next_) return;
  const uint64_t percent = std::min<uint64_t>(100 * bytesRead / size_, 100);
  next_ = (percent + 1) * size_ / 100 + 1;
  char bar[kBarWidth + 1] = {};
  for (int i = 0; i < kBarWidth; ++i)
    bar[i] = i * 100 < static_cast<int>(percent) * kBarWidth ? '#' : '.';
  std::fprintf(stderr, "\r%s [%s] %3d %%", name_.c_str(), bar, static_cast<int>(percent));
  std::fflush(stderr);
}

}  // namespace tavo::tool

// The terminal: what kind of stream we print on, colours, messages about our own failures, and a
// progress bar for large files.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace tavo::tool {

#ifdef _WIN32
using ArgumentChar = wchar_t;
#else
using ArgumentChar = char;
#endif

// The program's arguments in UTF-8, as the library takes paths.
std::vector<std::string> arguments(int argc, ArgumentChar** argv);
// Words as a program is started with them: null behind the last. They last as long as the words do.
std::vector<char*> argumentPointers(std::vector<std::string>& words);

// Makes the standard output the same bytes on every platform. Called once, first of all.
void prepareConsole();

// The system's folder for temporary files, with a slash at its end.
std::string temporaryFolder();

bool isTerminal(std::FILE* stream);

// Whether findings are printed in colour: on a terminal, unless NO_COLOR asks for none.
bool colourWanted();

// Prints "tavo: MESSAGE" on standard error, but nothing of what an interruption brings about.
void complain(const std::string& message);

// False, with a complaint, when something written to the standard output got lost.
bool flushOutput();

// Shows on standard error how far the reading of a file is, when that is a terminal and the file is
// large. The bar is gone when the object is.
class ProgressBar {
 public:
  ProgressBar(const std::string& name, uint64_t size);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  void show(uint64_t bytesRead);

 private:
  std::string name_;
  uint64_t size_ = 0;  // 0: nothing is shown
  uint64_t next_ = 0;  // bytes at which the picture changes
};

}  // namespace tavo::tool

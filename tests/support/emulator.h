// Programs of this build as processes of their own, also where they are another machine's and run
// under an emulator.
#pragma once

#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

namespace tavo::tests {

// The words that start `command`, whose first is a program's path.
inline std::vector<std::string> started(const std::vector<std::string>& command) {
  std::istringstream emulator(TAVO_TEST_EMULATOR);
  std::vector<std::string> words;
  for (std::string word; emulator >> word;) words.push_back(word);
  words.insert(words.end(), command.begin(), command.end());
  return words;
}

// Pointers to the words, as the system takes them.
inline std::vector<char*> pointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

// The path of the program that runs.
inline std::string thisProgram() {
  char path[4096];
  const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
  return size > 0 ? std::string(path, static_cast<size_t>(size)) : "";
}

}  // namespace tavo::tests

// Runs the command line tool as a process and handles the files around it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavo::test {

struct ToolResult {
  int status = -1;  // exit status; negative when the program could not be run or crashed
  std::string out, err;
};

// Tests run in a folder of their own, so files have plain names.
class ToolTest : public testing::Test {
 protected:
  static ToolResult run(const std::vector<std::string>& arguments, const std::string& input = {});
#ifndef _WIN32
  // Starts the tool, sends it a signal as soon as it has a temporary file with so many bytes, and
  // waits for its end.
  static int runInterrupted(const std::vector<std::string>& arguments, int signal,
                            size_t bytes = 0);
  // Starts the tool, kills it after so many microseconds, and waits for its end.
  static int runKilled(const std::vector<std::string>& arguments, unsigned after);
#endif
  // run() with an expected exit status; the standard output.
  static std::string expectOutput(int status, const std::vector<std::string>& arguments,
                                  const std::string& input = {});

  static std::string example(const std::string& name);
  static void write(const std::string& path, const std::string& bytes);
  static std::string read(const std::string& path);
  // The same with line feeds for the platform's line ends.
  static std::string readText(const std::string& path);
  static bool exists(const std::string& path);
  // Names of files that an output under construction leaves behind.
  static std::vector<std::string> temporaryFiles();
};

// A text split at its line feeds.
std::vector<std::string> linesOf(const std::string& text);

}  // namespace tavo::test

// Runs this test program again as another process, to play one disabled test case as its part.
#pragma once

#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

#include "support/emulator.h"
#endif

#include <cstdlib>

namespace tavo::engine::test {

// A child plays the test case `part`; `argument` reaches it in the environment.
class ChildProcess {
 public:
  static constexpr const char* kVariable = "TAVO_ENGINE_TEST_PART";

  ChildProcess(const std::string& part, const std::string& argument) {
#ifdef _WIN32
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    std::string line = "\"" + std::string(program) + "\" " + options(part);
    SetEnvironmentVariableA(kVariable, argument.c_str());
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    started_ = CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                              &startup, &process_) != 0;
#else
    pid_ = fork();
    if (pid_ == 0) {
      setenv(kVariable, argument.c_str(), 1);
      std::vector<std::string> words =
          tests::started({tests::thisProgram(), "--gtest_filter=" + part,
                          "--gtest_also_run_disabled_tests", "--gtest_brief=1"});
      execvp(words[0].c_str(), tests::pointersTo(words).data());
      _exit(127);
    }
#endif
  }
  ~ChildProcess() { wait(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void kill() {
#ifdef _WIN32
    TerminateProcess(process_.hProcess, 99);
#else
    if (pid_ > 0) ::kill(pid_, SIGKILL);
#endif
  }

  // Exit code, 0 when the part was played without failure.
  int wait() {
    if (waited_) return code_;
    waited_ = true;
#ifdef _WIN32
    if (!started_) return code_;
    DWORD code = 1;
    WaitForSingleObject(process_.hProcess, INFINITE);
    GetExitCodeProcess(process_.hProcess, &code);
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
    code_ = static_cast<int>(code);
#else
    int status = 0;
    if (pid_ > 0 && waitpid(pid_, &status, 0) == pid_)
      code_ = WIFEXITED(status) ? WEXITSTATUS(status) : 99;
#endif
    return code_;
  }

  // Ends this process at once, as if somebody killed it.
  [[noreturn]] static void killSelf() {
#ifdef _WIN32
    TerminateProcess(GetCurrentProcess(), 99);
#else
    raise(SIGKILL);
#endif
    std::abort();
  }

  // What the parent passed; empty outside a child.
  static std::string argument() {
#ifdef _WIN32
    char text[1024] = {};
    GetEnvironmentVariableA(kVariable, text, sizeof text);
    return text;
#else
    const char* const text = std::getenv(kVariable);
    return text == nullptr ? "" : text;
#endif
  }

 private:
  bool waited_ = false;
  int code_ = 1;
#ifdef _WIN32
  static std::string options(const std::string& part) {
    return "--gtest_filter=" + part + " --gtest_also_run_disabled_tests --gtest_brief=1";
  }
  bool started_ = false;
  PROCESS_INFORMATION process_ = {};
#else
  pid_t pid_ = -1;
#endif
};

}  // namespace tavo::engine::test

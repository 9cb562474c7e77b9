// Processes and files of both platforms.
#include "tools/tool_fixture.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/emulator.h"
extern char** environ;
#endif

namespace tavo::test {

namespace {

constexpr char kOut[] = "tool.out";
constexpr char kErr[] = "tool.err";
constexpr char kIn[] = "tool.in";

#ifdef _WIN32

HANDLE openInheritable(const char* path, DWORD access, DWORD how) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  return CreateFileA(path, access, FILE_SHARE_READ, &inheritable, how, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
}

int start(const std::vector<std::string>& arguments) {
  std::string line;
  for (const std::string& argument : arguments) line += "\"" + argument + "\" ";
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = openInheritable(kIn, GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = openInheritable(kOut, GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = openInheritable(kErr, GENERIC_WRITE, CREATE_ALWAYS);
  PROCESS_INFORMATION process{};
  DWORD status = static_cast<DWORD>(-1);
  if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                     &process) != 0) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  CloseHandle(startup.hStdInput);
  CloseHandle(startup.hStdOutput);
  CloseHandle(startup.hStdError);
  return static_cast<int>(status);
}

#else

pid_t spawn(const std::vector<std::string>& arguments) {
  std::vector<std::string> words = tests::started(arguments);
  std::vector<char*> pointers = tests::pointersTo(words);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, kIn, O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, kOut, kCreate, 0666);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, kErr, kCreate, 0666);
  // Whoever runs the tests may have them ignore signals.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t all;
  sigfillset(&all);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  pid_t process = -1;
  if (posix_spawnp(&process, pointers[0], &actions, &attributes, pointers.data(), environ) != 0) {
    process = -1;
  }
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return process;
}

int wait(pid_t process) {
  int status = -1;
  if (process < 0 || waitpid(process, &status, 0) != process) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int start(const std::vector<std::string>& arguments) { return wait(spawn(arguments)); }

#endif

}  // namespace

#ifndef _WIN32
int ToolTest::runInterrupted(const std::vector<std::string>& arguments, int signal, size_t bytes) {
  std::vector<std::string> command{TAVO_TOOL};
  command.insert(command.end(), arguments.begin(), arguments.end());
  write(kIn, "");
  const pid_t process = spawn(command);
  const auto waits = [bytes] {
    const std::vector<std::string> files = temporaryFiles();
    std::error_code gone;
    return files.empty() || std::filesystem::file_size(files.front(), gone) < bytes;
  };
  for (int i = 0; i < 100000 && waits(); ++i) usleep(100);
  EXPECT_EQ(kill(process, signal), 0);
  return wait(process);
}

int ToolTest::runKilled(const std::vector<std::string>& arguments, unsigned after) {
  std::vector<std::string> command{TAVO_TOOL};
  command.insert(command.end(), arguments.begin(), arguments.end());
  write(kIn, "");
  const pid_t process = spawn(command);
  usleep(after);
  EXPECT_EQ(kill(process, SIGKILL), 0);
  return wait(process);
}
#endif

ToolResult ToolTest::run(const std::vector<std::string>& arguments, const std::string& input) {
  std::vector<std::string> command{TAVO_TOOL};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ToolResult result;
  write(kIn, input);
  result.status = start(command);
  result.out = read(kOut);
  result.err = read(kErr);
  // The C run-time's error stream is in text mode on Windows.
  std::erase(result.err, '\r');
  return result;
}

std::string ToolTest::expectOutput(int status, const std::vector<std::string>& arguments,
                                   const std::string& input) {
  const ToolResult result = run(arguments, input);
  EXPECT_EQ(result.status, status) << testing::PrintToString(arguments) << "\n"
                                   << result.out.substr(0, 1000) << result.err;
  return result.out;
}

std::string ToolTest::example(const std::string& name) { return TAVO_EXAMPLES_DIR "/" + name; }

void ToolTest::write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string ToolTest::read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string ToolTest::readText(const std::string& path) {
  std::string text = read(path);
  std::erase(text, '\r');
  return text;
}

bool ToolTest::exists(const std::string& path) { return std::filesystem::exists(path); }

std::vector<std::string> ToolTest::temporaryFiles() {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    if (entry.path().extension() == ".tmp") found.push_back(entry.path().string());
  }
  return found;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace tavo::test

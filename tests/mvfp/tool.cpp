#include "tool.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <regex>

#include "support/private_dev.h"
#include "support/temp_file.h"

Tool::Tool() {
  support::LinkDevice("COM3", reader_.PortName());
  reader_.AddRecord("nothing", 1, {0x12, 0, 0});
  setenv("MVFP_PORT", "COM3", 1);
  setenv("LOG", support::DayLogPath().c_str(), 1);
  const std::string path = getenv("PATH");
  setenv("PATH", ("/tmp/bin:" MVFP_DIRECTORY ":" + path).c_str(), 1);
  setenv("LD_LIBRARY_PATH", "/tmp/site", 1);
  setenv("LSAN_OPTIONS",
         "suppressions=" MVFP_LEAKS_OF_OTHERS ":print_suppressions=0", 1);
}

pid_t Tool::Start(const std::string& line) {
  const std::string script = "exec >/tmp/out 2>/tmp/err; " + line;
  const pid_t process = fork();
  if (process == 0) {
    execl("/bin/sh", "sh", "-c", script.c_str(), nullptr);
    _exit(127);
  }
  return process;
}

Finished Tool::Wait(pid_t process) {
  int status = 0;
  waitpid(process, &status, 0);
  const auto said = [](const char* file) {
    return std::regex_replace(support::ReadFile(file),
                              std::regex(support::DayLogPath()), "LOG");
  };
  return {WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status),
          said("/tmp/out"), said("/tmp/err")};
}

void Tool::Expect(const std::string& line, int exit_code,
                  const std::string& out, const std::string& err) {
  const Finished run = Run(line);
  EXPECT_EQ(exit_code, run.exit_code) << line << run.err;
  EXPECT_EQ(out.empty() ? "" : out + "\n", run.out) << line;
  EXPECT_EQ(err.empty(), run.err.empty()) << run.err;
  EXPECT_NE(std::string::npos, run.err.find(err)) << run.err;
}

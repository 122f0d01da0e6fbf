// mvfp: a fingerprint reader on the command line.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "commands/commands.h"

namespace {

using namespace corvex::mvfp;

constexpr Help kHelp = {
    "mvfp", "Enrol, capture and compare fingerprints.",
    R"(Results go to standard output, everything else to standard error.

Exit codes:
  0    done; for match: the records match
  1    a valid no: no match, no finger on the sensor, a malformed record
  2    bad option, argument or file; no reader was touched
  3    the presses did not come in time, or gave nothing
  4    anything else; standard error carries the driver's code
  5    the user closed the prompt window
  130  ended by Ctrl-C; the port and the reader are free again

Examples:
  mvfp version --port ttyUSB0
  mvfp enroll --port ttyUSB0 -o anna.template
  mvfp capture --port ttyUSB0 | mvfp match anna.template -
)"};

// A file or a port that took the number of a closed stream would get what is
// said there. What reads nothing and cannot be written takes its place.
void HoldStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", O_RDONLY);
  }
}

}  // namespace

int main(int argc, char** argv) {
  HoldStandardStreams();
  // A caller that ignores its children must not keep this tool from its own.
  signal(SIGCHLD, SIG_DFL);
  try {
    CommandLine line(kHelp);
    for (const auto add :
         {AddVersionSnAndProbe, AddInfo, AddCapture, AddEnroll, AddMatch,
          AddInspect, AddGallery, AddIdentifyAndVerify, AddLog, AddExplain,
          AddPortsAndScan, AddBind, AddDoctor, AddLinkTest}) {
      add(&line);
    }
    return line.Run(argc, argv);
  } catch (...) {
    fputs("mvfp: out of memory\n", stderr);
    return kExitFailed;
  }
}

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "calls/driver.h"
#include "doctor/checks.h"

namespace corvex::mvfp::doctor {
namespace {

constexpr char kLibrary[] = "libAlgoOrva64.so";
using Names = std::vector<const char*>;

constexpr unsigned kPatienceS = 10;

// The kernel ends a child that hangs. What it prints itself is none of the
// user's business, and neither is a core file.
void BecomeHarmless() {
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    dup2(nothing, fd);
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  prctl(PR_SET_DUMPABLE, 0);
  alarm(kPatienceS);
}

// What is wrong with the file; "" when it loads and has the names. It is not
// started: that is the driver's to do.
std::string Load(const std::string& path, const Names& names) {
  void* const library = dlopen(path.c_str(), RTLD_NOW);
  if (library == nullptr) return dlerror();
  for (const char* name : names) {
    if (dlsym(library, name) == nullptr) {
      return std::string("it lacks ") + name;
    }
  }
  return "";
}

struct Trouble {
  std::string text;  // "" when there is none
  bool ends_hosts = false;
};

// Loads in a child process: that may end it.
Trouble TryToLoad(const std::string& path, const Names& names) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {"no pipe to a child process"};
  const pid_t child = fork();
  if (child == 0) {
    BecomeHarmless();
    // A child that ends says nothing, one that finds no fault says this alone.
    const std::string text = "+" + Load(path, names);
    _exit(write(ends[1], text.data(), text.size()) > 0 ? 0 : 1);
  }
  close(ends[1]);
  int status = 0;
  waitpid(child, &status, 0);
  // What it said is in the pipe, which holds more than that.
  std::array<char, 4096> bytes{};
  const ssize_t count = read(ends[0], bytes.data(), bytes.size());
  close(ends[0]);
  if (count > 0) return {{bytes.data() + 1, bytes.data() + count}};
  const bool hung = WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
  return {hung ? "loading it takes for ever" : "loading it ends the process",
          true};
}

// Only dual-feature records need it.
Finding CheckLibrary(const std::string& path, const std::string& directory) {
  const std::string copy =
      std::string("sudo cp ") + kLibrary + " " + directory + "/";
  if (access(path.c_str(), F_OK) != 0) {
    return {kNote, "library",
            "no algorithm library beside the driver: dual-feature records "
            "give -98",
            copy};
  }
  const Names entry_points = {"MvViewVersn", "MvViewDinit", "MvViewDexit",
                              "MvViewMinut", "MvViewMatch", "MvViewImMut",
                              "MvViewDetct", "MvChckMinut", "OrvSynMinut"};
  const std::string trouble = TryToLoad(path, entry_points).text;
  if (trouble.empty()) return {kOk, "library", path, ""};
  return {kNote, "library", "dual-feature records give -98: " + trouble, copy};
}

}  // namespace

void CheckDriver(const Box& box, Findings* findings) {
  // A file that cannot be loaded at all is not found either; this says why.
  const std::string file = box.driver.empty() ? kDriverFile : box.driver;
  const std::string library = box.directory + "/" + kLibrary;
  const Trouble trouble = TryToLoad(file, {});
  // The driver loads it in turn.
  if (trouble.ends_hosts && access(library.c_str(), F_OK) == 0) {
    findings->push_back(
        {kProblem, "library",
         library + " keeps hosts from loading the driver: " + trouble.text,
         "sudo mv " + library + " " + library + ".off"});
    return;
  }
  findings->push_back(
      trouble.text.empty()
          ? Finding{kOk, "driver", file, ""}
          : Finding{kProblem, "driver",
                    (trouble.ends_hosts ? file + ": " : "") + trouble.text,
                    "sudo apt-get install --reinstall libmv-fpi1"});
  if (!box.driver.empty()) {
    findings->push_back(CheckLibrary(library, box.directory));
  }
}

}  // namespace corvex::mvfp::doctor

// doctor, run as a program on a box of the test's own, where all is well but
// for what each scene breaks.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <utility>

#include "algorithm_double/driver_site.h"
#include "cx_file_lock/cx_file_lock.h"
#include "scene.h"
#include "support/private_dev.h"
#include "support/pty.h"
#include "support/temp_file.h"
#include "tool_run.h"

namespace {

namespace fs = std::filesystem;

constexpr char kWindow[] = "/tmp/site/cx_capdlg";

class Doctor : public testing::Test {
 protected:
  Doctor() {
    setenv("LD_LIBRARY_PATH", "/tmp/site", 1);
    site_.InstallDouble();
    fs::create_symlink("/bin/true", kWindow);
    support::AddProgram("pgrep", "exit 1");
    support::AddProgram("fc-list", "echo 'Kai,楷体'");
    fs::create_directory("/tmp/.X11-unix");
    support::WriteFile("/tmp/.X11-unix/X7", "");
    setenv("DISPLAY", ":7.0", 1);
    unsetenv("WAYLAND_DISPLAY");
    support::CoverDev();
    support::LinkDevice("COM3", line_.Name());
    support::CoverFile("/proc/cmdline", "root=/dev/sda1 quiet\n");
  }

  support::DriverSite site_{MV_DRIVER};
  support::Pty line_;
};

// One thing that is not as it should be, and what is then said of it. `set`
// returns the process to blame; PORT and PID stand for the line's name and for
// that process. An empty text is one that others speak of.
struct Scene {
  const char* name;
  pid_t (*set)(support::DriverSite* site, const std::string& port);
  std::string port;
  const char* check;
  const char* level;
  std::string text;
  std::string command;
};

std::ostream& operator<<(std::ostream& out, const Scene& scene) {
  return out << scene.name;
}

// The name of a process, which for an emulated one is the emulator's.
std::string NameOf(pid_t process) {
  const std::string name =
      support::ReadFile("/proc/" + std::to_string(process) + "/comm");
  return name.substr(0, name.find('\n'));
}

std::string Filled(std::string text, const std::string& port, pid_t process) {
  const std::pair<std::string, std::string> fillings[] = {
      {"PORT", port},
      {"PID", std::to_string(process)},
      {"NAME", NameOf(process)}};
  for (const auto& [name, value] : fillings) {
    for (size_t at = 0; (at = text.find(name, at)) != std::string::npos;) {
      text.replace(at, name.size(), value);
    }
  }
  return text;
}

// A call whose process ends while one that it began lives on.
pid_t LeaveLockToChild() {
  int ends[2];
  EXPECT_EQ(0, pipe(ends));
  const pid_t caller = fork();
  if (caller == 0) {
    const bool locked = cx_file_lock() >= 0;
    const pid_t child = locked ? fork() : -1;
    if (child == 0) pause();
    const bool told = write(ends[1], &child, sizeof child) == sizeof child;
    _exit(told ? 0 : 1);
  }
  pid_t child = 0;
  EXPECT_EQ(static_cast<ssize_t>(sizeof child),
            read(ends[0], &child, sizeof child));
  waitpid(caller, nullptr, 0);
  return child;
}

constexpr pid_t kCannotSet = -2;

// A port that only its group may use.
pid_t LeaveToGroup(const std::string& port, const std::string& members) {
  constexpr gid_t kSome = 20;
  const std::string path = "/dev/" + port;
  if (chown(path.c_str(), geteuid(), kSome) != 0) return kCannotSet;
  support::CoverFile("/etc/group", "readers:x:20:" + members + "\n");
  support::GiveUpRootsRights();
  return chmod(path.c_str(), 0060);
}

class DoctorScene : public Doctor, public testing::WithParamInterface<Scene> {};

TEST_P(DoctorScene, IsSeenAndTheCommandThatMendsItSaid) {
  const Scene& scene = GetParam();
  const std::string line = line_.Name();
  const pid_t process = scene.set(&site_, line);
  if (process == kCannotSet) GTEST_SKIP() << "there is one group only";
  const std::string port = Filled(scene.port, line, process);
  const Finished run = RunTool({"doctor", "--json", "--port", port});
  const bool fails = std::string(scene.level) == "problem";
  EXPECT_EQ(fails ? 1 : 0, run.exit_code);
  const auto object = run.Json();
  EXPECT_EQ(!fails, object.value("can_call", fails));
  bool found = false;
  for (const auto& finding : object["findings"]) {
    if (finding["check"] != scene.check || finding["level"] != scene.level) {
      continue;
    }
    found = true;
    const std::string text = finding["text"];
    EXPECT_NE(std::string::npos, text.find(Filled(scene.text, line, process)))
        << text;
    EXPECT_EQ(Filled(scene.command, line, process), finding["command"]);
  }
  EXPECT_TRUE(found) << run.out;
}

using support::DriverSite;
using Port = const std::string&;

const Scene kScenes[] = {
    {"PortIsAbsent", [](DriverSite*, Port) { return 0; }, "ttyUSB7", "port",
     "problem", "there is no /dev/ttyUSB7", "sudo dmesg | grep tty"},
    {"AnotherPortIsThere",
     [](DriverSite*, Port port) {
       support::LinkDevice("ttyUSB0", port);
       return 0;
     },
     "ttyUSB7", "port", "problem", "ports of this machine: ttyUSB0",
     "mvfp doctor"},
    {"PortIsNoTerminal", [](DriverSite*, Port) { return 0; }, "null", "port",
     "problem", "/dev/null is not a serial port", "ls -l /dev/null"},
    {"PortHasNoRights",
     [](DriverSite*, Port) {
       support::WriteFile("/dev/ttyUSB0", "");
       EXPECT_EQ(0, chmod("/dev/ttyUSB0", 0));
       support::GiveUpRootsRights();
       return 0;
     },
     "ttyUSB0", "port", "problem", "you may not open /dev/ttyUSB0",
     "sudo mvfp bind 1 --port ttyUSB0"},
    {"PortIsForAGroup",
     [](DriverSite*, Port port) { return LeaveToGroup(port, ""); }, "PORT",
     "port", "problem", "you may not open /dev/PORT",
     "sudo adduser \"$USER\" readers"},
    {"PortIsForAGroupJoinedSinceTheLogIn",
     [](DriverSite*, Port port) { return LeaveToGroup(port, "root"); }, "PORT",
     "port", "problem", "you may not open /dev/PORT", "newgrp readers"},
    {"PortIsInUse",
     [](DriverSite*, Port port) {
       const int line = open(("/dev/" + port).c_str(), O_RDWR | O_NOCTTY);
       const pid_t user = support::StartProgram("minicom");
       close(line);
       return user;
     },
     "PORT", "port", "problem", "PORT is in use by minicom (process PID)",
     "kill PID"},
    {"PortIsTakenForOneAlone",
     [](DriverSite*, Port port) {
       const int line = open(("/dev/" + port).c_str(), O_RDWR | O_NOCTTY);
       EXPECT_EQ(0, ioctl(line, TIOCEXCL));
       support::GiveUpRootsRights();
       return 0;
     },
     "PORT", "port", "problem", "lets nobody else in",
     "sudo fuser -v /dev/PORT"},
    {"ACallHoldsTheLock",
     [](DriverSite*, Port) {
       EXPECT_LE(0, cx_file_lock());
       return getpid();
     },
     "PORT", "lock", "problem", "(process PID), which runs since 20",
     "kill PID"},
    {"AChildKeepsTheLock", [](DriverSite*, Port) { return LeaveLockToChild(); },
     "PORT", "lock", "problem",
     "process has ended, and kept by NAME (process PID)", "kill PID"},
    {"LockFileIsALink",
     [](DriverSite*, Port) { return symlink("/etc", kCallLockPath); }, "PORT",
     "lock", "problem", "no regular file",
     std::string("sudo rm ") + kCallLockPath},
    {"LockFileIsAnothers",
     [](DriverSite*, Port) {
       support::WriteFile(kCallLockPath, "");
       support::GiveUpRootsRights();
       return chmod(kCallLockPath, 0);
     },
     "PORT", "lock", "problem", "you may not open",
     std::string("sudo chmod 666 ") + kCallLockPath},
    {"LogIsOn",
     [](DriverSite*, Port) {
       support::SwitchLogOn();
       return 0;
     },
     "PORT", "log", "note", "every call writes to it", "mvfp log off"},
    {"LogIsUnwritable",
     [](DriverSite*, Port) {
       support::SwitchLogOn();
       support::GiveUpRootsRights();
       return chmod(support::DayLogPath().c_str(), 0444);
     },
     "PORT", "log", "note", "nothing is logged",
     "sudo chmod 666 " + support::DayLogPath()},
    {"LogIsALink",
     [](DriverSite*, Port) {
       return symlink("/etc", support::DayLogPath().c_str());
     },
     "PORT", "log", "note", "no regular file",
     "sudo rm " + support::DayLogPath()},
    {"LogInOnThePort",
     [](DriverSite*, Port port) {
       return support::StartProgram("agetty", {"9600", port, "vt220"});
     },
     "PORT", "console", "problem", "agetty (process PID) offers a log-in",
     "sudo systemctl disable --now serial-getty@PORT.service"},
    {"KernelsConsole",
     [](DriverSite*, Port port) {
       support::CoverFile("/proc/cmdline", "quiet console=" + port + ",9600\n");
       return 0;
     },
     "PORT", "console", "note", "the kernel prints its messages on PORT",
     "sudo grep -rl console=PORT /boot /etc/default"},
    {"KernelsConsoleInGrub",
     [](DriverSite*, Port) {
       support::WriteFile("/dev/ttyS9", "");
       support::LinkDevice("ttyS8", "pts/0");
       support::Cover("/etc");
       fs::create_directory("/etc/default");
       support::CoverFile("/proc/cmdline", "console=ttyS8\n");
       support::WriteFile("/etc/default/grub", "\"quiet console=ttyS8\"");
       fs::remove("/dev/ttyS8");
       return symlink(fs::read_symlink("/dev/COM3").c_str(), "/dev/ttyS8");
     },
     "ttyS8", "console", "note", "messages on ttyS8",
     "sudo sed -i 's/console=ttyS8[^ \"]*//' /etc/default/grub && sudo "
     "update-grub && sudo reboot"},
    {"ModemProber",
     [](DriverSite*, Port port) {
       support::LinkDevice("ttyUSB0", port);
       return support::StartProgram("ModemManager");
     },
     "ttyUSB0", "modem", "note", "ModemManager (process PID) may talk to",
     "sudo mvfp bind 1 --port ttyUSB0"},
    {"ModemProberKeptAway",
     [](DriverSite*, Port port) {
       support::Cover("/run");
       fs::create_directories("/run/udev/data");
       support::WriteFile("/run/udev/data/c136:" + port.substr(4),
                          "E:ID_MM_PORT_IGNORE=1\n");
       return support::StartProgram("ModemManager");
     },
     "PORT", "modem", "ok", "ModemManager (process PID) keeps off PORT", ""},
    {"BrailleDaemon",
     [](DriverSite*, Port) { return support::StartProgram("brltty"); }, "PORT",
     "braille", "note", "brltty (process PID) takes adapters",
     "sudo apt-get remove brltty"},
    {"PgrepIsMissing",
     [](DriverSite*, Port) {
       fs::remove("/tmp/bin/pgrep");
       return setenv("PATH", "/tmp/bin", 1);
     },
     "PORT", "pgrep", "note", "missing", "sudo apt-get install procps"},
    {"WindowIsMissing", [](DriverSite*, Port) { return unlink(kWindow); },
     "PORT", "window", "note", "no /tmp/site/cx_capdlg",
     "sudo apt-get install --reinstall mv-fpi-prompt"},
    {"NoDisplay", [](DriverSite*, Port) { return unsetenv("DISPLAY"); }, "PORT",
     "display", "note", "none", "export DISPLAY=:0"},
    {"DisplayIsGone",
     [](DriverSite*, Port) { return setenv("DISPLAY", ":8", 1); }, "PORT",
     "display", "note", ":8 does not answer", "export DISPLAY=:0"},
    {"NoChineseFont",
     [](DriverSite*, Port) {
       support::AddProgram("fc-list", "exit 0");
       return 0;
     },
     "PORT", "font", "note", "empty boxes",
     "sudo apt-get install fonts-wqy-microhei"},
    {"NoFontList",
     [](DriverSite*, Port) {
       fs::remove("/tmp/bin/fc-list");
       return setenv("PATH", "/tmp/bin", 1);
     },
     "PORT", "font", "note", "cannot tell", "sudo apt-get install fontconfig"},
    {"NoComLink", [](DriverSite*, Port) { return unlink("/dev/COM3"); }, "PORT",
     "link", "note", "no /dev/COM<n> is PORT", "sudo ln -s PORT /dev/COM1"},
    {"NoAlgorithmLibrary",
     [](DriverSite* site, Port) {
       site->RemoveLibrary();
       return 0;
     },
     "PORT", "library", "note", "no algorithm library",
     "sudo cp libAlgoOrva64.so /tmp/site/"},
    {"LibraryIsNone",
     [](DriverSite* site, Port) {
       site->InstallFile("not a library");
       return 0;
     },
     "PORT", "library", "note", "give -98: /tmp/site/libAlgoOrva64.so: ",
     "sudo cp libAlgoOrva64.so /tmp/site/"},
    {"LibraryLacksAnEntryPoint",
     [](DriverSite* site, Port) {
       site->InstallDouble("without_OrvSynMinut");
       return 0;
     },
     "PORT", "library", "note", "it lacks OrvSynMinut",
     "sudo cp libAlgoOrva64.so /tmp/site/"},
    {"LibraryEndsItsHosts",
     [](DriverSite* site, Port) {
       site->InstallFile(support::ReadFile(MV_ENDING_LIBRARY));
       return 0;
     },
     "PORT", "library", "problem",
     "loading the driver: loading it ends the process",
     "sudo mv /tmp/site/libAlgoOrva64.so /tmp/site/libAlgoOrva64.so.off"},
    {"LibraryHoldsItsHostsUp",
     [](DriverSite* site, Port) {
       site->Script("init_ms 3600000");
       return 0;
     },
     "PORT", "library", "problem", "loading it takes for ever",
     "sudo mv /tmp/site/libAlgoOrva64.so /tmp/site/libAlgoOrva64.so.off"},
    {"DriverIsBroken",
     [](DriverSite*, Port) {
       const std::string driver =
           "/tmp/site/" + fs::path(MV_DRIVER).filename().string();
       return truncate(driver.c_str(), 4096);
     },
     "PORT", "driver", "problem",
     "libmv_fpi.so.1: ", "sudo apt-get install --reinstall libmv-fpi1"},
};

INSTANTIATE_TEST_SUITE_P(Every, DoctorScene, testing::ValuesIn(kScenes),
                         [](const auto& scene) { return scene.param.name; });

TEST_F(Doctor, SaysWhatIsWell) {
  const Finished run = RunTool({"doctor", "--port", "COM3"});
  EXPECT_EQ(0, run.exit_code) << run.err;
  EXPECT_EQ(
      "ok      driver  /tmp/site/libmv_fpi.so.1\n"
      "ok      library /tmp/site/libAlgoOrva64.so\n"
      "ok      lock    free\n"
      "ok      log     off\n"
      "ok      window  /tmp/site/cx_capdlg\n"
      "ok      pgrep   installed\n"
      "ok      display :7.0\n"
      "ok      font    Kai\n"
      "ok      port    COM3 is free\n"
      "ok      link    /dev/COM3 is COM3\n"
      "A call can work.\n",
      run.out);
}

TEST_F(Doctor, WithoutAPortItLooksAtThoseThatMayHaveAReader) {
  const Finished none = RunTool({"doctor"});
  EXPECT_EQ(1, none.exit_code);
  EXPECT_NE(std::string::npos,
            none.out.find("problem port    ports of this machine: COM3\n"
                          "                $ sudo dmesg | grep tty\n"
                          "No call can work.\n"))
      << none.out;
  support::Cover("/sys");
  for (const auto& [port, type] : {std::pair{"ttyS0", "0"}, {"ttyS1", "4"}}) {
    support::AddTty(port, std::string("/devices/") + port);
    support::WriteFile(std::string("/sys/class/tty/") + port + "/type", type);
    support::LinkDevice(port, line_.Name());
  }
  const Finished one = RunTool({"doctor"});
  EXPECT_EQ(0, one.exit_code);
  EXPECT_EQ(std::string::npos, one.out.find("ttyS0"));
  EXPECT_NE(std::string::npos, one.out.find("ttyS1 is free"));
  EXPECT_EQ(2, RunTool({"doctor", "--port", "/etc/passwd"}).exit_code);
}

}  // namespace

// doctor, on a box where all is well but for what each scene breaks.
#include "tool.h"

namespace {

#define LIBRARY "/tmp/site/libAlgoOrva64.so"
#define LOCK "/tmp/cx_nrbk_drv_file_mutex.lock"
#define AS_STRANGER "setpriv --bounding-set=-all mvfp doctor"
#define MEND "\n                $ "
// A process of that name, which was told the port's.
#define BESIDE(name, redirected)                                              \
  "cp /bin/sh /tmp/" name "; /tmp/" name " -c 'sleep 99; :' COM3 " redirected \
  " & until grep -q " name                                                    \
  " /proc/$!/comm; do :; done; "                                              \
  "mvfp doctor | sed s/$!/ID/"

struct Scene {
  const char* name;
  const char* line;
  const char* says;  // in part
};
void PrintTo(const Scene& s, std::ostream* out) { *out << s.line; }

const Scene kScenes[] = {
    {"NothingIsWrong", "mvfp doctor && mvfp doctor | grep -vc ^ok",
     "ok      link    /dev/COM3 is COM3\nA call can work.\n1\n"},
    {"NoComLink", "rm /dev/COM3; mvfp doctor -p ${PORT#/dev/}",
     "the JSON entry (mvfp info) cannot call it" MEND "sudo ln -s pts/"},
    {"NoRules", "chmod 0 $PORT; " AS_STRANGER,
     "problem port    you may not open /dev/COM3" MEND
     "sudo mvfp bind 1 --port COM3\n"},
    {"AGroups",
     "echo readers:x:20: >/tmp/a; mount --bind /tmp/a /etc/group; "
     "chmod 060 $PORT; chgrp 20 $PORT || exit 77; " AS_STRANGER,
     MEND "sudo adduser \"$USER\" readers\n"},
    {"InUse", BESIDE("minicom", "<$PORT"),
     "problem port    COM3 is in use by minicom (process ID)" MEND "kill "},
    {"ACallRuns", "flock " LOCK " mvfp doctor",
     "problem lock    held by a call of flock (process "},
    {"AChildKeepsTheLock", "exec 9>" LOCK "; flock 9; mvfp doctor",
     "lock    left over from a call whose process has ended, and kept by sh ("},
    {"LockIsALink", "ln -s /etc " LOCK "; mvfp doctor",
     "problem lock    " LOCK " is no regular file: calls give -14"},
    {"LockIsAStrangers", "echo >" LOCK "; chmod 0 " LOCK "; " AS_STRANGER,
     ": calls give -14" MEND "sudo chmod 666 " LOCK "\n"},
    {"NoLock",
     "mount --bind /tmp /tmp; mount -o remount,bind,ro /tmp; mvfp doctor",
     "problem lock    cannot make " LOCK ": Read-only file system: calls give"},
    {"LogIsAStrangers", "echo >$LOG; chmod 444 $LOG; " AS_STRANGER,
     "you may not write LOG: nothing is logged" MEND "sudo chmod 666 LOG\n"},
    {"LogIn", BESIDE("agetty", ""),
     "problem console agetty (process ID) offers a log-in on COM3" MEND
     "sudo systemctl disable --now serial-getty@COM3.service\n"},
    {"KernelsConsole",
     "echo console=COM3,9600 >/tmp/a; mount --bind /tmp/a /proc/cmdline; "
     "mvfp doctor",
     "note    console the kernel prints its messages on COM3" MEND "sudo "},
    {"ModemProber", BESIDE("ModemManager", ""),
     "note    modem   ModemManager (process ID) may talk to COM3 when it is "
     "plugged in" MEND "sudo mvfp bind 1 --port COM3\n"},
    {"WindowsNeeds",
     "rm /tmp/bin/* /tmp/site/cx_*; "
     "DISPLAY=:8 PATH=/tmp/bin $(which mvfp) doctor",
     "gives its window up after 3 s" MEND "sudo apt-get install procps\n"
     "note    display :8 does not answer: "},
    {"PartOfALibrary",
     "cp " MV_ALGORITHM_DOUBLES "/without_OrvSynMinut/* /tmp/site; mvfp doctor",
     "records give -98: it lacks OrvSynMinut" MEND "sudo cp libAlgoOrva64.so"},
    {"LibraryEndsItsHosts", "cp " MV_ENDING_LIBRARY " " LIBRARY "; mvfp doctor",
     "hosts from loading the driver: loading it ends the process" MEND
     "sudo mv " LIBRARY " " LIBRARY ".off\n"},
    {"LibraryHoldsItsHostsUp",
     "echo init_ms 3600000 >" LIBRARY ".script; mvfp doctor",
     "hosts from loading the driver: loading it takes for ever\n"},
    {"DriverIsBroken", "truncate -s 4096 /tmp/site/libmv_fpi.so.1; mvfp doctor",
     MEND "sudo apt-get install --reinstall libmv-fpi1\n"},
};

class Doctor : public Tool, public testing::WithParamInterface<Scene> {};

TEST_P(Doctor, SaysWhatIsWrongAndTheCommandThatMendsIt) {
  site_.InstallDouble();
  setenv("PORT", ("/dev/" + reader_.PortName()).c_str(), 1);
  setenv("DISPLAY", ":7.0", 1);
  Run("ln -s /bin/true /tmp/site/cx_capdlg; mkdir /tmp/bin /tmp/.X11-unix; "
      "echo >/tmp/.X11-unix/X7; cp /bin/true /tmp/bin/pgrep; "
      "cp /bin/echo /tmp/bin/fc-list");
  unsetenv("WAYLAND_DISPLAY");
  const Finished run = Run(GetParam().line);
  if (run.exit_code == 77) GTEST_SKIP() << run.err;
  EXPECT_NE(std::string::npos, run.out.find(GetParam().says)) << run.out;
}

INSTANTIATE_TEST_SUITE_P(Every, Doctor, testing::ValuesIn(kScenes),
                         [](const auto& test) { return test.param.name; });

}  // namespace

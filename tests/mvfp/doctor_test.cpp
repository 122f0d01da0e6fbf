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
#define LEFT_ALONE ": not tried\nNo call works.\n"

struct Scene {
  const char* name;
  const char* line;
  const char* says;  // in part
};
void PrintTo(const Scene& s, std::ostream* out) { *out << s.line; }

const Scene kScenes[] = {
    {"AReaderAnswers",
     "mvfp doctor --ask <&- 2>&- | sed 's/[0-9]* ms/N ms/'; mvfp doctor; echo "
     "$?",
     "ok      reader  v2.15 on COM3; the call took N ms\nA call works.\n"
     "ok      driver  /tmp/site/libmv_fpi.so.1\nok      lock    taken\n"
     "ok      port    COM3 is free, opened and set\n"
     "A call gets as far as the line; whether a reader answers there: --ask\n"
     "0\n"},
    {"NoRights", "chmod 0 $PORT; " AS_STRANGER,
     "problem port    you may not open /dev/COM3" MEND
     "chown \"$USER\" /dev/COM3\n"},
    {"AGroups",
     "echo readers:x:20: >/tmp/a; mount --bind /tmp/a /etc/group; "
     "chmod 060 $PORT; chgrp 20 $PORT || exit 77; " AS_STRANGER,
     MEND "adduser \"$USER\" readers\n"},
    {"NoSerialPort", "mvfp doctor --port pts",
     "problem port    /dev/pts: Is a directory" MEND "ls -l /dev/pts\n"},
    {"InUse", BESIDE("minicom", "<$PORT"),
     "problem port    COM3 is in use by minicom (process ID)" LEFT_ALONE},
    {"ACallRuns", "flock " LOCK " mvfp doctor; echo $?",
     ": calls give -14\nNot tried further while the lock is held; to wait for "
     "its end: --wait 60\n1\n"},
    {"AChildKeepsTheLock", "exec 9>" LOCK "; flock 9; mvfp doctor",
     "lock    left over from a call whose process has ended, and kept by sh ("},
    {"LockIsADirectory", "mkdir " LOCK "; mvfp doctor --ask",
     "A call works.\n"},
    {"LockIsALink", "ln -s /etc " LOCK "; mvfp doctor",
     LOCK " is a link, which no call follows: calls give -14" MEND "rm " LOCK
          "\n"},
    {"LockIsAStrangers", "echo >" LOCK "; chmod 0 " LOCK "; " AS_STRANGER,
     ": calls give -14" MEND "chmod 666 " LOCK "\n"},
    {"NoLock",
     "mount --bind /tmp /tmp; mount -o remount,bind,ro /tmp; mvfp doctor; "
     "echo $?",
     "problem lock    cannot make " LOCK ": Read-only file system: calls give "
     "-14" MEND "findmnt -T /tmp\nNo call works.\n1\n"},
    {"TmpTakesNoFile", "chmod 555 /tmp; " AS_STRANGER "; chmod 1777 /tmp",
     ": Permission denied: calls give -14" MEND "install -d -m 1777 /tmp\n"},
    {"LogIn", BESIDE("agetty", ""),
     "agetty (process ID) offers a log-in on COM3" LEFT_ALONE},
    {"KernelsConsole",
     "stat -Lc 'COM3 -W- (EC p a) %Hr:%Lr' $PORT >/tmp/a; "
     "mount --bind /tmp/a /proc/consoles; mvfp doctor",
     "the kernel's console is on COM3" LEFT_ALONE},
    {"Modem",
     "printf '#!/bin/sh\necho /org/x : ${PORT##*/} \"(at)\"' >/tmp/bin/mmcli; "
     "chmod 755 /tmp/bin/mmcli; " BESIDE("ModemManager", ""),
     "ModemManager (process ID) has a modem on COM3" LEFT_ALONE},
    {"WindowIsShown",
     "ln -s /bin/sleep /tmp/site/cx_capdlg; mvfp doctor --window; "
     "pgrep cx_capdlg",
     "ok      window  shown for a moment\n"},
    {"WindowHasNoMemory",
     "echo 0 >/proc/sys/kernel/shmmni || exit 77; ln -s /bin/sleep "
     "/tmp/site/cx_capdlg; mvfp doctor --window",
     "no memory to share with it: No space left on device" MEND
     "ipcs -m; ipcs -ml\n"},
    {"WindowIsMissing",
     "mvfp doctor --window | grep -A 1 window; "
     "mvfp doctor --window >/dev/null; echo $?",
     "there is no /tmp/site/cx_capdlg" MEND
     "apt-get install --reinstall ./mv-fpi-prompt_*.deb\n1\n"},
    {"WebServiceTriesItself",
     "cp $(which mvfp) /tmp/a; printf '#!/bin/sh\necho \"problem page    "
     "none\"; "
     "echo \" $ edit it\"' >/tmp/mvfp-web; chmod 755 /tmp/mvfp-web; "
     "/tmp/a doctor --web",
     "note    page    none" MEND "edit it\n"},
    {"WebServiceHasBadSettings",
     "cp $(which mvfp) /tmp/a; cp /bin/false /tmp/mvfp-web; /tmp/a doctor "
     "--web",
     "note    web     the service tried nothing" MEND "mvfp-web --check\n"},
    {"LibraryCompares", "mvfp doctor --library",
     "ok      library /tmp/site/libAlgoOrva64.so\n"},
    {"PartOfALibrary",
     "cp " MV_ALGORITHM_DOUBLES
     "/without_OrvSynMinut/* /tmp/site; mvfp doctor --library",
     "dual-feature records give -98: it loads, but lacks an entry point"},
    {"LibraryEndsItsHosts", "cp " MV_ENDING_LIBRARY " " LIBRARY "; mvfp doctor",
     "loading the driver ends the process, with " LIBRARY " beside it" MEND
     "mv " LIBRARY " " LIBRARY ".off\n"},
    {"LibraryHoldsItsHostsUp",
     "echo init_ms 3600000 >" LIBRARY ".script; mvfp doctor",
     "loading the driver takes for ever, with "},
    {"DriverIsBroken", "truncate -s 4096 /tmp/site/libmv_fpi.so.1; mvfp doctor",
     MEND "apt-get install --reinstall ./libmv-fpi1_*.deb\n"},
};

class Doctor : public Tool, public testing::WithParamInterface<Scene> {};

TEST_P(Doctor, SaysWhatIsWrongAndTheCommandThatMendsIt) {
  site_.InstallDouble();
  setenv("PORT", ("/dev/" + reader_.PortName()).c_str(), 1);
  Run("mkdir /tmp/bin");
  const Finished run = Run(GetParam().line);
  if (run.exit_code == 77) GTEST_SKIP() << run.err;
  EXPECT_NE(std::string::npos, run.out.find(GetParam().says)) << run.out;
}

INSTANTIATE_TEST_SUITE_P(Every, Doctor, testing::ValuesIn(kScenes),
                         [](const auto& test) { return test.param.name; });

}  // namespace

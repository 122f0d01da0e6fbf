#include <cx_capdlg_lib.h>
#include <gnu/libc-version.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

#include "calls/driver.h"
#include "doctor/checks.h"
#include "doctor/in_child.h"
#include "machine/processes.h"
#include "report.h"

namespace corvex::mvfp::doctor {
namespace {

constexpr int kDialogType = 1;
constexpr int kTimeoutS = 5;
constexpr auto kShown = std::chrono::milliseconds(1500);

// The system for which the window's package is made has this C library.
constexpr char kLibrary[] = "2.36";

// The one with Qt 5 is for older systems.
std::string Package() {
  const bool is_older = strverscmp(gnu_get_libc_version(), kLibrary) < 0;
  return std::string("mv-fpi-prompt") + (is_older ? "-qt5" : "");
}

// What the driver and the window talk through.
bool IsMemoryShared() {
  const int memory = shmget(IPC_PRIVATE, 1, IPC_CREAT | S_IRUSR | S_IWUSR);
  return memory >= 0 && shmctl(memory, IPC_RMID, nullptr) == 0;
}

// "" when the window's program came up and stayed.
std::string ShowForAMoment() {
  const auto show = MVFP_DRIVER_CALL(cx_dlg_init);
  const auto send = MVFP_DRIVER_CALL(cx_dlg_send_data);
  const auto end = MVFP_DRIVER_CALL(cx_dlg_uninit);
  const std::string program =
      std::filesystem::path(LoadedDriverFile()).replace_filename("cx_capdlg");
  if (access(program.c_str(), X_OK) != 0) return "there is no " + program;
  if (show.run(kDialogType, kTimeoutS, program.c_str()) < 0) {
    return program + " did not come up";
  }
  const std::string text = "mvfp doctor";
  std::this_thread::sleep_for(kShown);
  const int sent = send.run(SMO_SET_MSG, text.c_str(),
                            static_cast<int>(text.size()), nullptr, 0);
  end.run();
  return sent < 0 ? program + " came up and ended" : "";
}

}  // namespace

Finding TryWindow() {
  const Trial trial = InChild(ShowForAMoment);
  // The toolkit says much; what comes of it stands last.
  const size_t end = trial.said.find_last_not_of('\n');
  const size_t begin = trial.said.rfind('\n', end) + 1;
  const std::string said =
      trial.said.substr(begin, end == std::string::npos ? 0 : end + 1 - begin);
  if (trial.ended && trial.text.empty()) {
    return said.empty() ? Finding{kOk, "window", "shown for a moment", ""}
                        : Finding{kNote, "window", said, ""};
  }
  if (OutputOf("command -v pgrep").empty()) {
    return {kNote, "window", "pgrep is missing, by which the driver finds it",
            AsRoot("apt-get install --reinstall procps")};
  }
  if (!IsMemoryShared()) {
    return {kNote, "window",
            std::string("no memory to share with it: ") + strerror(errno),
            "ipcs -m; ipcs -ml"};
  }
  const std::string why =
      (trial.ended ? trial.text : "showing it " + trial.text) +
      (said.empty() ? "" : ": " + said);
  return {kNote, "window", "guided enrolment goes on without it: " + why,
          AsRoot("apt-get install --reinstall ./" + Package() + "_*.deb")};
}

}  // namespace corvex::mvfp::doctor

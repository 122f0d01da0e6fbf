#include "reliability/exported_calls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "corvex_capdlg/stand_in.h"
#include "cx_capdlg_lib.h"
#include "mv_base/base64.h"
#include "mv_fpi.h"
#include "support/private_dev.h"
#include "support/temp_file.h"

namespace support {
namespace {

using corvex::vreader::Bytes;
using corvex::vreader::VirtualReader;

constexpr char kComPort[] = "/dev/COM3";
constexpr int kTimeoutSeconds = 30;
constexpr int kNoReply = -99;

std::string Text(const Bytes& record) {
  const auto size = static_cast<int32_t>(record.size());
  std::vector<char> text(static_cast<size_t>(Base64Length(size)) + 1);
  EncodeB64(text.data(), record.data(), size);
  return text.data();
}

Outcome QueryVersion(Bench& bench, const char* box) {
  const auto call =
      bench.Site().Get<decltype(FG_GetDevVersion)>("FG_GetDevVersion");
  char version[FG_VERSION_BYTES] = {};
  const int code = bench.InShim(
      [&] { return call(bench.Port(), box, FG_LINK_SPEED, version); });
  return {code, version};
}

Outcome Version(Bench& bench) { return QueryVersion(bench, ""); }
Outcome VersionBehindBox(Bench& bench) { return QueryVersion(bench, "K"); }

Outcome Serial(Bench& bench) {
  const auto call = bench.Site().Get<decltype(FG_GetDevSn)>("FG_GetDevSn");
  char sn[FG_SN_BYTES + 1] = {};
  const int code =
      bench.InShim([&] { return call(bench.Port(), "", FG_LINK_SPEED, sn); });
  return {code, sn};
}

Outcome Pressed(Bench& bench) {
  const auto call =
      bench.Site().Get<decltype(FG_CheckPressed)>("FG_CheckPressed");
  const int code =
      bench.InShim([&] { return call(bench.Port(), "", FG_LINK_SPEED); });
  return {code, ""};
}

// The capture calls differ in the room that they ask for.
Outcome Capture(Bench& bench, const char* name) {
  const auto call = bench.Site().Get<decltype(FG_GetTemplate)>(name);
  char text[FG_TEMPLATE_BYTES] = {};
  char message[FG_MESSAGE_BYTES] = {};
  int length = 0;
  const int code = bench.InShim([&] {
    return call(bench.Port(), "", FG_LINK_SPEED, kTimeoutSeconds, text, &length,
                message);
  });
  return {code, text};
}

Outcome Feature(Bench& bench) { return Capture(bench, "FG_GetFeature"); }
Outcome Template(Bench& bench) { return Capture(bench, "FG_GetTemplate"); }
Outcome Guided(Bench& bench) { return Capture(bench, "FG_TipsGetTemplate"); }

Outcome Json(Bench& bench) {
  const auto call = bench.Site().Get<decltype(DEV_CommCall)>("DEV_CommCall");
  constexpr char kRequest[] = R"({"FunctionCode":"0001","RequestPort":"3"})";
  char reply[DEV_REPLY_BYTES] = {};
  char reserved = 0;
  unsigned int length = 0;
  const int code =
      bench.InShim([&] { return call(kRequest, &reserved, reply, &length); });
  // A reply that could not be made shows in its length alone.
  return {code == 0 && static_cast<int>(length) < 0 ? kNoReply : code,
          code == 0 ? reply : ""};
}

Outcome Compare(Bench& bench, const std::string& text) {
  const auto call = bench.Site().Get<decltype(FG_FpMatch)>("FG_FpMatch");
  const int code = bench.InShim(
      [&] { return call(text.c_str(), text.c_str(), FG_LEVEL_HIGHEST); });
  return {code, ""};
}

// On a thread that has compared nothing yet: it makes its work space.
Outcome Match(Bench& bench) {
  Outcome outcome;
  std::thread([&] { outcome = Compare(bench, Text(BenchRecord())); }).join();
  return outcome;
}

// The library appears once the driver is loaded: the comparison loads it.
Outcome LoadAndMatch(Bench& bench) {
  bench.Site().Unload();
  bench.Site().RemoveLibrary();
  bench.Site().Load();
  bench.Site().InstallDouble();
  Bytes dual = BenchRecord();
  dual[1] = 0x83;
  return Compare(bench, Text(dual));
}

// The exported half of the prompt channel, as a program of its own uses it.
Outcome Channel(Bench& bench) {
  DriverSite& site = bench.Site();
  const auto init = site.Get<decltype(cx_dlg_init)>("cx_dlg_init");
  const auto send = site.Get<decltype(cx_dlg_send_data)>("cx_dlg_send_data");
  const auto type =
      site.Get<decltype(cx_dlg_get_dlgtype)>("cx_dlg_get_dlgtype");
  const auto time =
      site.Get<decltype(cx_dlg_get_timeout)>("cx_dlg_get_timeout");
  const auto explain =
      site.Get<decltype(cx_dlg_get_errinf)>("cx_dlg_get_errinf");
  const auto uninit = site.Get<decltype(cx_dlg_uninit)>("cx_dlg_uninit");
  char reason[2048];
  const int failures = bench.InShim([&] {
    // A relative path is looked for beside the host's own program.
    int count =
        init(1, kTimeoutSeconds, "no_such_program") != CX_DLG_NO_PROGRAM;
    count += init(1, kTimeoutSeconds, "/tmp/site/cx_capdlg") < 0;
    count += send(SMO_SET_MSG, "text", 4, nullptr, 0) < 0;
    count += type() != 1;
    count += time() != kTimeoutSeconds;
    explain(reason);
    return count + (uninit() < 0);
  });
  return {failures > 0 ? -1 : 0, ""};
}

const std::vector<int> kQueryFailures = {-8, -10, -11, -14};

}  // namespace

const std::vector<ExportedCall> kExportedCalls = {
    {"FG_GetDevVersion", Version, kQueryFailures, {-99}, {}},
    {"FG_GetDevVersion_BehindABox",
     VersionBehindBox,
     kQueryFailures,
     {-99},
     {}},
    {"FG_GetDevSn", Serial, kQueryFailures, {-99}, {}},
    {"FG_CheckPressed", Pressed, {-7}, {-7}, {}},
    {"FG_GetFeature", Feature, kQueryFailures, {-10, -99}, {}},
    {"FG_GetTemplate", Template, kQueryFailures, {-99}, {}},
    {"DEV_CommCall", Json, kQueryFailures, {-99}, {}},
    {"FG_FpMatch", Match, {}, {}, {}, false, true},
    {"FG_FpMatch_InTheLibrary", LoadAndMatch, {}, {-98}, {-98}, false, true},
    {"FG_TipsGetTemplate", Guided, kQueryFailures, {-23, -99}, {-23}, true},
    {"cx_dlg", Channel, {}, {-1}, {-1}, true},
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.code << " \"" << outcome.output << '"';
}

std::ostream& operator<<(std::ostream& out, const ExportedCall& call) {
  return out << call.name;
}

Bytes BenchRecord() {
  constexpr int kMinutiae = 14;
  Bytes record = {0x12, 0, kMinutiae};
  for (int i = 0; i < kMinutiae; ++i) {
    const int direction = i * 47 % 360;
    for (const int byte : {20 + i * 37 % 215, 20 + i * 91 % 215,
                           direction & 255, direction >> 8 | 50 << 1, 0}) {
      record.push_back(static_cast<uint8_t>(byte));
    }
  }
  return record;
}

Bench::Bench() : site_(std::make_shared<DriverSite>(MV_DRIVER)) {
  CoverDev();
  InstallStandIn("/tmp/site", StandIn::kEndsWithBlock);
  site_->Load();
  RenewReader();
}

void Bench::RenewReader() {
  reader_.reset();
  reader_ = std::make_shared<VirtualReader>();
  reader_->Press(BenchRecord());
  unlink(kComPort);
  LinkDevice("COM3", reader_->PortName());
}

void Bench::EnterShim() {
  const auto settle = [](void* reader) {
    static_cast<VirtualReader*>(reader)->Counts();
  };
  shim_enter(waits_for_replies_ ? nullptr : +settle, reader_.get());
  if (sleeps_for_processes_) shim_sleep_for_processes();
  shim_fail(failed_.function, failed_.nth, failed_.error);
}

Outcome MakeCall(const ExportedCall& call, Bench& bench,
                 const FailedCall& failed) {
  bench.SleepForProcesses(call.prompts);
  bench.Fail(failed);
  return call.run(bench);
}

int Segments() {
  shm_info info{};
  shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&info));
  return info.used_ids;
}

bool PromptRuns() {
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    if (isdigit(entry.path().filename().string()[0]) == 0) continue;
    const std::string stat = ReadFile(entry.path() / "stat");
    if (stat.find(" (cx_capdlg) ") != std::string::npos &&
        stat.find(") Z") == std::string::npos) {
      return true;
    }
  }
  return false;
}

bool IsLongRun() {
  const char* const wish = getenv("MV_RELIABILITY");
  return wish != nullptr && strcmp(wish, "long") == 0;
}

}  // namespace support

#include "reliability/driver_calls.h"

#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "corvex_capdlg/stand_in.h"
#include "extern/smo_opt/smo_base1.h"
#include "mv_fpi.h"
#include "support/conditions.h"
#include "support/private_dev.h"
#include "support/pty.h"
#include "support/tab_file.h"

namespace {

// Few minutiae, so that there are few characters to spoil.
constexpr char kRecord[] =
    "12000E1414006400396F2F64005ECA5E6400834E8D6400A8A9BC6400CD2DEB64001B881A65"
    "0040E349650065671064008AC23F6400AF466E6400D4A19D64002225CC64004780FB6400";

int Make(const std::string& name, void* call, const char* port,
         const char* feature, char* out) {
  char message[FG_MESSAGE_BYTES];
  int length = 0;
  unsigned int reply_length = 0;
  if (name == "FG_CheckPressed") {
    return reinterpret_cast<decltype(&FG_CheckPressed)>(call)(port, "", 9600);
  }
  if (name.rfind("FG_GetDev", 0) == 0) {
    return reinterpret_cast<decltype(&FG_GetDevSn)>(call)(port, "", 9600, out);
  }
  if (name == "DEV_CommCall") {
    constexpr char kRequest[] = R"({"FunctionCode":"0001","RequestPort":"3"})";
    const int code = reinterpret_cast<decltype(&DEV_CommCall)>(call)(
        kRequest, message, out, &reply_length);
    // A reply that could not be made shows in its length alone.
    return std::min(code, static_cast<int>(reply_length));
  }
  if (name == kMatch) {
    return reinterpret_cast<decltype(&FG_FpMatch)>(call)(feature, feature, 5);
  }
  return reinterpret_cast<decltype(&FG_GetTemplate)>(call)(
      port, "", 9600, 30, out, &length, message);
}

}  // namespace

DriverTest::DriverTest() : site_(MV_DRIVER) {
  support::InstallStandIn("/tmp/site", support::StandIn::kEndsWithBlock);
  site_.Load();
  RenewReader();
  feature_ = Call("FG_GetFeature").output;
}

void DriverTest::RenewReader() {
  reader_.reset();
  reader_ = std::make_unique<corvex::vreader::VirtualReader>();
  reader_->Press(support::FromHex(kRecord));
  unlink("/dev/COM3");
  support::LinkDevice("COM3", reader_->PortName());
  settings_ = reader_->TerminalSettings();
  descriptors_ = support::OpenDescriptors();
}

Outcome DriverTest::Call(const std::string& name, const Fault& fault) const {
  char out[FG_TEMPLATE_BYTES] = {};
  Outcome outcome;
  const auto make = [&] {
    void* const call = site_.Get<void>(name.c_str());
    EnterShim(fault, settle_, reader_.get());
    outcome.code =
        Make(name, call, reader_->PortName().c_str(), feature_.c_str(), out);
    outcome.report = LeaveShim();
  };
  // A thread that has compared nothing yet makes its work space.
  name == kMatch ? std::thread(make).join() : make();
  if (outcome.code == 0) outcome.output = out;
  return outcome;
}

void DriverTest::ExpectNothingLeft() const {
  EXPECT_EQ(descriptors_, support::OpenDescriptors());
  EXPECT_TRUE(support::SameSettings(settings_, reader_->TerminalSettings()));
  EXPECT_TRUE(support::LockIsFree());
}

void DriverTest::ExpectNoPrompt() {
  EXPECT_TRUE(support::Eventually(
      [] { return m_smo_opt.sm_app_running("cx_capdlg") < 0; }));
}

int DriverTest::Blocks() {
  shm_info info{};
  shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&info));
  return info.used_ids;
}

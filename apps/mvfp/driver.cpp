#include "driver.h"

#include <dlfcn.h>
#include <mv_fpi.h>

#include <filesystem>
#include <system_error>

namespace {

struct Calls {
  decltype(&FG_GetDevVersion) get_dev_version;
  decltype(&FG_GetDevSn) get_dev_sn;
  decltype(&FG_CheckPressed) check_pressed;
  decltype(&FG_GetFeature) get_feature;
  decltype(&FG_GetTemplate) get_template;
  decltype(&FG_TipsGetTemplate) tips_get_template;
  decltype(&FG_FpMatch) fp_match;
  decltype(&DEV_CommCall) comm_call;
};
Calls calls;

template <typename Call>
bool Bind(void* driver, const char* name, Call* call) {
  *call = reinterpret_cast<Call>(dlsym(driver, name));
  return *call != nullptr;
}

bool BindAll(void* driver) {
  return Bind(driver, "FG_GetDevVersion", &calls.get_dev_version) &&
         Bind(driver, "FG_GetDevSn", &calls.get_dev_sn) &&
         Bind(driver, "FG_CheckPressed", &calls.check_pressed) &&
         Bind(driver, "FG_GetFeature", &calls.get_feature) &&
         Bind(driver, "FG_GetTemplate", &calls.get_template) &&
         Bind(driver, "FG_TipsGetTemplate", &calls.tips_get_template) &&
         Bind(driver, "FG_FpMatch", &calls.fp_match) &&
         Bind(driver, "DEV_CommCall", &calls.comm_call);
}

// The driver in the directory of this program, as in a build tree.
std::string FileBeside() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return program.parent_path() / corvex::mvfp::kDriverFile;
}

}  // namespace

namespace corvex::mvfp {

std::string LoadDriver() {
  void* driver = dlopen(kDriverFile, RTLD_NOW);
  std::string why = driver == nullptr ? dlerror() : "";
  // A sanitizer that stands between hides where this program lies.
  if (driver == nullptr) driver = dlopen(FileBeside().c_str(), RTLD_NOW);
  if (driver == nullptr) return why;
  return BindAll(driver) ? "" : dlerror();
}

}  // namespace corvex::mvfp

int FG_GetDevVersion(const char* port, const char* bp_select, int link_speed,
                     char* version) {
  return calls.get_dev_version(port, bp_select, link_speed, version);
}

int FG_GetDevSn(const char* port, const char* bp_select, int link_speed,
                char* sn) {
  return calls.get_dev_sn(port, bp_select, link_speed, sn);
}

int FG_CheckPressed(const char* port, const char* bp_select, int link_speed) {
  return calls.check_pressed(port, bp_select, link_speed);
}

int FG_GetFeature(const char* port, const char* bp_select, int link_speed,
                  int timeout_s, char* feature, int* feature_len,
                  char* message) {
  return calls.get_feature(port, bp_select, link_speed, timeout_s, feature,
                           feature_len, message);
}

int FG_GetTemplate(const char* port, const char* bp_select, int link_speed,
                   int timeout_s, char* tmpl, int* tmpl_len, char* message) {
  return calls.get_template(port, bp_select, link_speed, timeout_s, tmpl,
                            tmpl_len, message);
}

int FG_TipsGetTemplate(const char* port, const char* bp_select, int link_speed,
                       int timeout_s, char* tmpl, int* tmpl_len,
                       char* message) {
  return calls.tips_get_template(port, bp_select, link_speed, timeout_s, tmpl,
                                 tmpl_len, message);
}

int FG_FpMatch(const char* first, const char* second, int level) {
  return calls.fp_match(first, second, level);
}

int DEV_CommCall(const char* request, void* reserved, char* reply,
                 unsigned int* reply_len) {
  return calls.comm_call(request, reserved, reply, reply_len);
}

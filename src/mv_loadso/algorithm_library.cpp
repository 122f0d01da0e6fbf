#include "mv_loadso/algorithm_library.h"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <mutex>

#include "mv_base/clock.h"
#include "mv_base/diagnostic_log.h"
#include "mv_loadso/own_path.h"
#include "mv_loadso/whole_library.h"

void* g_ga_so_handle = nullptr;
void* g_ga_alg_handle = nullptr;
int32_t g_is_ga_alg_ok = -1;

namespace corvex {
namespace {

constexpr char kDriverVersion[] = "2025.05.11_NRBK_5120";
constexpr size_t kPathBytes = 1024;

// Bring-up can fail while the reader is still being connected, so it is tried
// again for a while. These two failures seldom pass: they end it early.
constexpr int64_t kBringUpMs = 3000;
constexpr useconds_t kBringUpPauseUs = 200000;
constexpr int32_t kAttemptsAtLeast = 3;
constexpr int32_t kNoDevice = -2;

bool PathBesideDriver(const char* file_name, char* path) {
  char directory[kOwnDirectoryBytes] = {};
  if (mv_get_path(directory) < 0) return false;
  MV_LOG("app_path = [%s]\n", directory);
  const int len = snprintf(path, kPathBytes, "%s/%s", directory, file_name);
  if (len < 0 || static_cast<size_t>(len) >= kPathBytes) return false;
  MV_LOG("ga_filename [%s]\n", path);
  return true;
}

bool Open(const char* file_name) {
  char beside_driver[kPathBytes] = {};
  const char* path = beside_driver;
  if (!PathBesideDriver(file_name, beside_driver)) {
    MV_LOG("获取路径失败 开始...\n");
    path = file_name;
  }
  MV_LOG("ga_filename 准备加载算法库[%s]\n", path);
  const bool cut_short = path != file_name && IsCutShort(path);
  if (!cut_short) g_ga_so_handle = dlopen(path, RTLD_NOW);
  if (g_ga_so_handle != nullptr) return true;
  MV_LOG("cx_load_ga_so 打开算法库失败[%s][%s]\n\n", file_name,
         cut_short ? "file is cut short" : dlerror());
  return false;
}

void LogVersion() {
  int32_t first = 0;
  int32_t second = 0;
  uint16_t part[4] = {};
  MvViewVersn(&first, &second, part);
  MV_LOG("cx_load_ga_so [%d][%d][v%d.%d.%d.%d]\n", first, second, part[0],
         part[1], part[2], part[3]);
}

bool EndsBringUp(int32_t attempts, int32_t result) {
  return attempts >= kAttemptsAtLeast &&
         (result == kAlgNotStarted || result == kNoDevice);
}

int32_t BringUp() {
  int32_t attempts = 0;
  const int64_t start = get_ms_tick();
  while (get_ms_tick() - start <= kBringUpMs) {
    usleep(kBringUpPauseUs);
    const int32_t result = MvViewDinit(&g_ga_alg_handle);
    if (result >= 0) {
      MV_LOG("cx_load_ga_so 初始化算法库完成[%d]\n", result);
      g_is_ga_alg_ok = 0;
      return kAlgReady;
    }
    MV_LOG("cx_load_ga_so %d.尝试初始化算法库失败/尝试连接设备[%d]\n", attempts,
           result);
    ++attempts;
    if (EndsBringUp(attempts, result)) {
      MV_LOG("cx_load_ga_so %d次初始化算法库失败/停止尝试[%d]\n", attempts,
             result);
      return result == kNoDevice ? kAlgUnavailable : result;
    }
  }
  MV_LOG("cx_load_ga_so 初始化算法库失败/未插设备[%d]\n", kAlgUnavailable);
  return kAlgUnavailable;
}

int32_t BindAndBringUp() {
  if (!BindEntryPoints(g_ga_so_handle)) return kAlgNoEntryPoint;
  LogVersion();
  return BringUp();
}

bool IsReady() {
  return g_ga_so_handle != nullptr && g_ga_alg_handle != nullptr &&
         g_is_ga_alg_ok >= 0;
}

}  // namespace

int32_t ReadyAlgorithmLibrary() {
  static std::mutex loading;
  static std::atomic<uint32_t> failures{0};
  static int32_t last_failure = 0;
  const uint32_t failures_before = failures;
  const std::lock_guard<std::mutex> lock(loading);
  if (IsReady()) return kAlgReady;
  // Another thread has just failed, while this one waited for it.
  if (failures != failures_before) return last_failure;
  // Deliberate: twice. The library may need a reader that is just being
  // connected.
  int32_t result = mv_check_alg();
  if (result < 0) result = cx_load_ga_so(kAlgorithmLibraryFile);
  if (result >= 0) return kAlgReady;
  last_failure = result;
  ++failures;
  return result;
}

}  // namespace corvex

int32_t cx_load_ga_so(const char* file_name) {
  using namespace corvex;
  g_is_ga_alg_ok = -1;
  MV_LOG("驱动库版本:[%s]\n", kDriverVersion);
  if (file_name == nullptr) return kAlgBadArgument;
  if (g_ga_so_handle != nullptr) cx_free_ga_so();
  if (!Open(file_name)) return kAlgUnavailable;
  const int32_t result = BindAndBringUp();
  MV_LOG("cx_load_ga_so 初始化算法库结束[%d]\n\n", result);
  return result;
}

int32_t mv_check_alg() {
  return corvex::IsReady() ? kAlgReady : cx_load_ga_so(kAlgorithmLibraryFile);
}

int32_t cx_free_ga_so() {
  if (g_ga_alg_handle != nullptr) {
    MvViewDexit(g_ga_alg_handle);
    g_ga_alg_handle = nullptr;
  }
  if (g_ga_so_handle != nullptr) {
    dlclose(g_ga_so_handle);
    g_ga_so_handle = nullptr;
  }
  return 0;
}

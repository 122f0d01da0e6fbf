#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "algorithm_double/driver_site.h"
#include "mv_base/clock.h"
#include "mv_loadso/loader_probe.h"
#include "support/temp_file.h"

namespace {

using support::CountOf;

constexpr char kUnloadable[] = "cx_load_ga_so 打开算法库失败";

// The log without stamps, places, processes and threads.
std::string LogTexts() {
  std::istringstream log(support::DayLog());
  std::string texts;
  for (std::string line; std::getline(log, line);) {
    const size_t place = line.find("  [src/mv_loadso:");
    const size_t text = line.find("] ", place);
    texts += (place == 12 ? line.substr(text + 2) : line) + "\n";
  }
  return texts;
}

class Loader : public testing::Test {
 protected:
  // Loads the driver, and with it what stands beside it.
  void LoadDriver() {
    site_.Load();
    probe_ = site_.Get<const LoaderProbe>("kLoaderProbe");
    ASSERT_NE(nullptr, probe_);
  }

  // The same, and a log that holds what happens from here on.
  void LoadDriverThenLog() {
    LoadDriver();
    support::SwitchLogOn();
  }

  bool IsReady() const {
    return *probe_->so_handle != nullptr && *probe_->alg_handle != nullptr &&
           *probe_->ok == 0;
  }

  support::DriverSite site_{MV_LOADER_PROBE};
  const LoaderProbe* probe_ = nullptr;
};

TEST_F(Loader, TheLibraryIsReadyOnceTheDriverIsLoaded) {
  support::SwitchLogOn();
  site_.InstallDouble();
  site_.Script("version 7 -1 4 3 2 65535\ninit -3 5\n");
  LoadDriver();
  EXPECT_TRUE(IsReady());
  EXPECT_EQ(0, probe_->check());
  EXPECT_EQ("MvViewVersn\nMvViewDinit -> -3\nMvViewDinit -> 5\n",
            site_.Calls());
  EXPECT_EQ(
      "驱动库版本:[2025.05.11_NRBK_5120]\n"
      "app_path = [/tmp/site]\n"
      "ga_filename [/tmp/site/libAlgoOrva64.so]\n"
      "ga_filename 准备加载算法库[/tmp/site/libAlgoOrva64.so]\n"
      "cx_load_ga_so [7][-1][v4.3.2.65535]\n"
      "cx_load_ga_so 0.尝试初始化算法库失败/尝试连接设备[-3]\n"
      "cx_load_ga_so 初始化算法库完成[5]\n"
      "cx_load_ga_so 初始化算法库结束[0]\n\n",
      LogTexts());
}

TEST_F(Loader, InitialisationEndsWhenItMay) {
  const struct {
    const char* init;
    int code, attempts;
    const char* last_words;
  } kCases[] = {
      {"0", 0, 1, "初始化算法库完成[0]"},
      {"1", 0, 1, "初始化算法库完成[1]"},
      {"-15 -2 0", 0, 3, "初始化算法库完成[0]"},
      {"-2", -120, 3, "3次初始化算法库失败/停止尝试[-2]"},
      {"-15", -15, 3, "3次初始化算法库失败/停止尝试[-15]"},
      {"-1 -1 -15", -15, 3, "3次初始化算法库失败/停止尝试[-15]"},
      {"-2 -15 -1 -2", -120, 4, "4次初始化算法库失败/停止尝试[-2]"},
  };
  LoadDriver();
  site_.InstallDouble();
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.init);
    support::SwitchLogOn();
    const int before = site_.CountCalls("MvViewDinit");
    site_.Script(std::string("init ") + c.init);
    EXPECT_EQ(c.code, probe_->load(kAlgorithmLibraryFile));
    EXPECT_EQ(c.attempts, site_.CountCalls("MvViewDinit") - before);
    EXPECT_EQ(1, CountOf(std::string("cx_load_ga_so ") + c.last_words +
                             "\ncx_load_ga_so 初始化算法库结束[" +
                             std::to_string(c.code) + "]\n\n",
                         LogTexts()));
    EXPECT_EQ(c.code == 0, IsReady());
    EXPECT_NE(nullptr, *probe_->so_handle);
  }
}

TEST_F(Loader, AnyOtherFailureIsTriedAgainForThreeSeconds) {
  LoadDriverThenLog();
  site_.InstallDouble();
  site_.Script("init -3");
  const int64_t start = get_ms_tick();
  EXPECT_EQ(-120, probe_->load(kAlgorithmLibraryFile));
  EXPECT_GE(get_ms_tick() - start, 3000);
  EXPECT_GT(site_.CountCalls("MvViewDinit"), 3);
  EXPECT_LE(site_.CountCalls("MvViewDinit"), 16);
  EXPECT_EQ(1, CountOf("cx_load_ga_so 初始化算法库失败/未插设备[-120]\n"
                       "cx_load_ga_so 初始化算法库结束[-120]\n\n",
                       LogTexts()));
}

TEST_F(Loader, AMissingEntryPointIsNamedAndTheNextCheckLoadsAnew) {
  const char* const kSymbols[] = {"MvViewVersn", "MvViewDinit", "MvViewDexit",
                                  "MvViewMinut", "MvViewMatch", "MvViewImMut",
                                  "MvViewDetct", "MvChckMinut", "OrvSynMinut"};
  LoadDriver();
  for (const std::string symbol : kSymbols) {
    SCOPED_TRACE(symbol);
    support::SwitchLogOn();
    site_.InstallDouble("without_" + symbol);
    EXPECT_EQ(-1, probe_->load(kAlgorithmLibraryFile));
    EXPECT_EQ(1, CountOf("获取函数指针" + symbol + "指针失败[", LogTexts()));
    EXPECT_EQ(1, CountOf("cx_load_ga_so 初始化算法库结束[-1]\n\n", LogTexts()));
    EXPECT_TRUE(site_.IsMapped("libAlgoOrva64.so"));
    EXPECT_FALSE(IsReady());
    EXPECT_EQ(-1, probe_->check());
  }
  EXPECT_EQ("", site_.Calls());
  site_.InstallDouble();
  EXPECT_EQ(0, probe_->check());
  EXPECT_TRUE(IsReady());
}

TEST_F(Loader, TheEightBeforeAMissingNinthAreBound) {
  LoadDriver();
  site_.InstallDouble();
  ASSERT_EQ(0, probe_->check());
  EXPECT_NE(nullptr, *probe_->synth);
  site_.InstallDouble("without_OrvSynMinut");
  EXPECT_EQ(-1, probe_->load(kAlgorithmLibraryFile));
  EXPECT_EQ(nullptr, *probe_->synth);
  EXPECT_EQ(1, site_.CountCalls("MvViewDexit mine\n"));  // of the first library
}

TEST_F(Loader, AnEntryPointAtAddressZeroCountsAsMissing) {
  LoadDriver();
  site_.InstallDouble("null_MvViewMinut");
  EXPECT_EQ(-1, probe_->load(kAlgorithmLibraryFile));
}

TEST_F(Loader, WhatIsNoLibraryIsRefused) {
  site_.InstallDouble();
  const std::string whole = support::ReadFile("/tmp/site/libAlgoOrva64.so");
  std::string alien = whole;
  alien[18] = 8;  // another machine
  const std::string kContents[] = {"",
                                   "not a library\n",
                                   std::string(1 << 20, '\0'),
                                   "\x7f"
                                   "ELF",
                                   whole.substr(0, 63),
                                   alien};
  site_.RemoveLibrary();
  LoadDriverThenLog();
  EXPECT_EQ(-120, probe_->load(kAlgorithmLibraryFile));
  EXPECT_EQ(
      1, CountOf(std::string(kUnloadable) + "[libAlgoOrva64.so][", LogTexts()));
  for (const std::string& content : kContents) {
    site_.InstallFile(content);
    EXPECT_EQ(-120, probe_->load(kAlgorithmLibraryFile)) << content.size();
    EXPECT_EQ(nullptr, *probe_->so_handle);
  }
  site_.RemoveLibrary();
  std::filesystem::create_directory("/tmp/site/libAlgoOrva64.so");
  EXPECT_EQ(-120, probe_->load(kAlgorithmLibraryFile));
}

// An interrupted copy; without a check of its own the process would die.
TEST_F(Loader, ALibraryCutShortIsRefused) {
  site_.InstallDouble();
  const std::string whole = support::ReadFile("/tmp/site/libAlgoOrva64.so");
  site_.RemoveLibrary();
  LoadDriver();
  for (const size_t size : {64u, 1000u, 4096u, 8192u, 10000u, 16384u, 20000u}) {
    support::SwitchLogOn();
    site_.InstallFile(whole.substr(0, size));
    EXPECT_EQ(-120, probe_->load(kAlgorithmLibraryFile)) << size;
    EXPECT_EQ(1,
              CountOf("[libAlgoOrva64.so][file is cut short]\n\n", LogTexts()));
  }
}

TEST_F(Loader, AReadyLibrarySurvivesTheRemovalOfItsFile) {
  site_.InstallDouble();
  LoadDriver();
  site_.RemoveLibrary();
  EXPECT_EQ(0, probe_->check());
  EXPECT_EQ(1, site_.CountCalls("MvViewDinit"));
  EXPECT_EQ(0, probe_->free());
  EXPECT_EQ(0, probe_->free());
  EXPECT_EQ(1, site_.CountCalls("MvViewDexit"));
  EXPECT_EQ(-120, probe_->check());
  site_.InstallDouble();
  EXPECT_EQ(0, probe_->check());
  EXPECT_TRUE(IsReady());
}

TEST_F(Loader, ANullNameLeavesTheLoadedLibraryAloneButNotReady) {
  site_.InstallDouble();
  LoadDriverThenLog();
  EXPECT_EQ(-3, probe_->load(nullptr));
  EXPECT_EQ("驱动库版本:[2025.05.11_NRBK_5120]\n", LogTexts());
  EXPECT_NE(nullptr, *probe_->so_handle);
  EXPECT_EQ(-1, *probe_->ok);
  EXPECT_EQ(0, probe_->check());
}

TEST_F(Loader, ALibraryThatGivesNoInstanceIsNeverReady) {
  site_.InstallDouble();
  site_.Script("handle 0");
  LoadDriver();
  EXPECT_EQ(0, *probe_->ok);
  EXPECT_EQ(0, probe_->check());
  EXPECT_EQ(0, probe_->check());
  EXPECT_EQ(3, site_.CountCalls("MvViewDinit"));
  EXPECT_EQ(0, site_.CountCalls("MvViewDexit"));
}

TEST_F(Loader, TheDirectoryIsTheDriversWhateverTheWorkingDirectory) {
  site_.InstallDouble();
  LoadDriver();
  ASSERT_EQ(0, chdir("/"));
  EXPECT_EQ(0, probe_->load(kAlgorithmLibraryFile));
  char directory[512];
  EXPECT_EQ(static_cast<int>(std::string("/libloader_probe.so").size()),
            probe_->get_path(directory));
  EXPECT_STREQ("/tmp/site", directory);
}

TEST(LoaderPath, ADirectoryThatDoesNotFitCountsAsNone) {
  for (const size_t length : {511u, 512u, 700u}) {
    SCOPED_TRACE(length);
    support::SwitchLogOn();
    std::string directory = "/tmp/";
    directory += std::string(200, 'a') + "/" + std::string(200, 'b') + "/";
    directory += std::string(200, 'c') + "/";
    directory += std::string(200, 'd');
    directory.resize(length);
    support::DriverSite site(MV_LOADER_PROBE, directory);
    site.Load();
    EXPECT_EQ(length < 512 ? 0 : 1,
              CountOf("获取路径失败 开始...\n"
                      "ga_filename 准备加载算法库[libAlgoOrva64.so]\n",
                      LogTexts()));
    EXPECT_EQ(1, CountOf(kUnloadable, LogTexts()));
  }
}

TEST_F(Loader, ThreadsDoNotEachWaitForAFailureThatOneHasSeen) {
  LoadDriver();
  site_.InstallDouble();
  site_.Script("init -15");
  std::vector<int32_t> results(8, 1);
  std::vector<std::thread> threads;
  for (int32_t& result : results) {
    threads.emplace_back([&] { result = probe_->ready(); });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(std::vector<int32_t>(8, -15), results);
  EXPECT_EQ(6, site_.CountCalls("MvViewDinit"));
}

}  // namespace

#include <elf.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "algorithm_double/driver_site.h"
#include "mv_loadso/loader_probe.h"
#include "support/temp_file.h"

namespace {

using support::CountOf;

// What the log says, without stamps, lines, processes and threads.
std::string LogTexts() {
  static const std::regex kOrigin(
      R"(\S{12}  \[src/mv_loadso:\d+\]\[\d+:\d+\] )");
  return std::regex_replace(support::DayLog(), kOrigin, "");
}

class Loader : public testing::Test {
 protected:
  Loader() { LoadDriver(); }
  // Loads the driver, and with it what stands beside it.
  void LoadDriver() {
    site_.Load();
    probe_ = site_.Get<const LoaderProbe>("kLoaderProbe");
  }
  // Loads what stands beside it now; the log holds what comes of that.
  int32_t LoadAnew() {
    support::SwitchLogOn();
    return probe_->load(kAlgorithmLibraryFile);
  }

  support::DriverSite site_{MV_LOADER_PROBE};
  const LoaderProbe* probe_ = nullptr;
};

TEST_F(Loader, TheLibraryIsReadyOnceTheDriverIsLoadedAndUntilItIsFreed) {
  ASSERT_EQ(0, chdir("/"));
  support::SwitchLogOn();
  site_.InstallDouble();
  site_.Script("version 7 -1 4 3 2 65535\ninit -3 5\n");
  site_.Unload();
  LoadDriver();
  site_.RemoveLibrary();
  EXPECT_EQ(0, probe_->check());
  EXPECT_EQ(0, probe_->free());
  EXPECT_EQ(0, probe_->free());
  EXPECT_EQ(
      "MvViewVersn\nMvViewDinit -> -3\nMvViewDinit -> 5\nMvViewDexit mine\n",
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
  EXPECT_EQ(-120, probe_->check());
}

TEST_F(Loader, InitialisationEndsWhenItMay) {
  const struct {
    const char* script;
    int code;
    const char* last_words;
  } kCases[] = {
      {"init 1", 0, "初始化算法库完成[1]"},
      {"init -15 -2 -3 -3 -3 -3 0", 0, "初始化算法库完成[0]"},
      {"init -2", -120, "3次初始化算法库失败/停止尝试[-2]"},
      {"init -1 -1 -15", -15, "3次初始化算法库失败/停止尝试[-15]"},
      {"init -2 -15 -1 -2", -120, "4次初始化算法库失败/停止尝试[-2]"},
      {"init -3", -120, "初始化算法库失败/未插设备[-120]"},
  };
  site_.InstallDouble();
  for (const auto& c : kCases) {
    site_.Script(c.script);
    EXPECT_EQ(c.code, LoadAnew()) << c.script;
    EXPECT_LE(CountOf("尝试连接设备", LogTexts()), 15) << c.script;
    EXPECT_EQ(1, CountOf(std::string("cx_load_ga_so ") + c.last_words +
                             "\ncx_load_ga_so 初始化算法库结束[" +
                             std::to_string(c.code) + "]\n\n",
                         LogTexts()))
        << c.script;
  }
}

TEST_F(Loader, AMissingEntryPointIsNamedAndTheNextCheckLoadsAnew) {
  for (const std::string symbol :
       {"MvViewVersn", "MvViewDinit", "MvViewDexit", "MvViewMinut",
        "MvViewMatch", "MvViewImMut", "MvViewDetct", "MvChckMinut",
        "OrvSynMinut"}) {
    site_.InstallDouble("without_" + symbol);
    EXPECT_EQ(-1, LoadAnew()) << symbol;
    EXPECT_EQ(1, CountOf("获取函数指针" + symbol + "指针失败[", LogTexts()));
    EXPECT_EQ(1, CountOf("初始化算法库结束[-1]\n\n", LogTexts())) << symbol;
    EXPECT_TRUE(site_.IsMapped("libAlgoOrva64.so")) << symbol;
  }
  site_.InstallDouble("null_MvViewMinut");
  EXPECT_EQ(-1, probe_->check());
  EXPECT_EQ("", site_.Calls());
  site_.InstallDouble();
  EXPECT_EQ(0, probe_->check());
}

TEST_F(Loader, WithoutANameOrAnInstanceItIsNotReady) {
  site_.InstallDouble();
  EXPECT_EQ(0, probe_->check());
  EXPECT_EQ(-3, probe_->load(nullptr));
  EXPECT_TRUE(site_.IsMapped("libAlgoOrva64.so"));
  site_.Script("handle 0");
  EXPECT_EQ(0, probe_->check());
  EXPECT_EQ(0, probe_->check());
  EXPECT_EQ(3, site_.CountCalls("MvViewDinit"));
  EXPECT_EQ(1, site_.CountCalls("MvViewDexit"));
}

// An interrupted copy would end the process within the dynamic loader.
TEST_F(Loader, WhatIsNoWholeLibraryIsRefused) {
  site_.InstallDouble();
  const std::string whole = support::ReadFile("/tmp/site/libAlgoOrva64.so");
  site_.RemoveLibrary();
  EXPECT_EQ(-120, LoadAnew());
  const auto* const header = reinterpret_cast<const Elf64_Ehdr*>(whole.data());
  size_t end = 0;  // of what the dynamic loader maps
  for (size_t i = 0; i < header->e_phnum; ++i) {
    const auto& segment =
        reinterpret_cast<const Elf64_Phdr*>(whole.data() + header->e_phoff)[i];
    if (segment.p_type == PT_LOAD) end = segment.p_offset + segment.p_filesz;
  }
  const int free_file = dup(2);
  close(free_file);
  std::string alien = whole;
  alien[18] = 8;  // another machine
  for (const std::string& content :
       {alien, std::string("no library"), whole.substr(0, 63),
        whole.substr(0, 4096), whole.substr(0, end - 1)}) {
    site_.InstallFile(content);
    EXPECT_EQ(-120, LoadAnew()) << content.size();
    EXPECT_EQ(1, CountOf("打开算法库失败[libAlgoOrva64.so][", LogTexts()));
  }
  EXPECT_EQ(free_file, dup(2));
  site_.InstallFile(whole.substr(0, end));
  EXPECT_EQ(0, LoadAnew());
}

TEST(LoaderPath, ADirectoryThatDoesNotFitCountsAsNone) {
  std::string directory = "/tmp/" + std::string(200, 'a') + "/";
  directory += std::string(200, 'b') + "/" + std::string(105, 'c');
  support::SwitchLogOn();
  support::DriverSite site(MV_LOADER_PROBE, directory);
  site.Load();
  EXPECT_EQ(1, CountOf("获取路径失败 开始...\n"
                       "ga_filename 准备加载算法库[libAlgoOrva64.so]\n",
                       LogTexts()));
}

TEST_F(Loader, ThreadsDoNotEachWaitForAFailureThatOneHasSeen) {
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

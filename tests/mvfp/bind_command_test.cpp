// bind, run as a program among a /sys, an /etc and a /dev of the test's own.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "scene.h"
#include "support/private_dev.h"
#include "support/temp_file.h"
#include "tool_run.h"

namespace {

constexpr char kRules[] = "/etc/udev/rules.d/71-mv-fpi-com3.rules";
constexpr char kUsb[] = "/devices/platform/xhci/usb1/1-1/1-1.2";
constexpr char kRights[] =
    R"(, SYMLINK+="COM3", GROUP="dialout", MODE="0660", )"
    R"(ENV{ID_MM_PORT_IGNORE}="1", ENV{ID_MM_DEVICE_IGNORE}="1")"
    "\n";

// The rule without its comment.
std::string Rule(const std::string& rules) {
  const size_t start = rules.find("\nSUBSYSTEM");
  return start == std::string::npos ? rules : rules.substr(start + 1);
}

class Bind : public testing::Test {
 protected:
  Bind() {
    support::CoverDev();
    support::Cover("/sys");
    support::Cover("/etc");
    std::filesystem::create_directories("/etc/udev/rules.d");
    support::AddTty("ttyUSB0", std::string(kUsb) + "/1-1.2:1.0/ttyUSB0");
    Describe("idVendor", "1a86");
    Describe("idProduct", "7523");
    Describe("1-1.2:1.0/bInterfaceNumber", "00");
    support::AddTty("ttyAMA0", "/devices/platform/serial");
    support::AddProgram("udevadm", "echo \"$@\" >>/tmp/udevadm");
  }

  static void Describe(const std::string& attribute, const std::string& value) {
    support::WriteFile(std::string("/sys") + kUsb + "/" + attribute,
                       value + "\n");
  }
};

TEST_F(Bind, KnowsAnAdapterByItsSerialNumberAndTellsUdev) {
  Describe("serial", "A50285 BI");
  const Finished run = RunTool({"bind", "3", "--port", "/dev/ttyUSB0"});
  EXPECT_EQ(0, run.exit_code) << run.err;
  EXPECT_EQ(
      std::string(R"(SUBSYSTEM=="tty", ATTRS{idVendor}=="1a86", )"
                  R"(ATTRS{idProduct}=="7523", ATTRS{serial}=="A50285 BI", )"
                  R"(ENV{ID_USB_INTERFACE_NUM}=="00")") +
          kRights,
      Rule(support::ReadFile(kRules)));
  EXPECT_EQ(
      "control --reload\ntrigger --subsystem-match=tty\nsettle --timeout=5\n",
      support::ReadFile("/tmp/udevadm"));
}

// Also where the serial number would steer the rule.
TEST_F(Bind, KnowsAnAdapterWithoutAUsableSerialNumberByItsSocket) {
  const std::string rule =
      R"(SUBSYSTEM=="tty", )"
      R"(DEVPATH=="/devices/platform/xhci/usb*/*-1/*-1.2/*-1.2:1.0/*")" +
      std::string(kRights);
  for (const char* serial : {"", "*", "A\", RUN+=\"/bin/sh"}) {
    Describe("serial", serial);
    EXPECT_EQ(rule,
              Rule(RunTool({"bind", "3", "--port", "ttyUSB0", "--print"}).out))
        << serial;
  }
  Describe("serial", "0001");
  EXPECT_EQ(
      rule,
      Rule(RunTool({"bind", "3", "--port", "ttyUSB0", "--print", "--by-socket"})
               .out));
  EXPECT_FALSE(std::filesystem::exists(kRules));
}

TEST_F(Bind, KnowsAPortOfTheBoardByItsNameAndALinkByWhereItLeads) {
  support::WriteFile("/dev/ttyAMA0", "");
  support::LinkDevice("serial0", "ttyAMA0");
  EXPECT_EQ(R"(SUBSYSTEM=="tty", KERNEL=="ttyAMA0")" + std::string(kRights),
            Rule(RunTool({"bind", "3", "--port", "serial0", "--print"}).out));
}

TEST_F(Bind, ListsAndRemovesWhatItBound) {
  RunTool({"bind", "3", "--port", "ttyAMA0"});
  EXPECT_EQ("/dev/COM3 -> (not plugged in)  KERNEL==\"ttyAMA0\"\n",
            RunTool({"bind", "--list"}).out);
  support::WriteFile("/dev/ttyAMA0", "");
  support::LinkDevice("COM3", "ttyAMA0");
  EXPECT_EQ(
      "/dev/ttyAMA0",
      RunTool({"bind", "--list", "--json"}).Json()["bindings"][0]["target"]);
  EXPECT_EQ("/dev/COM3 is not bound any more\n",
            RunTool({"bind", "3", "--remove"}).out);
  EXPECT_FALSE(std::filesystem::exists(kRules));
  EXPECT_EQ("/dev/COM3 was not bound\n",
            RunTool({"bind", "3", "--remove"}).out);
}

TEST_F(Bind, SaysThatItNeedsRoot) {
  RunTool({"bind", "3", "--port", "ttyAMA0"});
  ASSERT_EQ(0, chmod("/etc/udev/rules.d", 0555));
  support::GiveUpRootsRights();
  const Finished bind = RunTool({"bind", "4", "--port", "ttyUSB0"});
  EXPECT_EQ(4, bind.exit_code);
  EXPECT_NE(std::string::npos, bind.err.find("sudo mvfp bind 4 --port ttyUSB0"))
      << bind.err;
  const Finished remove = RunTool({"bind", "3", "--remove"});
  EXPECT_EQ(4, remove.exit_code);
  EXPECT_NE(std::string::npos, remove.err.find("sudo mvfp bind 3 --remove"));
}

TEST_F(Bind, ARuleThatUdevDidNotTakeIsKeptAndSaid) {
  support::AddProgram("udevadm", "exit 1");
  const Finished run = RunTool({"bind", "3", "--port", "ttyAMA0"});
  EXPECT_EQ(0, run.exit_code);
  EXPECT_NE(std::string::npos, run.err.find("plug the adapter in anew"));
  EXPECT_TRUE(std::filesystem::exists(kRules));
}

TEST_F(Bind, WhatCannotBeBoundIsAUsageError) {
  const std::vector<std::vector<std::string>> cases = {
      {"bind"},
      {"bind", "3"},
      {"bind", "256", "--port", "ttyUSB0"},
      {"bind", "3", "--port", "ttyUSB1"},
      {"bind", "3", "--list"},
      {"bind", "3", "--remove", "--print"}};
  for (const auto& arguments : cases) {
    EXPECT_EQ(2, RunTool(arguments).exit_code) << arguments.back();
  }
  EXPECT_TRUE(std::filesystem::is_empty("/etc/udev/rules.d"));
}

}  // namespace

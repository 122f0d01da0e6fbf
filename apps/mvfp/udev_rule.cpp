#include "udev_rule.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <regex>
#include <system_error>

namespace corvex::mvfp {
namespace {

namespace fs = std::filesystem;

constexpr char kRulesStart[] = "/etc/udev/rules.d/71-mv-fpi-com";
constexpr char kRulesEnd[] = ".rules";
// As the rules of the package have it, for adapters that these do not know.
constexpr char kRights[] =
    R"(GROUP="dialout", MODE="0660", ENV{ID_MM_PORT_IGNORE}="1", )"
    R"(ENV{ID_MM_DEVICE_IGNORE}="1")";
constexpr char kTty[] = R"(SUBSYSTEM=="tty", )";
constexpr char kLink[] = R"(, SYMLINK+="COM)";

// The device under the port, in sysfs; "" when there is none. Also for a link
// to the port, such as those in /dev/serial/by-id.
fs::path DeviceOf(const std::string& port) {
  std::error_code error;
  const fs::path node = fs::canonical("/dev/" + port, error);
  for (const std::string& name : {port, node.filename().string()}) {
    const fs::path tty = "/sys/class/tty/" + name;
    if (name.empty() || !fs::exists(tty / "device", error)) continue;
    return fs::canonical(tty, error);
  }
  return "";
}

std::string Attribute(const fs::path& device, const char* name) {
  std::ifstream file(device / name);
  std::string value;
  std::getline(file, value);
  return value.substr(0, value.find_last_not_of(' ') + 1);
}

// The nearest device at or above this one that has the attribute.
fs::path Above(fs::path device, const char* attribute) {
  std::error_code error;
  while (device.has_relative_path()) {
    if (fs::exists(device / attribute, error)) return device;
    device = device.parent_path();
  }
  return "";
}

// Not what a rule would take for a pattern or for the end of a text.
bool IsPlain(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0 ||
           std::string(" ._:-").find(c) != std::string::npos;
  });
}

std::string Is(const char* key, const std::string& value) {
  return std::string(key) + "==\"" + value + "\"";
}

// The numbers of the buses depend on the order in which they were found.
std::string SocketMatch(const fs::path& interface) {
  const std::regex bus("/(usb)?[0-9]+(?=/|-[0-9.]+[/:])");
  const std::string path = interface.string().substr(sizeof "/sys" - 1);
  return Is("DEVPATH", std::regex_replace(path + "/", bus, "/$1*") + "*");
}

std::string UsbMatch(const fs::path& usb, const fs::path& interface,
                     bool by_socket) {
  const std::string serial = Attribute(usb, "serial");
  if (by_socket || !IsPlain(serial)) return SocketMatch(interface);
  return Is("ATTRS{idVendor}", Attribute(usb, "idVendor")) + ", " +
         Is("ATTRS{idProduct}", Attribute(usb, "idProduct")) + ", " +
         Is("ATTRS{serial}", serial) + ", " +
         Is("ENV{ID_USB_INTERFACE_NUM}",
            Attribute(interface, "bInterfaceNumber"));
}

}  // namespace

std::string AdapterMatch(const std::string& port, bool by_socket) {
  const fs::path tty = DeviceOf(port);
  if (tty.empty()) return "";
  const fs::path usb = Above(tty, "idVendor");
  if (usb.empty()) return Is("KERNEL", tty.filename().string());
  return UsbMatch(usb, Above(tty, "bInterfaceNumber"), by_socket);
}

std::string RulesFile(int number, const std::string& match) {
  const std::string com = std::to_string(number);
  return "# A lasting name for a fingerprint reader's port. Made by mvfp bind; "
         "to take it\n# away: mvfp bind " +
         com + " --remove\n" + kTty + match + kLink + com + "\", " + kRights +
         "\n";
}

std::string RulesPath(int number) {
  return kRulesStart + std::to_string(number) + kRulesEnd;
}

std::string MatchIn(const std::string& rules) {
  const size_t start = rules.find(kTty);
  const size_t end = rules.find(kLink, start);
  if (start == std::string::npos || end == std::string::npos) return "";
  const size_t match = start + sizeof kTty - 1;
  return rules.substr(match, end - match);
}

}  // namespace corvex::mvfp

#include "ports/adapter.h"

#include "files.h"

namespace corvex::mvfp {

namespace fs = std::filesystem;

namespace {

// "serial8250, on the board": the first driver above the port that is not the
// kernel's own layer between.
std::string DescribeChip(fs::path device) {
  std::error_code error;
  for (; device.has_relative_path(); device = device.parent_path()) {
    const fs::path driver =
        fs::read_symlink(device / "driver", error).filename();
    if (driver.empty() || driver == "port" || driver == "ctrl") continue;
    return driver.string() + ", on the board";
  }
  return "on the board";
}

}  // namespace

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
  const std::string text = ReadText(device / name);
  const std::string value = text.substr(0, text.find('\n'));
  return value.substr(0, value.find_last_not_of(' ') + 1);
}

fs::path Above(fs::path device, const char* attribute) {
  std::error_code error;
  while (device.has_relative_path()) {
    if (fs::exists(device / attribute, error)) return device;
    device = device.parent_path();
  }
  return "";
}

std::string DescribeAdapter(const std::string& port) {
  const fs::path tty = DeviceOf(port);
  if (tty.empty()) return "";
  const fs::path usb = Above(tty, "idVendor");
  if (usb.empty()) return DescribeChip(tty);
  std::string text;
  for (const char* name : {"manufacturer", "product"}) {
    const std::string value = Attribute(usb, name);
    if (!value.empty()) text += value + " ";
  }
  text += "(" + Attribute(usb, "idVendor") + ":" + Attribute(usb, "idProduct");
  const std::string serial = Attribute(usb, "serial");
  return text + (serial.empty() ? "" : ", serial number " + serial) + ")";
}

}  // namespace corvex::mvfp

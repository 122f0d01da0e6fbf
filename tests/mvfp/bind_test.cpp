// bind, among a /sys and an /etc of the test's own.
#include "tool.h"

namespace {

constexpr char kBox[] = R"(
mount -t tmpfs t /sys; mount -t tmpfs t /etc; mkdir -p /etc/udev/rules.d /tmp/bin
cd /sys; mkdir -p devices/usb1/1-1/1-1.2/1-1.2:1.0/tty/ttyUSB0 class/tty \
  devices/board/tty/ttyAMA0
ln -s ../.. devices/board/tty/ttyAMA0/device
ln -s $PWD/devices/board/tty/ttyAMA0 class/tty
cd devices/usb1/1-1/1-1.2; ln -s ../.. 1-1.2:1.0/tty/ttyUSB0/device
ln -s $PWD/1-1.2:1.0/tty/ttyUSB0 /sys/class/tty
echo 1a86 >idVendor; echo 7523 >idProduct; echo 00 >1-1.2:1.0/bInterfaceNumber
echo >/dev/ttyAMA0; ln -s ttyAMA0 /dev/serial0
printf '#!/bin/sh\necho "$@" >>/tmp/udev\n' >/tmp/bin/udevadm; chmod 755 /tmp/bin/*
)";

std::string RuleFor(const std::string& match) {
  return "SUBSYSTEM==\"tty\", " + match +
         ", SYMLINK+=\"COM5\", GROUP=\"dialout\", MODE=\"0660\", "
         "TAG+=\"uaccess\", ENV{ID_MM_PORT_IGNORE}=\"1\", "
         "ENV{ID_MM_DEVICE_IGNORE}=\"1\"";
}

TEST_F(Tool, BindNamesTheAdapterAndNoOther) {
  Run(kBox);
  const std::string socket = "DEVPATH==\"/devices/usb*/*-1/*-1.2/*-1.2:1.0/*\"";
  const std::string serial =
      "ATTRS{idVendor}==\"1a86\", ATTRS{idProduct}==\"7523\", "
      "ATTRS{serial}==\"A5 BI\", ENV{ID_USB_INTERFACE_NUM}==\"00\"";
  for (const std::string number : {"A5 BI", "", "*", "A\", B=\""}) {
    support::WriteFile("/sys/devices/usb1/1-1/1-1.2/serial", number + "\n");
    Expect("mvfp bind 5 -p ttyUSB0 --print | tail -n 1", 0,
           RuleFor(number == "A5 BI" ? serial : socket), "");
  }
  Expect(
      "mvfp bind 5 -p serial0 && tail -qn 1 /etc/udev/rules.d/* && cat "
      "/tmp/udev; mvfp bind --list; mvfp bind 5 --remove; mvfp bind 5 "
      "--remove; ls /etc/udev/rules.d",
      0,
      "/dev/COM5 is bound to KERNEL==\"ttyAMA0\"\n" +
          RuleFor("KERNEL==\"ttyAMA0\"") +
          "\ncontrol --reload\ntrigger --subsystem-match=tty\nsettle "
          "--timeout=5\n/dev/COM5 -> (not plugged in)  KERNEL==\"ttyAMA0\"\n"
          "/dev/COM5 is not bound any more\n/dev/COM5 was not bound",
      "");
  Expect(
      "chmod 555 /etc/udev/rules.d; setpriv --bounding-set=-all mvfp "
      "bind 5 -p ttyUSB0",
      4, "", "only root may: sudo mvfp bind 5 --port ttyUSB0\n");
}

}  // namespace

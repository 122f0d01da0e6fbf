// What the kernel says of the hardware under a port, in sysfs.
#ifndef APPS_MVFP_PORTS_ADAPTER_H_
#define APPS_MVFP_PORTS_ADAPTER_H_

#include <filesystem>
#include <string>

namespace corvex::mvfp {

// The device under the port; "" when there is none. Also for a link to the
// port, such as those in /dev/serial/by-id.
std::filesystem::path DeviceOf(const std::string& port);

// The first line of a device's attribute; "" when it has none.
std::string Attribute(const std::filesystem::path& device, const char* name);

// The nearest device at or above this one that has the attribute; "" for none.
std::filesystem::path Above(std::filesystem::path device,
                            const char* attribute);

// The hardware for people: "QinHeng USB Serial (1a86:7523)", or the kernel's
// name for a port of the board; "" when nothing is known.
std::string DescribeAdapter(const std::string& port);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_PORTS_ADAPTER_H_

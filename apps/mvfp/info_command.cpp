// info: what the driver's JSON entry tells about a reader.
#include <mv_fpi.h>

#include <cstdlib>
#include <string>

#include "call_failure.h"
#include "commands.h"
#include "device_call.h"
#include "port.h"

namespace corvex::mvfp {
namespace {

static_assert(DEV_REPLY_BYTES <= sizeof Reply::text);

struct Row {
  const char* key;
  const char* label;
};
constexpr Row kRows[] = {
    {"DeviceBrand", "brand"},       {"DeviceModel", "model"},
    {"DeviceVersion", "firmware"},  {"DeviceSN", "serial number"},
    {"ProductionDate", "produced"}, {"DllVersion", "library"},
};

// The entry knows ports by number: COM3 is "3". Empty for any other name.
std::string PortNumber(const std::string& port) {
  if (port.rfind("COM", 0) != 0) return "";
  const std::string number = port.substr(3);
  return std::to_string(atoi(number.c_str())) == number ? number : "";
}

int PrintNoNumber(const Config& config) {
  const std::string what = config.port.empty()
                               ? "no port given"
                               : "\"" + config.port + "\" is no port COM<n>";
  return PrintUsage(
      config, what,
      "the JSON entry asks by number; give the port a name like /dev/COM3, as "
      "in sudo mvfp bind 3 --port ttyUSB0, and use --port COM3; " +
          KnownPorts());
}

Outcome Ask(const std::string& port, const std::string& number) {
  const std::string request =
      Json{{"FunctionCode", "0001"}, {"RequestPort", number}}.dump();
  return RunDeviceCall(
      port,
      [&](Reply* reply) {
        char reserved = 0;
        unsigned int length = 0;
        reply->rc =
            DEV_CommCall(request.c_str(), &reserved, reply->text, &length);
      },
      nullptr);
}

// The rows that people read; a reply that is no JSON, because the serial
// number holds just any bytes, is shown as it is.
std::string Table(const std::string& reply) {
  const Json object = Json::parse(reply, nullptr, false);
  if (!object.is_object()) return Printable(reply) + "\n";
  std::string table;
  for (const Row& row : kRows) {
    std::string label = row.label;
    label.resize(15, ' ');
    table += label + Printable(object.value(row.key, "")) + "\n";
  }
  return table;
}

}  // namespace

int RunInfo(const Config& config) {
  const std::string port = PortName(config.port);
  const std::string number = PortNumber(port);
  if (number.empty()) return PrintNoNumber(config);
  const Outcome outcome = Ask(port, number);
  const std::string reply = outcome.reply.text;
  if (reply.empty()) return PrintCallFailure(config, kCommCall, outcome, port);
  // With --json the reply is this command's object, for a failure too.
  Config plain = config;
  plain.json = false;
  const bool described = outcome.reply.rc == FG_OK;
  int exit_code = kExitOk;
  if (described || config.json) {
    exit_code =
        PrintResult(plain, {}, config.json ? reply + "\n" : Table(reply));
  }
  return described ? exit_code
                   : PrintCallFailure(plain, kCommCall, outcome, port);
}

}  // namespace corvex::mvfp

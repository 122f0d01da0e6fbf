// info: what the driver's JSON entry tells about a reader.
#include <nlohmann/json.hpp>

#include "calls/driver.h"
#include "calls/result_codes.h"
#include "commands/commands.h"
#include "patterns.h"
#include "ports/port.h"

namespace corvex::mvfp {
namespace {

constexpr Help kHelp = {
    "info", "Print what the driver's JSON entry tells",
    R"(Brand, model, firmware, serial number and date of production. The entry knows
ports by number: 3 is /dev/COM3, a name that mvfp bind makes. With --json the
entry's reply is printed as it is.

Examples:
  sudo mvfp bind 3 --port ttyUSB0
  mvfp info --port 3
  mvfp info --port COM3 --json
)"};

static_assert(DEV_REPLY_BYTES <= sizeof Reply::text);

// The entry knows ports by number: COM3, or 3.
std::string NumberOf(const std::string& given) {
  const auto found =
      FindPattern(PortName(given), "^(?:COM)?(0|[1-9][0-9]{0,8})$");
  if (!found.empty()) return found[1];
  throw UsageFailure(
      given.empty() ? "no port given" : "\"" + given + "\" is no port COM<n>",
      "the JSON entry asks by number; give the port a name like /dev/COM3, as "
      "in sudo mvfp bind 3 --port ttyUSB0, and use --port COM3; " +
          KnownPorts());
}

// The rows that people read; a reply that is no JSON, because the serial
// number holds just any bytes, is shown as it is.
std::string Table(const std::string& reply) {
  const Json object = Json::parse(reply, nullptr, false);
  if (!object.is_object()) return reply + "\n";
  const auto row = [&](const char* label, const char* key) {
    return label + object.value(key, "") + "\n";
  };
  return row("brand          ", "DeviceBrand") +
         row("model          ", "DeviceModel") +
         row("firmware       ", "DeviceVersion") +
         row("serial number  ", "DeviceSN") +
         row("produced       ", "ProductionDate") +
         row("library        ", "DllVersion");
}

int Info(const Report& report, const DeviceOptions& given) {
  const std::string number = NumberOf(given.port);
  DeviceOptions options = given;
  options.port = "COM" + number;
  const std::string request =
      Json{{"FunctionCode", "0001"}, {"RequestPort", number}}.dump();
  const auto call = MVFP_DRIVER_CALL(DEV_CommCall);
  const Reply reply = RunDeviceCall(
      call.name, options,
      [&](const char* /*port*/, const char* /*box*/, Reply* to) {
        char reserved = 0;
        unsigned int length = 0;
        return call.run(request.c_str(), &reserved, to->text, &length);
      });
  const std::string text = reply.text;
  const Report plain("info", false);
  if (reply.rc == FG_OK) {
    return plain.Result({},
                        report.IsJson() ? text + "\n" : Printable(Table(text)));
  }
  const Failure failure = CallFailure(call.name, reply, options);
  if (text.empty() || !report.IsJson()) throw Failure(failure);
  // The reply is this command's object, for a failure too.
  plain.Result({}, text + "\n");
  return plain.Failed(failure);
}

}  // namespace

void AddInfo(CommandLine* line) {
  const auto [arguments, options] = line->Add(kHelp, Info);
  AddPortOption(arguments, &options->port);
  AddWaitOption(arguments, &options->wait_s);
}

}  // namespace corvex::mvfp

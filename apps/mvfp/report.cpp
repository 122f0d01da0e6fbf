#include "report.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace corvex::mvfp {
namespace {

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F;
}

bool Write(const std::string& text) {
  return fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
         fflush(stdout) == 0;
}

// A reader or a file name may hold anything, so bytes that are not UTF-8 are
// replaced: the object stays valid.
bool WriteObject(const Config& config, bool ok, const Json& fields) {
  Json object = {{"ok", ok}, {"command", config.command}};
  object.update(fields);
  return Write(object.dump(-1, ' ', false, Json::error_handler_t::replace) +
               "\n");
}

int SayUnwritable() {
  Say(std::string("cannot write to standard output: ") + strerror(errno));
  return kExitFailed;
}

}  // namespace

std::string Printable(const std::string& text) {
  std::string printable = text;
  for (char& c : printable) {
    if (IsControl(c)) c = '?';
  }
  return printable;
}

void Say(const std::string& text) {
  fprintf(stderr, "mvfp: %s\n", Printable(text).c_str());
}

int PrintResult(const Config& config, const Json& fields,
                const std::string& text, ExitCode exit_code) {
  const bool written =
      config.json ? WriteObject(config, true, fields) : Write(text);
  return written ? exit_code : SayUnwritable();
}

int PrintFailure(const Config& config, const Failure& failure) {
  Say(failure.what);
  if (!failure.next.empty()) Say(failure.next);
  if (!config.json) return failure.exit_code;
  Json error = {{"what", failure.what}, {"next", failure.next}};
  error.update(failure.details);
  const Json fields = {{"exit_code", failure.exit_code}, {"error", error}};
  return WriteObject(config, false, fields) ? failure.exit_code
                                            : SayUnwritable();
}

int PrintUsage(const Config& config, const std::string& what,
               const std::string& next) {
  Failure failure;
  failure.exit_code = kExitUsage;
  failure.what = what;
  failure.next = next;
  return PrintFailure(config, failure);
}

}  // namespace corvex::mvfp

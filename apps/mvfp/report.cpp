#include "report.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

namespace corvex::mvfp {
namespace {

bool Write(const std::string& text) {
  return fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
         fflush(stdout) == 0 && ferror(stdout) == 0;
}

int SayUnwritable() {
  Say(std::string("cannot write to standard output: ") + strerror(errno));
  return kExitFailed;
}

}  // namespace

std::shared_ptr<const Json> Details(const Json& fields) {
  return std::make_shared<const Json>(fields);
}

std::shared_ptr<const Json> SignalDetails(int number) {
  return Details({{"signal", number}});
}

Failure UsageFailure(const std::string& what, const std::string& next) {
  return {what, next, kExitUsage};
}

Failure SystemFailure(const std::string& verb, const std::string& path,
                      const std::string& next, int exit_code) {
  return {"cannot " + verb + " " + path + ": " + strerror(errno), next,
          exit_code};
}

std::string Printable(std::string text) {
  const auto is_control = [](unsigned char c) {
    return (c < 0x20 && c != '\n' && c != '\t') || c == 0x7F;
  };
  std::replace_if(text.begin(), text.end(), is_control, '?');
  return text;
}

std::string AsRoot(const std::string& command) {
  return (geteuid() == 0 ? "" : "sudo ") + command;
}

void Say(const std::string& text) {
  fprintf(stderr, "mvfp: %s\n", Printable(text).c_str());
}

int Report::Result(const Json& fields, const std::string& text,
                   int exit_code) const {
  const bool written = json_ ? WriteObject(true, fields) : Write(text);
  return written ? exit_code : SayUnwritable();
}

int Report::Failed(const Failure& failure) const {
  Say(failure.what);
  if (!failure.next.empty()) Say(failure.next);
  if (!json_) return failure.exit_code;
  Json error = {{"what", failure.what}, {"next", failure.next}};
  if (failure.details != nullptr) error.update(*failure.details);
  const Json fields = {{"exit_code", failure.exit_code}, {"error", error}};
  return WriteObject(false, fields) ? failure.exit_code : SayUnwritable();
}

// A reader or a file name may hold anything, so bytes that are not UTF-8 are
// replaced: the object stays valid.
bool Report::WriteObject(bool ok, const Json& fields) const {
  Json object = {{"ok", ok}, {"command", command_}};
  object.update(fields);
  return Write(object.dump(-1, ' ', false, Json::error_handler_t::replace) +
               "\n");
}

}  // namespace corvex::mvfp

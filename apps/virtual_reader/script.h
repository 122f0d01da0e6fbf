// The script language: what happens to the reader, one command after another.
// docs/virtual-reader.md describes it for its users.
#ifndef APPS_VIRTUAL_READER_SCRIPT_H_
#define APPS_VIRTUAL_READER_SCRIPT_H_

#include <chrono>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "virtual_reader/device.h"

namespace corvex::vreader {

struct PressStep {
  std::string finger;
  int impression = 0;  // 0: a new one at every capture
  std::string where;   // for messages: "line 3"
};
struct LiftStep {};
struct WaitStep {
  std::chrono::milliseconds time;
};
struct WaitForStep {
  int Tally::*counter;
  int count;  // how many more
};
struct FaultStep {
  Fault fault;
};
struct VersionStep {
  Bytes version;
};
struct SerialStep {
  Bytes serial;
};
struct UnplugStep {};
struct QuitStep {};

using Step = std::variant<PressStep, LiftStep, WaitStep, WaitForStep, FaultStep,
                          VersionStep, SerialStep, UnplugStep, QuitStep>;

struct Script {
  std::vector<Step> steps;
  std::vector<std::string> errors;  // each names its line and token
};

// Lines count from `first_line`. Steps of faultless commands are kept even
// when others have errors.
Script ParseScript(std::string_view text, int first_line = 1);

// An error for every press of a finger that the book does not hold.
std::vector<std::string> FindMissing(const Script& script,
                                     const FingerBook& book);

}  // namespace corvex::vreader

#endif  // APPS_VIRTUAL_READER_SCRIPT_H_

#include <filesystem>
#include <sstream>

#include "doctor/checks.h"
#include "machine/processes.h"
#include "report.h"

namespace corvex::mvfp::doctor {

// The service tries itself and prints lines like those of doctor.
std::vector<Finding> TryWeb() {
  const auto service = std::filesystem::read_symlink("/proc/self/exe")
                           .replace_filename("mvfp-web");
  if (!std::filesystem::exists(service)) {
    return {{kNote, "web", "there is no " + service.string(),
             AsRoot("apt-get install ./mv-fpi-web_*.deb")}};
  }
  std::vector<Finding> findings;
  std::istringstream lines(OutputOf("'" + service.string() + "' --check"));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string first, second, rest;
    std::getline(words >> first >> second >> std::ws, rest);
    if (first == "$" && !findings.empty()) {
      findings.back().command = second.append(" ").append(rest);
    } else {
      // Without pages the reader's calls go on all the same.
      findings.push_back({first == kOk ? kOk : kNote, second, rest, ""});
    }
  }
  // Bad settings end it before it tries anything.
  if (findings.empty()) {
    return {{kNote, "web", "the service tried nothing", "mvfp-web --check"}};
  }
  return findings;
}

}  // namespace corvex::mvfp::doctor

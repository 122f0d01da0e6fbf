// What a host sends to the virtual reader, in pieces as a line gives them.
#include "fuzzing.h"
#include "virtual_reader/device.h"
#include "virtual_reader/request.h"

using corvex::vreader::Device;
using corvex::vreader::Fault;
using corvex::vreader::FingerBook;
using corvex::vreader::FrameText;
using corvex::vreader::RequestScanner;

// Each line goes to the reader at once. Nothing that it was sent may be lost.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzing::Input input(data, size);
  RequestScanner scanner;
  Device device({2, 15}, {'C', 'X'}, FingerBook());
  device.Press({0x12, 0x84, 0x00});
  std::string sent;
  std::string understood;
  while (!input.Empty()) {
    const std::string piece = input.Line();
    sent += piece;
    scanner.Feed(piece);
    while (auto request = scanner.Next()) {
      understood += request->text;
      const auto reply = device.Answer(&*request);
      if (reply) MUST(!FrameText(*reply, device.TakeFault(*request)).empty());
      MUST(request->problem.empty() || !request->Error().empty());
    }
  }
  if (const auto rest = scanner.Incomplete()) understood += rest->text;
  MUST(understood == sent);
  return 0;
}

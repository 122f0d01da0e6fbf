// A script for the virtual reader, and the same text as a file of records.
#include "fuzzing.h"
#include "virtual_reader/record_file.h"
#include "virtual_reader/reply.h"
#include "virtual_reader/script.h"

using corvex::vreader::Deliver;
using corvex::vreader::FaultStep;
using corvex::vreader::FindMissing;
using corvex::vreader::FingerBook;
using corvex::vreader::FrameText;
using corvex::vreader::ParseRecords;
using corvex::vreader::ParseScript;
using corvex::vreader::Reply;
using corvex::vreader::Script;

// Spoils a reply as each step says: a script's positions may lie anywhere.
void Spoil(const Script& script) {
  const Reply reply{0x10, 0, {2, 15}};
  for (const auto& step : script.steps) {
    const auto* const spoiled = std::get_if<FaultStep>(&step);
    if (spoiled == nullptr) continue;
    Deliver(FrameText(reply, spoiled->fault), spoiled->fault);
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const Script script = ParseScript(text);
  for (const std::string& error : script.errors) MUST(!error.empty());
  Spoil(script);
  const auto records = ParseRecords(text);
  FindMissing(script, records.book);
  FindMissing(script, FingerBook());
  return 0;
}

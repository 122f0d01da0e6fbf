// A stand-in for the algorithm library: a TEST DOUBLE that matches nothing and
// merges nothing. It answers as the script beside it says (its own path plus
// ".script") and writes down every call (its own path plus ".calls"). Both
// files, and what each answer is without a script, are described in
// docs/algorithm-library.md.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/tab_file.h"

#define ENTRY_POINT extern "C" __attribute__((visibility("default")))

namespace {

using Words = std::vector<std::string>;

constexpr int32_t kRecordBytes = 1024;

int instance;              // its address is the handle
size_t init_attempts = 0;  // starts anew with every load

std::string FileBesideMe(const char* suffix) {
  Dl_info own{};
  dladdr(&instance, &own);
  return std::string(own.dli_fname) + suffix;
}

// The words after `key` in the script. Read at every call, so that a script
// may be changed while the library is loaded.
Words Scripted(const std::string& key) {
  std::ifstream script(FileBesideMe(".script"));
  for (std::string line; std::getline(script, line);) {
    std::istringstream text(line);
    const Words words{std::istream_iterator<std::string>(text), {}};
    if (!words.empty() && words[0] == key)
      return {++words.begin(), words.end()};
  }
  return {};
}

// The i-th number after `key`; the last one stands for all that follow.
int32_t Number(const char* key, int32_t otherwise, size_t i = 0) {
  const Words words = Scripted(key);
  if (words.empty()) return otherwise;
  return atoi(words[std::min(i, words.size() - 1)].c_str());
}

void Delay(const char* key) {
  usleep(static_cast<useconds_t>(Number(key, 0)) * 1000);
}

// Takes one call, and nothing in a directory that nobody may write.
std::ofstream Calls() {
  return std::ofstream(FileBesideMe(".calls"), std::ios::app);
}

// In hex, without the zeros that fill its slot.
std::string Hex(const uint8_t* record, int32_t size) {
  while (size > 0 && record[size - 1] == 0) --size;
  return support::ToHex(record, static_cast<size_t>(size));
}

const char* HandleName(const void* handle) {
  if (handle == nullptr) return "null";
  return handle == &instance ? "mine" : "stranger";
}

}  // namespace

ENTRY_POINT int32_t MvViewVersn(int32_t* first, int32_t* second,
                                uint16_t* part) {
  *first = Number("version", 1, 0);
  *second = Number("version", 2, 1);
  for (size_t i = 0; i < 4; ++i) {
    part[i] = static_cast<uint16_t>(Number("version", 0, 2 + i));
  }
  Calls() << "MvViewVersn\n";
  return 0;
}

ENTRY_POINT int32_t MvViewDinit(void** handle) {
  Delay("init_ms");
  const int32_t result = Number("init", 0, init_attempts++);
  if (result >= 0 && Number("handle", 1) != 0) *handle = &instance;
  Calls() << "MvViewDinit -> " << result << '\n';
  return result;
}

ENTRY_POINT int32_t MvViewDexit(void* handle) {
  Calls() << "MvViewDexit " << HandleName(handle) << '\n';
  return 0;
}

ENTRY_POINT int32_t MvViewMatch(const uint8_t* first, const uint8_t* second,
                                int32_t zero, int32_t also_zero) {
  Delay("match_ms");
  const int32_t score = Number("score", 60);
  Calls() << "MvViewMatch " << Hex(first, kRecordBytes) << ' '
          << Hex(second, kRecordBytes) << ' ' << zero << ' ' << also_zero
          << " -> " << score << '\n';
  return score;
}

// Gives the scripted template, or else the first capture.
ENTRY_POINT int32_t OrvSynMinut(const uint8_t* captures, int32_t count,
                                int32_t stride, uint8_t* tmpl,
                                int32_t* tmpl_len, int32_t* best_index,
                                int32_t zero, void* handle) {
  Delay("synth_ms");
  const Words scripted = Scripted("template");
  support::Bytes merged(captures, captures + stride);
  if (!scripted.empty()) merged = support::FromHex(scripted[0]);
  const int32_t size =
      std::min(kRecordBytes, static_cast<int32_t>(merged.size()));
  std::copy_n(merged.begin(), size, tmpl);
  *tmpl_len = Number("length", size);
  *best_index = Number("best", 0);
  const int32_t score = Number("synth", 60);
  std::ofstream calls = Calls();
  calls << "OrvSynMinut ";
  for (int32_t i = 0; i < count; ++i) {
    calls << Hex(captures + i * stride, stride) << ' ';
  }
  calls << count << ' ' << stride << ' ' << zero << ' ' << HandleName(handle)
        << " -> " << score << '\n';
  return score;
}

// Bound by the driver and never called.
ENTRY_POINT void MvViewMinut() { Calls() << "MvViewMinut\n"; }
ENTRY_POINT void MvViewImMut() { Calls() << "MvViewImMut\n"; }
ENTRY_POINT void MvViewDetct() { Calls() << "MvViewDetct\n"; }
ENTRY_POINT void MvChckMinut() { Calls() << "MvChckMinut\n"; }

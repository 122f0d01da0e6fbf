// A stand-in for the algorithm library: a TEST DOUBLE that matches nothing and
// merges nothing. It answers as the script beside it says (its own path plus
// ".script") and writes down every call (its own path plus ".calls"). Both
// files, and what each answer is without a script, are described in
// docs/algorithm-library.md.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#define ENTRY_POINT extern "C" __attribute__((visibility("default")))

namespace {

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
std::vector<std::string> Scripted(const std::string& key) {
  std::ifstream script(FileBesideMe(".script"));
  for (std::string line; std::getline(script, line);) {
    std::istringstream words(line);
    std::string word;
    if (!(words >> word) || word != key) continue;
    std::vector<std::string> values;
    while (words >> word) values.push_back(word);
    return values;
  }
  return {};
}

// The i-th number after `key`; the last one stands for all that follow.
int32_t Number(const char* key, int32_t otherwise, size_t i = 0) {
  const std::vector<std::string> values = Scripted(key);
  if (values.empty()) return otherwise;
  return atoi(values[std::min(i, values.size() - 1)].c_str());
}

void Delay(const char* key) {
  usleep(static_cast<useconds_t>(Number(key, 0)) * 1000);
}

__attribute__((format(printf, 1, 2))) void Record(const char* format, ...) {
  FILE* const calls = fopen(FileBesideMe(".calls").c_str(), "a");
  if (calls == nullptr) return;  // a directory that nobody may write
  va_list args;
  va_start(args, format);
  vfprintf(calls, format, args);
  va_end(args);
  fclose(calls);
}

// In hex, without the zeros that fill its slot.
std::string Hex(const uint8_t* record, int32_t size) {
  while (size > 0 && record[size - 1] == 0) --size;
  std::string text;
  for (int32_t i = 0; i < size; ++i) {
    char byte[3];
    snprintf(byte, sizeof byte, "%02X", record[i]);
    text += byte;
  }
  return text;
}

const char* HandleName(const void* handle) {
  if (handle == nullptr) return "null";
  return handle == &instance ? "mine" : "stranger";
}

// Writes the scripted template, or else the first capture.
int32_t WriteTemplate(const uint8_t* captures, int32_t stride, uint8_t* out) {
  const std::vector<std::string> scripted = Scripted("template");
  if (scripted.empty()) {
    const int32_t size = std::min(stride, kRecordBytes);
    memcpy(out, captures, static_cast<size_t>(size));
    return size;
  }
  const std::string& hex = scripted[0];
  const size_t size = std::min<size_t>(hex.size() / 2, kRecordBytes);
  for (size_t i = 0; i < size; ++i) {
    out[i] =
        static_cast<uint8_t>(strtol(hex.substr(2 * i, 2).c_str(), nullptr, 16));
  }
  return static_cast<int32_t>(size);
}

}  // namespace

ENTRY_POINT int32_t MvViewVersn(int32_t* first, int32_t* second,
                                uint16_t* part) {
  *first = Number("version", 1, 0);
  *second = Number("version", 2, 1);
  for (size_t i = 0; i < 4; ++i) {
    part[i] = static_cast<uint16_t>(Number("version", 0, 2 + i));
  }
  Record("MvViewVersn\n");
  return 0;
}

ENTRY_POINT int32_t MvViewDinit(void** handle) {
  Delay("init_ms");
  const int32_t result = Number("init", 0, init_attempts++);
  if (result >= 0 && Number("handle", 1) != 0) *handle = &instance;
  Record("MvViewDinit -> %d\n", result);
  return result;
}

ENTRY_POINT int32_t MvViewDexit(void* handle) {
  Record("MvViewDexit %s\n", HandleName(handle));
  return 0;
}

ENTRY_POINT int32_t MvViewMatch(const uint8_t* first, const uint8_t* second,
                                int32_t zero, int32_t also_zero) {
  Delay("match_ms");
  const int32_t score = Number("score", 60);
  Record("MvViewMatch %s %s %d %d -> %d\n", Hex(first, kRecordBytes).c_str(),
         Hex(second, kRecordBytes).c_str(), zero, also_zero, score);
  return score;
}

ENTRY_POINT int32_t OrvSynMinut(const uint8_t* captures, int32_t count,
                                int32_t stride, uint8_t* tmpl,
                                int32_t* tmpl_len, int32_t* best_index,
                                int32_t zero, void* handle) {
  Delay("synth_ms");
  std::string slots;
  for (int32_t i = 0; i < count; ++i) {
    slots += Hex(captures + i * stride, stride) + " ";
  }
  *tmpl_len = Number("length", WriteTemplate(captures, stride, tmpl));
  *best_index = Number("best", 0);
  const int32_t score = Number("synth", 60);
  Record("OrvSynMinut %s%d %d %d %s -> %d\n", slots.c_str(), count, stride,
         zero, HandleName(handle), score);
  return score;
}

// Bound by the driver and never called.
ENTRY_POINT void MvViewMinut() { Record("MvViewMinut\n"); }
ENTRY_POINT void MvViewImMut() { Record("MvViewImMut\n"); }
ENTRY_POINT void MvViewDetct() { Record("MvViewDetct\n"); }
ENTRY_POINT void MvChckMinut() { Record("MvChckMinut\n"); }

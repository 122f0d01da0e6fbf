#include "MvMatch/MvMatch.h"

#include <mutex>

#include "MvMatch/minutiae_record.h"
#include "MvMatch/plain_matcher.h"

namespace {

std::mutex g_mutex;
corvex::plain::Matcher g_matcher;

}  // namespace

int32_t MivoMatchFinger(const uint8_t* first_record,
                        const uint8_t* second_record) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  return g_matcher.MivoMatchFinger(first_record, second_record);
}

int32_t GetMivoMinutLen(const uint8_t* record) {
  return corvex::RecordLength(record);
}

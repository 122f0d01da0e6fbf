#include "MvMatch/MvMatch.h"

#include "MvMatch/minutiae_record.h"
#include "MvMatch/thread_matchers.h"
#include "mv_base/wipe.h"

int32_t _MivoMatchFinger(const corvex::WorkingForm* first_working,
                         const corvex::WorkingForm* second_working) {
  return corvex::CompareInThread(corvex::kComparisonMatcher, *first_working,
                                 *second_working);
}

int32_t MivoMatchFinger(const uint8_t* first_record,
                        const uint8_t* second_record) {
  if (first_record == nullptr || second_record == nullptr) {
    return corvex::kBadRecord;
  }
  corvex::WorkingForm first;
  corvex::WorkingForm second;
  const corvex::WipeAtEnd wipe_first(&first);
  const corvex::WipeAtEnd wipe_second(&second);
  if (ConvertTransferFormat(&first, first_record) == 0 ||
      ConvertTransferFormat(&second, second_record) == 0) {
    return corvex::kBadRecord;
  }
  return _MivoMatchFinger(&first, &second);
}

int32_t GetMivoMinutLen(const uint8_t* record) {
  return corvex::RecordLength(record);
}

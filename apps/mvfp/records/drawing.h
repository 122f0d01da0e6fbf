// A picture of a record's minutiae.
#ifndef APPS_MVFP_RECORDS_DRAWING_H_
#define APPS_MVFP_RECORDS_DRAWING_H_

#include <string>

#include "picture/page.h"
#include "records/record.h"

namespace corvex::mvfp {

// The file of a picture with the minutiae, their direction, kind and weight,
// and a legend.
std::string DrawRecord(const Record& record, const std::string& title,
                       PictureFormat format);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_RECORDS_DRAWING_H_

// Where the files lie that the driver's own code was loaded from.
#ifndef SRC_MV_BASE_OWN_FILE_H_
#define SRC_MV_BASE_OWN_FILE_H_

#include <cstddef>
#include <cstdint>

namespace corvex {

// Copies the directory of the file that holds `address`, without a final '/',
// into `directory`. Returns the length of the part cut off, '/' included, or -1
// when there is no such path or it does not fit.
int32_t DirectoryOfFileWith(const void* address, char* directory, size_t bytes);

}  // namespace corvex

#endif  // SRC_MV_BASE_OWN_FILE_H_

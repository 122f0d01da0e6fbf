// What stands for a record where the record itself must not be shown.
#ifndef APPS_MVFP_RECORDS_DIGEST_H_
#define APPS_MVFP_RECORDS_DIGEST_H_

#include <string>

namespace corvex::mvfp {

// SHA-256 in hexadecimal digits, as sha256sum prints it.
std::string Sha256(const std::string& bytes);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_RECORDS_DIGEST_H_

// Whether a page would be served: knocks at the running service as a browser
// does, and says what is wrong and what mends it.
#ifndef APPS_MVFP_WEB_CHECK_H_
#define APPS_MVFP_WEB_CHECK_H_

#include "mvfp_web/settings.h"

namespace corvex::mvfp_web {

// Prints a line for each thing that was tried, as `mvfp doctor` does. Returns
// whether all is well.
bool CheckService(const Settings& settings);

}  // namespace corvex::mvfp_web

#endif  // APPS_MVFP_WEB_CHECK_H_

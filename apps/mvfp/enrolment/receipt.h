// What came of an enrolment, and the account of it that a site may keep: no
// value of the print is in it.
#ifndef APPS_MVFP_ENROLMENT_RECEIPT_H_
#define APPS_MVFP_ENROLMENT_RECEIPT_H_

#include <optional>
#include <string>
#include <vector>

#include "enrolment/presses.h"
#include "gallery/searchable.h"
#include "report.h"

namespace corvex::mvfp {

// One more press, compared with the template.
struct HeldOut {
  Press press;
  int score;
  int level;  // the highest that it passes
};

struct Stored {
  std::string id;
  std::string finger;
  std::string gallery;
};

struct Enrolment {
  std::string text;                // the template
  std::optional<Presses> presses;  // unless the driver took them
  std::optional<HeldOut> check;
  std::optional<Hit> twin;  // the same finger under another id
  std::vector<std::string> warnings;
  std::optional<Stored> stored;
  std::string outcome;  // "kept", or why it was not
};

// The reader's version and serial number, null where it does not tell.
Json AskReader(const DeviceOptions& options);

// Null where it was not stored.
Json StoredOf(const Enrolment& enrolment);

Json ReceiptOf(const Enrolment& enrolment, const Json& reader);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_ENROLMENT_RECEIPT_H_

#include "enrolment/receipt.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <nlohmann/json.hpp>

#include "calls/driver.h"
#include "calls/queries.h"
#include "mv_base/base64.h"
#include "mv_base/record_kind.h"
#include "records/digest.h"
#include "records/record_bytes.h"

namespace corvex::mvfp {
namespace {

std::string Now() {
  const time_t now = time(nullptr);
  tm utc{};
  std::array<char, 32> text{};
  strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ",
           gmtime_r(&now, &utc));
  return text.data();
}

Json Ask(const DeviceOptions& options, const char* query) {
  const Reply reply = AskForText(query, options);
  return reply.rc == FG_OK ? Json(Printable(reply.text)) : Json(nullptr);
}

std::string BytesOf(const std::string& text) {
  std::string bytes(text.size(), '\0');
  const int32_t length =
      DecodeB64(reinterpret_cast<uint8_t*>(bytes.data()), text.data(),
                static_cast<int32_t>(text.size()));
  bytes.resize(static_cast<size_t>(std::max(length, 0)));
  return bytes;
}

// What only the algorithm library reads has no count of ours.
Json MinutiaeOf(const std::string& record) {
  const bool ours =
      record.size() > 2 &&
      cx_chkmut(reinterpret_cast<const uint8_t*>(record.data())) <= 0;
  return ours ? Json(CountMinutiae(record)) : Json(nullptr);
}

Json TemplateOf(const Enrolment& enrolment) {
  const std::string bytes = BytesOf(enrolment.text);
  Json made = {{"bytes", bytes.size()},
               {"minutiae", MinutiaeOf(bytes)},
               {"sha256", Sha256(bytes)}};
  if (enrolment.presses) made["press"] = enrolment.presses->chosen + 1;
  return made;
}

Json PressesOf(const Enrolment& enrolment) {
  if (!enrolment.presses) return nullptr;
  Json presses = Json::array();
  for (const Press& press : enrolment.presses->all) {
    Json told = {{"minutiae", CountMinutiae(press.record)}};
    if (!presses.empty()) told["lifted_before"] = press.lifted;
    presses.push_back(told);
  }
  return presses;
}

Json PairsOf(const Enrolment& enrolment) {
  if (!enrolment.presses) return nullptr;
  Json pairs = Json::array();
  for (const PressPair& pair : enrolment.presses->pairs) {
    pairs.push_back({{"first", pair.first + 1},
                     {"second", pair.second + 1},
                     {"score", pair.score},
                     {"in_place_percent", pair.in_place_percent}});
  }
  return pairs;
}

Json CheckOf(const Enrolment& enrolment) {
  if (!enrolment.check) return nullptr;
  const HeldOut& check = *enrolment.check;
  return {{"minutiae", MinutiaeOf(check.press.record)},
          {"lifted_before", check.press.lifted},
          {"score", check.score},
          {"level", check.level}};
}

Json TwinOf(const Enrolment& enrolment) {
  return enrolment.twin ? FieldsOf(*enrolment.twin) : Json(nullptr);
}

}  // namespace

Json AskReader(const DeviceOptions& options) {
  return {{"port", PortOf(options)},
          {"box", options.box},
          {"version", Ask(options, kVersionQuery)},
          {"serial_number", Ask(options, kSnQuery)}};
}

Json StoredOf(const Enrolment& enrolment) {
  if (!enrolment.stored) return nullptr;
  return {{"id", enrolment.stored->id},
          {"finger", enrolment.stored->finger},
          {"gallery", enrolment.stored->gallery}};
}

Json ReceiptOf(const Enrolment& enrolment, const Json& reader) {
  return {{"when", Now()},
          {"outcome", enrolment.outcome},
          {"reader", reader},
          {"presses", PressesOf(enrolment)},
          {"pairs", PairsOf(enrolment)},
          {"template", TemplateOf(enrolment)},
          {"check", CheckOf(enrolment)},
          {"enrolled_as", TwinOf(enrolment)},
          {"stored", StoredOf(enrolment)},
          {"warnings", enrolment.warnings},
          {"versions", {{"mvfp", MVFP_VERSION}, {"driver", DriverVersion()}}}};
}

}  // namespace corvex::mvfp

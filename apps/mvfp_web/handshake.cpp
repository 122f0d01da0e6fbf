#include "mvfp_web/handshake.h"

#include <QHash>
#include <algorithm>
#include <cstring>

namespace corvex::mvfp_web {
namespace {

using Headers = QHash<QByteArray, QByteArray>;

constexpr qsizetype kLongestShown = 200;
constexpr char kBadRequest[] = "400 Bad Request";

Judgement Refuse(const char* status, const QByteArray& why) {
  return {Judgement::kRefused, status, why};
}

bool IsToken(const QByteArray& name) {
  static constexpr char kMarks[] = "!#$%&'*+-.^_`|~";
  const auto fits = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           (c >= '0' && c <= '9') || (c != '\0' && strchr(kMarks, c));
  };
  return !name.isEmpty() && std::all_of(name.begin(), name.end(), fits);
}

bool IsPrintable(const QByteArray& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return c >= ' ' && c <= '~'; });
}

// False for whatever two readers of the same bytes could understand in two
// ways: a name twice, a line that goes on, a control character.
bool ReadHeaders(const QByteArrayList& lines, Headers* headers) {
  for (const QByteArray& line : lines) {
    const qsizetype colon = line.indexOf(':');
    const QByteArray name = line.left(std::max<qsizetype>(colon, 0)).toLower();
    if (!IsToken(name) || !IsPrintable(line) || headers->contains(name)) {
      return false;
    }
    headers->insert(name, line.mid(colon + 1).trimmed());
  }
  return true;
}

bool AsksForWebSocket(const Headers& headers) {
  return headers["upgrade"].toLower() == "websocket" &&
         headers["sec-websocket-version"] == "13" &&
         headers.contains("sec-websocket-key");
}

Judgement JudgeOrigin(const Headers& headers, const QStringList& origins) {
  const QByteArray origin = headers["origin"];
  if (!origin.isEmpty() && origins.contains(QLatin1String(origin))) {
    return {Judgement::kWelcome, "", ""};
  }
  if (origin == "null") {
    return Refuse("403 Forbidden",
                  "a page from a file has no origin of its own; serve it over "
                  "http, and allow that origin");
  }
  return Refuse("403 Forbidden",
                origin.isEmpty()
                    ? "no Origin was sent; only browsers are served"
                    : "the origin " + origin.left(kLongestShown) +
                          " is not allowed; the machine's owner lists origins "
                          "as allow-origin in /etc/mv-fpi/web.conf");
}

}  // namespace

Judgement Judge(const QByteArray& head, const QByteArrayList& hosts,
                const QStringList& origins) {
  const qsizetype end = head.indexOf("\r\n\r\n");
  if (end < 0 && head.size() < kLongestHead) return {};
  if (end < 0) {
    return Refuse("431 Request Header Fields Too Large", "too many headers");
  }
  QByteArrayList lines = head.left(end).replace("\r\n", "\n").split('\n');
  const QByteArray request = lines.takeFirst();
  Headers headers;
  if (!IsPrintable(request) || !ReadHeaders(lines, &headers)) {
    return Refuse(kBadRequest, "malformed request");
  }
  if (!request.startsWith("GET ")) {
    return Refuse("405 Method Not Allowed", "this is a WebSocket service");
  }
  if (request != "GET / HTTP/1.1") {
    return Refuse("404 Not Found", "there is one resource: /");
  }
  if (!hosts.contains(headers["host"])) {
    return Refuse("421 Misdirected Request",
                  "this service is none of that host's");
  }
  if (!AsksForWebSocket(headers)) {
    return Refuse("426 Upgrade Required", "this is a WebSocket service");
  }
  return JudgeOrigin(headers, origins);
}

}  // namespace corvex::mvfp_web

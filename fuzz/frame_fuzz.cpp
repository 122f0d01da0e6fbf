// A reader's reply, as it comes over the line, to each of the commands. The
// line is a socket whose other end has said all: a read that finds no more
// ends at once instead of after ten seconds.
#include <sys/socket.h>
#include <unistd.h>

#include "fuzzing.h"
#include "mv_cmd/commands.h"
#include "mv_cmd/frame.h"

namespace {

using fuzzing::Input;

class Line {
 public:
  Line() { MUST(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_) == 0); }
  ~Line() {
    close(ends_[0]);
    close(ends_[1]);
  }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  int Host() const { return ends_[0]; }
  void SendAll(const std::string& bytes) const {
    MUST(write(ends_[1], bytes.data(), bytes.size()) ==
         static_cast<ssize_t>(bytes.size()));
    shutdown(ends_[1], SHUT_WR);
  }

 private:
  int ends_[2];
};

// `out` is as large as its caller must make it, so that the address sanitizer
// sees a byte too many.
void Exchange(int fd, uint8_t cmd) {
  const uint8_t payload[] = {0x01};
  uint8_t out[kMaxReplyBytes];
  uint32_t length = 77;
  const int32_t result =
      corvex_dev_io(fd, cmd, payload, sizeof payload, out, &length);
  MUST(result <= kMaxReplyBytes);
  MUST(length == (result > 0 ? static_cast<uint32_t>(result) : 77u));
}

void Feature(int fd, int32_t encode) {
  uint8_t out[(kMaxReplyBytes + 2) / 3 * 4 + 1];
  const int32_t result = corvex_get_feature(fd, out, encode);
  MUST(result <= static_cast<int32_t>(sizeof out) - 1);
}

void Ask(int fd, uint8_t choice) {
  char version[kVersionTextBytes];
  char serial[kSerialBytes];
  switch (choice % 8) {
    case 0: {
      const int32_t result = corvex_get_version(fd, version);
      MUST(result < kVersionTextBytes);
      MUST(result < 0 || version[result] == '\0');
      return;
    }
    case 1:
      MUST(corvex_get_sn(fd, serial) <= kSerialBytes);
      return;
    case 2:
      corvex_get_check(fd);
      return;
    case 3:
      return Feature(fd, 0);
    case 4:
      return Feature(fd, 1);
    case 5:
      corvex_set_rate(fd, 3);
      return;
    case 6:
      corvex_set_led(fd, 0);
      return;
    default:
      return Exchange(fd, choice);
  }
}

}  // namespace

// One character that chooses the command, then what the reader sends.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const uint8_t choice = input.Byte();
  const Line line;
  line.SendAll(input.Rest());
  Ask(line.Host(), choice);
  return 0;
}

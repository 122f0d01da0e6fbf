// A reader's reply, as it comes over the line, to any command: the input's
// first byte is the command, the rest what the reader sends. The line is a
// socket whose other end has said all: a read that finds no more ends at once
// instead of after ten seconds.
#include <sys/socket.h>
#include <unistd.h>

#include "fuzzing.h"
#include "mv_cmd/frame.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzing::Input input(data, size);
  const auto command = input.Take<uint8_t>();
  const std::string reply = input.Rest();
  int ends[2];
  MUST(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
  MUST(write(ends[1], reply.data(), reply.size()) ==
       static_cast<ssize_t>(reply.size()));
  shutdown(ends[1], SHUT_WR);
  // As large as a caller must make it, so that the address sanitizer sees a
  // byte too many.
  uint8_t out[kMaxReplyBytes];
  uint32_t length = 77;
  const uint8_t payload[] = {0x01};
  const int32_t result =
      corvex_dev_io(ends[0], command, payload, sizeof payload, out, &length);
  MUST(result <= kMaxReplyBytes);
  MUST(length == (result > 0 ? static_cast<uint32_t>(result) : 77u));
  close(ends[0]);
  close(ends[1]);
  return 0;
}

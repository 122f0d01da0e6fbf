// The frame around every exported device call: check, lock, open, selector,
// pause ... close, unlock. It exists once; a call states its own work and, as
// data, what it does differently.
#ifndef SRC_MV_FPI_CALL_FRAME_H_
#define SRC_MV_FPI_CALL_FRAME_H_

#include <cstdint>
#include <functional>

#include "mv_fpi.h"

namespace corvex {

// Pauses, each before what it names.
constexpr uint32_t kSettleMs = 250;   // the selector, and a call's own work
constexpr uint32_t kProbeMs = 500;    // every finger probe
constexpr uint32_t kCaptureMs = 500;  // reading the finger that a probe found
constexpr uint32_t kBeepMs = 250;     // the beep for a finger that was read

// What a call does differently from the others.
struct CallTraits {
  const char* name;
  bool logs_start = true;
  bool settles = true;  // pauses before its own work
  int32_t logged_open_failure = FG_ERR_PORT;
};

// The arguments that every device call begins with.
struct LinkArguments {
  const char* port;
  const char* bp_select;
  int32_t speed;
};

// Copies a status text into the caller's message buffer, if the call has one.
void SetMessage(char* message, const char* text);

// Runs one call around `work`, which gets the open port. The message buffer is
// null for calls without one. Work that captures more than a pointer or two is
// handed over by std::cref: copied, it would need memory and may throw.
int32_t RunCall(const CallTraits& call, const LinkArguments& link,
                char* message, bool own_arguments_ok,
                const std::function<int32_t(int32_t port)>& work);

}  // namespace corvex

#endif  // SRC_MV_FPI_CALL_FRAME_H_

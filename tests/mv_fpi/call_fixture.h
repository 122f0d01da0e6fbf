// A host, the driver and a reader on a pseudo-terminal. In these programs the
// driver's pauses take no time: they move the clock on, and are written down.
#ifndef TESTS_MV_FPI_CALL_FIXTURE_H_
#define TESTS_MV_FPI_CALL_FIXTURE_H_

#include <gtest/gtest.h>
#include <termios.h>

#include <string>

#include "mv_fpi.h"
#include "support/tab_file.h"
#include "virtual_reader/virtual_reader.h"

// A record that the matcher accepts: `count` minutiae along a spiral.
support::Bytes Record(int count);

// A record as a host has it.
std::string TextOf(const support::Bytes& record);

// Stands in for the algorithm library, whose entry points the test then sets.
void InstallLibrary(void* handle);
void RemoveLibrary();

// After every test the lock is free, the line has its settings back, nothing
// stays open, the reader has understood all, and what the test has told is as
// in expected/.
class CallTest : public testing::Test {
 public:
  // Writes down what a call does: pauses in ms, commands to the reader, and
  // what it has the prompt window do.
  void Note(const std::string& step);
  virtual void LookInPause() {}
  bool notes_steps_ = true;
  bool clock_is_set_back_ = false;  // by every pause

  // What the prompt window answers. None is opened unless a test changes it.
  struct Window {
    int opened = -18;
    int picture = 0;
    int gone_at_text = 0;  // counted from 1
  } window_;

 protected:
  struct Arguments {
    const char* port;
    const char* box;
    int speed;
    int timeout_s;
    char* out;
    int* length;
    char* message;
  };

  CallTest();
  ~CallTest() override;
  void SetUp() override;
  void TearDown() override;

  const char* Port() const { return reader_.PortName().c_str(); }
  Arguments Usual() { return {Port(), "", 9600, 20, out_, &length_, message_}; }

  // Makes the buffers fresh and forgets the steps.
  void StartCall();
  int Call(const std::string& name, const Arguments& with);

  // All that was written there since, terminators included.
  std::string Out() const;
  std::string Message() const;
  // What was done since, in order.
  std::string Steps();

  // What the test is to be compared by; a NUL shows as "~".
  void Tell(std::string text);

  corvex::vreader::VirtualReader reader_;
  char out_[FG_TEMPLATE_BYTES];
  int length_;
  char message_[FG_MESSAGE_BYTES];
  Arguments with_ = Usual();

 private:
  std::string told_;
  std::string steps_;
  size_t requests_seen_ = 0;
  termios settings_{};
  int descriptors_ = 0;
};

#endif  // TESTS_MV_FPI_CALL_FIXTURE_H_

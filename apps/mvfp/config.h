// What the command line asks for.
#ifndef APPS_MVFP_CONFIG_H_
#define APPS_MVFP_CONFIG_H_

#include <string>

namespace corvex::mvfp {

// The JSON entry knows ports by number; this many have a name here.
constexpr int kHighestCom = 255;

struct Config {
  std::string command;  // "capture", "log follow"
  bool json = false;

  bool guided = false;      // enroll: with the prompt window
  bool from_start = false;  // log follow
  bool markdown = false;    // explain

  // bind.
  bool remove = false;
  bool list = false;
  bool print = false;
  bool by_socket = false;
  int number = -1;

  // The commands with a port.
  int timeout_s = 0;
  int level = 3;  // of match
  std::string port;
  std::string box;
  std::string output;  // file for the text; "" is standard output

  // match and inspect: a text, a file's name, "@" and a file's name, or "-".
  std::string first;
  std::string second;
  std::string picture;  // file name ending in .svg or .png

  // explain: a result code, the call that gave it; "" for any.
  std::string code;
  std::string function;
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CONFIG_H_

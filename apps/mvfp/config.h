// What the command line asks for.
#ifndef APPS_MVFP_CONFIG_H_
#define APPS_MVFP_CONFIG_H_

#include <string>

namespace corvex::mvfp {

struct Config {
  std::string command;  // "capture", "log follow"
  bool json = false;

  // The device commands.
  std::string port;
  std::string box;
  int timeout_s = 0;
  std::string output;   // file for the text; "" is standard output
  bool guided = false;  // enroll: with the prompt window

  // match and inspect: a text, a file's name, "@" and a file's name, or "-".
  std::string first;
  std::string second;
  int level = 3;
  std::string picture;  // file name ending in .svg or .png

  bool from_start = false;  // log follow

  // explain: a result code, the call that gave it; "" for any.
  std::string code;
  std::string function;
  bool markdown = false;
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_CONFIG_H_

// What a command takes on the line. The library that reads the line costs the
// compiler seconds in every file that includes it: only arguments.cpp and
// command_line.cpp do.
#ifndef APPS_MVFP_ARGUMENTS_H_
#define APPS_MVFP_ARGUMENTS_H_

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace corvex::mvfp {

// An option or an argument, to be told more about.
class Argument {
 public:
  explicit Argument(CLI::Option* option) : option_(option) {}

  // What the help calls its value.
  Argument Named(const std::string& value) const;
  // The variable of the environment that stands in for it.
  Argument OrFrom(const std::string& variable) const;
  Argument OneOf(const std::vector<std::string>& values) const;
  // `problem` says what is wrong with a value; "" when nothing is.
  Argument Checked(std::string (*problem)(const std::string& value)) const;
  Argument Required() const;
  Argument Needs(const Argument& other) const;
  Argument Excludes(const Argument& other) const;

 private:
  CLI::Option* option_;
};

// The options and arguments of a command. Names as "-p,--port", or as "RECORD"
// for an argument; what is read goes to `value`, which outlives the parsing.
class Arguments {
 public:
  explicit Arguments(CLI::App* command) : command_(command) {}

  Argument Text(const std::string& names, std::string* value,
                const std::string& help) const;
  Argument Number(const std::string& names, int* value, int lowest, int highest,
                  const std::string& help) const;
  Argument Flag(const std::string& names, bool* value,
                const std::string& help) const;

 private:
  CLI::App* command_;
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_ARGUMENTS_H_

// Libraries of the system that only some commands need: loaded when the first
// of their functions is called, so that the tool starts where they are missing.
#ifndef APPS_MVFP_LIBRARIES_LIBRARY_H_
#define APPS_MVFP_LIBRARIES_LIBRARY_H_

namespace corvex::mvfp {

struct Library {
  const char* file;     // as the dynamic loader knows it
  const char* use;      // what needs it
  const char* package;  // that brings it

  // Throws a Failure where the library, or this name in it, is missing.
  void* Find(const char* name) const;
};

// One function of a library, called like the function that its header declares.
template <typename Signature>
class LibraryFunction;

template <typename Result, typename... Arguments>
class LibraryFunction<Result(Arguments...)> {
 public:
  constexpr LibraryFunction(const Library& library, const char* name)
      : library_(library), name_(name) {}

  Result operator()(Arguments... arguments) {
    if (function_ == nullptr) {
      function_ =
          reinterpret_cast<Result (*)(Arguments...)>(library_.Find(name_));
    }
    return function_(arguments...);
  }

 private:
  const Library& library_;
  const char* const name_;
  Result (*function_)(Arguments...) = nullptr;
};

}  // namespace corvex::mvfp

// Defines, in this namespace, what stands for the function of that name.
#define MVFP_LIBRARY_FUNCTION(library, name) \
  inline LibraryFunction<decltype(::name)> name(library, #name)

#endif  // APPS_MVFP_LIBRARIES_LIBRARY_H_

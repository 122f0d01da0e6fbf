// The driver's C++ runtime is its own and goes with it. What the runtime took
// from the process when it was loaded goes too: it keeps a reserve for
// exceptions in want of memory, which it leaves to the process's end. A host
// that loads the driver for each call would lose 72 KiB each time.
namespace __gnu_cxx {
void __freeres();
}

__attribute__((destructor)) static void GiveRuntimeMemoryBack() {
  __gnu_cxx::__freeres();
}

// An algorithm library that ends whoever loads it.
#include <cstdlib>

__attribute__((constructor)) static void EndProcess() { _Exit(1); }

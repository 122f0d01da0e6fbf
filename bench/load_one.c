// Loads one shared object and ends: what driver_start starts and times.
#include <dlfcn.h>
#include <stdio.h>

int main(int argc, char** argv) {
  if (argc == 2 && dlopen(argv[1], RTLD_NOW) != NULL) return 0;
  fprintf(stderr, "load_one: %s\n", argc == 2 ? dlerror() : "one file, please");
  return 1;
}

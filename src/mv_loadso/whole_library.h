// A check that the dynamic loader does not make.
#ifndef SRC_MV_LOADSO_WHOLE_LIBRARY_H_
#define SRC_MV_LOADSO_WHOLE_LIBRARY_H_

namespace corvex {

// Whether the file is a library that ends too early, as an interrupted copy
// does: dlopen would map what is not there, and the process would die of a bus
// error. False for any other file, which dlopen can judge by itself.
bool IsCutShort(const char* path);

}  // namespace corvex

#endif  // SRC_MV_LOADSO_WHOLE_LIBRARY_H_

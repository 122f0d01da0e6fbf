// Where the driver's own file lies.
#ifndef SRC_MV_LOADSO_OWN_PATH_H_
#define SRC_MV_LOADSO_OWN_PATH_H_

constexpr int kOwnDirectoryBytes = 512;

// Returns its argument; its address lies inside the driver.
int empty_dladdr(int value);

// Copies the directory of the driver's file, without a final '/', into dir_out
// (kOwnDirectoryBytes). Returns the length of the part cut off, '/' included,
// or -1 when there is no such path or it does not fit.
int mv_get_path(char* dir_out);

#endif  // SRC_MV_LOADSO_OWN_PATH_H_

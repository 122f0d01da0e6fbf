// A file whose only purpose is to be locked with flock.
#ifndef SRC_MV_BASE_LOCK_FILE_H_
#define SRC_MV_BASE_LOCK_FILE_H_

namespace corvex {

// Opens the file, made first if it is missing and its directory exists. Every
// user of the machine may lock a file made here, whatever the umask. Returns a
// close-on-exec descriptor, or -1.
int OpenLockFile(const char* path);

}  // namespace corvex

#endif  // SRC_MV_BASE_LOCK_FILE_H_

#include "mv_loadso/whole_library.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

namespace corvex {
namespace {

bool ReadAt(int file, uint64_t offset, void* out, size_t size) {
  return pread(file, out, size, static_cast<off_t>(offset)) ==
         static_cast<ssize_t>(size);
}

bool EndsWithin(uint64_t offset, uint64_t size, uint64_t file_size) {
  return offset <= file_size && size <= file_size - offset;
}

bool SegmentsEndWithin(int file, const Elf64_Ehdr& header, uint64_t size) {
  for (uint64_t i = 0; i < header.e_phnum; ++i) {
    Elf64_Phdr segment;
    if (!ReadAt(file, header.e_phoff + i * sizeof segment, &segment,
                sizeof segment)) {
      return false;
    }
    if (segment.p_type == PT_LOAD &&
        !EndsWithin(segment.p_offset, segment.p_filesz, size)) {
      return false;
    }
  }
  return true;
}

bool IsCutShort(int file) {
  struct stat about {};
  Elf64_Ehdr header;
  if (fstat(file, &about) != 0 || !S_ISREG(about.st_mode) ||
      !ReadAt(file, 0, &header, sizeof header) ||
      memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
      header.e_ident[EI_CLASS] != ELFCLASS64 ||
      header.e_phentsize != sizeof(Elf64_Phdr)) {
    return false;
  }
  return !SegmentsEndWithin(file, header, static_cast<uint64_t>(about.st_size));
}

}  // namespace

bool IsCutShort(const char* path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return false;
  const bool cut_short = IsCutShort(file);
  close(file);
  return cut_short;
}

}  // namespace corvex

// One System V shared memory segment.
#ifndef CORVEX_CAPDLG_EXTERN_SMO_OPT_SMO_BASE0_H_
#define CORVEX_CAPDLG_EXTERN_SMO_OPT_SMO_BASE0_H_

#include <cstddef>
#include <cstdint>

class CxSmoBase0 {
 public:
  CxSmoBase0() = default;
  ~CxSmoBase0() { sm_delete(); }
  CxSmoBase0(const CxSmoBase0&) = delete;
  CxSmoBase0& operator=(const CxSmoBase0&) = delete;

  // Creates or opens the segment, attaches it and owns it. 0 or -1; after a
  // failed attaching the segment is still owned.
  int32_t sm_create(const char* path, int32_t size);
  // Attaches an existing segment without owning it, in place of what was
  // attached before. 0, or -1 when there is none, when it is not ours to write
  // or smaller than `least_bytes`; what was attached then stays attached.
  int32_t sm_get_address(const char* path, size_t least_bytes = 0);
  // Removes the segment when it is owned, detaches it when attached. Always 0.
  int32_t sm_delete();

 protected:
  int32_t sm_id_ = -1;
  void* sm_address_ = nullptr;

 private:
  int32_t Attach(int id);
};

// The key by which all processes know the segment of `path`. Deliberate: -1
// when there is no such file, and then that is the key.
int32_t SegmentKey(const char* path);

#endif  // CORVEX_CAPDLG_EXTERN_SMO_OPT_SMO_BASE0_H_

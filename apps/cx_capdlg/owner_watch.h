// Tells the prompt program that the driver's process is gone.
#ifndef APPS_CX_CAPDLG_OWNER_WATCH_H_
#define APPS_CX_CAPDLG_OWNER_WATCH_H_

namespace corvex {

// The program is started through a shell, so its parent tells nothing, and a
// killed driver leaves the block behind. But the kernel counts the block's
// attachments, and a driver holds one for as long as it lives. Unlike a process
// id, the count is never reused, and it crosses PID namespaces.
class OwnerWatch {
 public:
  // Watches the block that exists now.
  OwnerWatch();

  // Whether there was a block to watch.
  bool Found() const { return segment_ != -1; }

  // Whether the block is removed, replaced, or attached by this process alone.
  // To be asked once this process has itself taken something from the block.
  bool IsGone() const;

 private:
  const int segment_;
};

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_OWNER_WATCH_H_

// One probe compared with every entry, by several threads.
#ifndef SRC_MV_GALLERY_SEARCH_H_
#define SRC_MV_GALLERY_SEARCH_H_

#include <cstddef>
#include <cstdint>

#include "MvMatch/minutiae_record.h"
#include "mv_gallery/gallery.h"
#include "mv_match.h"

namespace corvex {

// The entries must not change meanwhile. Returns the number of hits, or
// MV_ERR_MEMORY or MV_ERR_STOPPED.
int64_t SearchEntries(const EntryStore& entries, const WorkingForm& probe,
                      const mv_search_options& options, mv_hit* hits,
                      size_t room);

}  // namespace corvex

#endif  // SRC_MV_GALLERY_SEARCH_H_

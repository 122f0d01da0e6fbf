// A gallery in memory, to be searched for a record.
#ifndef APPS_MVFP_GALLERY_SEARCHABLE_H_
#define APPS_MVFP_GALLERY_SEARCHABLE_H_

#include <mv_match.h>

#include <memory>
#include <string>
#include <vector>

#include "gallery/gallery_file.h"
#include "report.h"

namespace corvex::mvfp {

struct Hit {
  std::string id;
  std::string finger;
  int score;
  int level;  // the highest that the score passes
};

Json FieldsOf(const Hit& hit);

class Searchable {
 public:
  // Of everybody, or of one person. Throws a Failure, as Search does.
  explicit Searchable(const GalleryFile& file, const std::string& id = "");

  size_t Count() const { return fingers_.size(); }

  // The best hits for the record of a text, the best first; an id is there
  // once.
  std::vector<Hit> Search(const std::string& text, int level,
                          size_t best) const;

 private:
  struct Free {
    void operator()(mv_gallery* gallery) const { mv_gallery_free(gallery); }
  };
  struct Finger {
    std::string id;
    std::string name;
  };

  void Add(const GalleryEntry& entry);

  std::unique_ptr<mv_gallery, Free> gallery_;
  std::vector<Finger> fingers_;  // of record i in the gallery: i is its finger
  int64_t number_of_id_ = 0;     // ids are texts, those of the search numbers
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_GALLERY_SEARCHABLE_H_

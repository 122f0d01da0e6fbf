// The site's gallery: an SQLite file with a row a record. The schema is that of
// docs/search.md and stays; several processes may use the file at once.
#ifndef APPS_MVFP_GALLERY_GALLERY_FILE_H_
#define APPS_MVFP_GALLERY_GALLERY_FILE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "command_line.h"
#include "libraries/sqlite.h"

namespace corvex::mvfp {

struct GalleryEntry {
  int64_t number = 0;
  std::string id;      // whose
  std::string finger;  // which
  std::string record;  // its bytes
  std::string added;   // UTC, as YYYY-MM-DD HH:MM:SS
};

// --gallery, else MVFP_GALLERY, else a file in the user's data directory.
Argument AddGalleryOption(const Arguments& arguments, std::string* path);

// Every failure throws a Failure that names the file, and changes nothing.
class GalleryFile {
 public:
  enum Access { kReads, kWrites };

  // Writing makes a new file, for its owner alone, where there is none.
  GalleryFile(const std::string& given_path, Access access);

  const std::string& Path() const { return path_; }

  // In the order of ids, fingers and numbers; all when `id` is empty. Every
  // record is one that can be compared.
  void ForEach(const std::string& id,
               const std::function<void(GalleryEntry entry)>& take) const;
  std::vector<GalleryEntry> Entries(const std::string& id = "") const;

  void Add(const std::vector<GalleryEntry>& entries);  // all or none

  // Of one finger, or of all when `finger` is empty. Returns how many.
  int Remove(const std::string& id, const std::string& finger);

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
  };
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const {
      sqlite3_finalize(statement);
    }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

  void Open();
  void MakeOrCheckSchema(Access access);
  Statement Prepare(const char* sql,
                    const std::vector<std::string>& texts) const;
  size_t Count(const std::string& id) const;
  void CheckRecord(const GalleryEntry& entry) const;
  bool Step(sqlite3_stmt* statement) const;
  void Run(const char* sql) const { Step(Prepare(sql, {}).get()); }
  [[noreturn]] void Refuse(int code, const std::string& why) const;

  std::string path_;
  std::unique_ptr<sqlite3, Close> database_;
};

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_GALLERY_GALLERY_FILE_H_

#include "gallery/gallery_file.h"

#include <fcntl.h>
#include <mv_match.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "files.h"
#include "long_work.h"
#include "report.h"

namespace corvex::mvfp {
namespace {

constexpr char kOtherFile[] = "name another file with --gallery";

// Of the schema, not of the tool.
constexpr int kSchemaVersion = 1;

// Another process writes for moments; a backup may take longer.
constexpr int kPatienceMs = 10000;

constexpr const char* kSchema[] = {
    ("CREATE TABLE fingers (number INTEGER PRIMARY KEY, id TEXT NOT NULL, "
     "finger TEXT NOT NULL, record BLOB NOT NULL, added TEXT NOT NULL)"),
    "CREATE INDEX fingers_by_id ON fingers (id, finger)",
    "PRAGMA user_version = 1"};

std::string DefaultPath() {
  const char* const data = getenv("XDG_DATA_HOME");
  const char* const home = getenv("HOME");
  if (data != nullptr && *data == '/') {
    return std::string(data) + "/mv-fpi/gallery.sqlite";
  }
  if (home == nullptr || *home == '\0') {
    throw UsageFailure("there is no home directory for a gallery", kOtherFile);
  }
  return std::string(home) + "/.local/share/mv-fpi/gallery.sqlite";
}

std::string PathOf(const std::string& given) {
  if (!given.empty()) return given;
  const char* const usual = getenv("MVFP_GALLERY");
  return usual != nullptr && *usual != '\0' ? usual : DefaultPath();
}

void BindTexts(sqlite3_stmt* statement, const std::vector<std::string>& texts) {
  for (size_t i = 0; i < texts.size(); ++i) {
    sqlite3_bind_text(statement, static_cast<int>(i + 1), texts[i].data(),
                      static_cast<int>(texts[i].size()), SQLITE_TRANSIENT);
  }
}

std::string Column(sqlite3_stmt* row, int column) {
  const void* const bytes = sqlite3_column_blob(row, column);
  const auto size = static_cast<size_t>(sqlite3_column_bytes(row, column));
  return {static_cast<const char*>(bytes), bytes == nullptr ? 0 : size};
}

}  // namespace

Argument AddGalleryOption(const Arguments& arguments, std::string* path) {
  return arguments
      .Text("-g,--gallery", path,
            "The gallery's file [see mvfp gallery --help]")
      .Checked([](const std::string& given) {
        return std::string(given.empty() ? "names no file" : "");
      })
      .Named("FILE");
}

GalleryFile::GalleryFile(const std::string& given_path, Access access)
    : path_(PathOf(given_path)) {
  if (access == kWrites) {
    std::error_code error;
    std::filesystem::create_directories(
        std::filesystem::path(path_).parent_path(), error);
    const int file =
        open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kOwnersAlone);
    if (file < 0) throw SystemFailure("write", path_, kOtherFile, kExitUsage);
    close(file);
  } else if (::access(path_.c_str(), R_OK) != 0) {
    throw SystemFailure(
        "read", path_,
        "mvfp gallery add makes one; or " + std::string(kOtherFile),
        kExitUsage);
  }
  Open();
  MakeOrCheckSchema(access);
}

// Where the system allows it a reader may write too: the first one that comes
// after a killed writer takes back what that had begun.
void GalleryFile::Open() {
  sqlite3* database = nullptr;
  const int code =
      sqlite3_open_v2(path_.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
  database_.reset(database);
  if (code != SQLITE_OK) Refuse(code, sqlite3_errstr(code));
  sqlite3_busy_timeout(database, kPatienceMs);
}

void GalleryFile::MakeOrCheckSchema(Access access) {
  // Together, lest two processes make it at once or one be ended half-way.
  if (access == kWrites) Run("BEGIN IMMEDIATE");
  const Statement version = Prepare("PRAGMA user_version", {});
  Step(version.get());
  const int found = sqlite3_column_int(version.get(), 0);
  const Statement tables =
      Prepare("SELECT 1 FROM sqlite_master WHERE name = 'fingers'", {});
  const bool has_table = Step(tables.get());
  if (found == 0 && !has_table && access == kWrites) {
    for (const char* const sql : kSchema) Run(sql);
  } else if (found != kSchemaVersion || !has_table) {
    Refuse(SQLITE_NOTADB,
           found > kSchemaVersion ? "made by a newer mvfp" : "not a gallery");
  }
  if (access == kWrites) Run("COMMIT");
}

void GalleryFile::ForEach(
    const std::string& id,
    const std::function<void(GalleryEntry entry)>& take) const {
  LongWork work("reading the gallery", Count(id));
  const Statement rows = Prepare(
      "SELECT number, id, finger, record, added FROM fingers "
      "WHERE ?1 IN ('', id) ORDER BY id, finger, number",
      {id});
  for (size_t done = 0; Step(rows.get()); work.Done(++done)) {
    GalleryEntry entry = {sqlite3_column_int64(rows.get(), 0),
                          Column(rows.get(), 1), Column(rows.get(), 2),
                          Column(rows.get(), 3), Column(rows.get(), 4)};
    CheckRecord(entry);
    take(std::move(entry));
  }
}

std::vector<GalleryEntry> GalleryFile::Entries(const std::string& id) const {
  std::vector<GalleryEntry> entries;
  ForEach(id, [&](GalleryEntry entry) { entries.push_back(std::move(entry)); });
  return entries;
}

size_t GalleryFile::Count(const std::string& id) const {
  const Statement count =
      Prepare("SELECT count(*) FROM fingers WHERE ?1 IN ('', id)", {id});
  Step(count.get());
  return static_cast<size_t>(sqlite3_column_int64(count.get(), 0));
}

// Other programs may write into the file.
void GalleryFile::CheckRecord(const GalleryEntry& entry) const {
  char problem[MV_PROBLEM_BYTES] = "";
  const int code =
      mv_check_record(entry.record.data(), entry.record.size(), problem);
  if (code == MV_OK) return;
  throw Failure{"the gallery " + path_ + ": record " +
                    std::to_string(entry.number) + ", of " + entry.id + ", " +
                    problem,
                "remove it: mvfp gallery remove " + entry.id + " --finger " +
                    entry.finger};
}

void GalleryFile::Add(const std::vector<GalleryEntry>& entries) {
  LongWork work("adding", entries.size());
  Run("BEGIN IMMEDIATE");  // closing the file without a COMMIT takes it back
  const Statement insert = Prepare(
      "INSERT INTO fingers (id, finger, record, added) "
      "VALUES (?1, ?2, ?3, datetime('now'))",
      {});
  size_t done = 0;
  for (const GalleryEntry& entry : entries) {
    BindTexts(insert.get(), {entry.id, entry.finger});
    sqlite3_bind_blob(insert.get(), 3, entry.record.data(),
                      static_cast<int>(entry.record.size()), SQLITE_TRANSIENT);
    Step(insert.get());
    sqlite3_reset(insert.get());
    work.Done(++done);
  }
  Run("COMMIT");
}

int GalleryFile::Remove(const std::string& id, const std::string& finger) {
  const Statement remove = Prepare(
      "DELETE FROM fingers WHERE id = ?1 AND ?2 IN ('', finger)", {id, finger});
  Step(remove.get());
  return sqlite3_changes(database_.get());
}

GalleryFile::Statement GalleryFile::Prepare(
    const char* sql, const std::vector<std::string>& texts) const {
  sqlite3_stmt* made = nullptr;
  const int code = sqlite3_prepare_v2(database_.get(), sql, -1, &made, nullptr);
  if (code != SQLITE_OK) Refuse(code, sqlite3_errmsg(database_.get()));
  BindTexts(made, texts);
  return Statement(made);
}

// Whether there is a row.
bool GalleryFile::Step(sqlite3_stmt* statement) const {
  const int code = sqlite3_step(statement);
  if (code != SQLITE_ROW && code != SQLITE_DONE) {
    Refuse(code, sqlite3_errmsg(database_.get()));
  }
  return code == SQLITE_ROW;
}

void GalleryFile::Refuse(int code, const std::string& why) const {
  const bool is_another = code == SQLITE_NOTADB || code == SQLITE_CANTOPEN;
  throw Failure{"the gallery " + path_ + ": " + why, kOtherFile,
                is_another ? kExitUsage : kExitFailed};
}

}  // namespace corvex::mvfp

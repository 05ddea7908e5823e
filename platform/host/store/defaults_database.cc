#include "platform/host/store/defaults_database.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include <sqlite3.h>
#include <sys/stat.h>

#include "product/version.h"

namespace tarvel {
namespace {

constexpr std::int64_t kSchemaVersion = 1;
constexpr std::chrono::milliseconds kPause{5};

// Small caches: the values are few, and the helper is to stay small.
constexpr const char* kSettings =
    "PRAGMA cache_size=-128; PRAGMA mmap_size=0; PRAGMA temp_store=MEMORY;"
    "PRAGMA synchronous=NORMAL; PRAGMA journal_size_limit=4194304;";
constexpr int kLookasideSize = 256;
constexpr int kLookasideCount = 64;

// The WAL is folded back from 4 MiB on, which is when a disk is waited for. That restarts it where
// no reader is in the way. Where readers always are, it grows, until for a short time it is waited
// for them, every 16 MiB.
constexpr int kFoldPages = 1000;
constexpr int kWaitPages = 4000;
constexpr std::chrono::milliseconds kReaderPatience{100};
constexpr int kMostPages = 16384;

DatabaseStatus statusOf(int code) {
  switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return DatabaseStatus::done;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return DatabaseStatus::damaged;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return DatabaseStatus::busy;
    default:
      return DatabaseStatus::failed;
  }
}

bool isPassing(int code) {
  const int primary = code & 0xFF;
  return primary == SQLITE_BUSY || primary == SQLITE_LOCKED || primary == SQLITE_SCHEMA;
}

// Whoever may write the file may put a schema of his own into it: nothing in it is run but our
// statements. Triggers would run with every write, for ever if they like; a view in the place of
// the table counts as damage.
void distrustSchema(sqlite3* connection) {
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
}

// Makes a statement ready for its next use, whatever becomes of this one.
class Use {
 public:
  explicit Use(sqlite3_stmt* statement) : statement_(statement) {}
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  ~Use() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }

  int bindKey(std::string_view key) {
    const char* const text = key.empty() ? "" : key.data();
    return sqlite3_bind_text64(statement_, 1, text, key.size(), SQLITE_STATIC, SQLITE_UTF8);
  }
  int bindValue(const Data& value) {
    return sqlite3_bind_blob64(statement_, 2, value.data(), value.size(), SQLITE_STATIC);
  }
  int step() { return sqlite3_step(statement_); }

  std::int64_t number(int column) { return sqlite3_column_int64(statement_, column); }
  std::string text(int column) {
    const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    const int size = sqlite3_column_bytes(statement_, column);
    return size == 0 ? std::string() : std::string(bytes, static_cast<std::size_t>(size));
  }
  Data data(int column) {
    const auto* const bytes =
        static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
    const int size = sqlite3_column_bytes(statement_, column);
    return size == 0 ? Data() : Data(bytes, bytes + size);
  }

 private:
  sqlite3_stmt* statement_;
};

}  // namespace

void DefaultsDatabase::Close::operator()(sqlite3* connection) const { sqlite3_close(connection); }
void DefaultsDatabase::Close::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

std::unique_ptr<DefaultsDatabase> DefaultsDatabase::open(const std::string& path,
                                                         DatabaseStatus& status,
                                                         std::chrono::milliseconds patience) {
  std::unique_ptr<DefaultsDatabase> database(new DefaultsDatabase(path, patience));
  sqlite3* connection = nullptr;
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  int code = sqlite3_open_v2(path.c_str(), &connection, kFlags, nullptr);
  database->connection_.reset(connection);
  if (code == SQLITE_OK) {
    sqlite3_db_config(connection, SQLITE_DBCONFIG_LOOKASIDE, nullptr, kLookasideSize,
                      kLookasideCount);
    distrustSchema(connection);
    sqlite3_busy_timeout(connection, static_cast<int>(patience.count()));
    // While processes make the file at the same time, a step may find it busy without SQLite
    // waiting.
    const auto deadline = std::chrono::steady_clock::now() + patience;
    code = database->prepareFile();
    while (isPassing(code) && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(kPause);
      code = database->prepareFile();
    }
  }
  status = statusOf(code);
  if (status != DatabaseStatus::done) database.reset();
  return database;
}

// Nothing is changed before the version is known to be ours.
int DefaultsDatabase::prepareFile() {
  int code = SQLITE_OK;
  const auto version = number("PRAGMA user_version", code);
  if (!version) return code;
  newer_ = *version != kSchemaVersion && *version != 0;
  if (newer_) return SQLITE_OK;
  sqlite3_wal_hook(connection_.get(), foldLog, this);
  code = execute(kSettings);
  if (code == SQLITE_OK) code = startLog();
  if (code == SQLITE_OK && *version == 0) code = makeTable();
  return code == SQLITE_OK ? prepareStatements() : code;
}

int DefaultsDatabase::startLog() {
  Statement statement;
  const int code = prepare("PRAGMA journal_mode=WAL", statement);
  if (code != SQLITE_OK) return code;
  Use use(statement.get());
  const int stepped = use.step();
  if (stepped != SQLITE_ROW) return stepped;
  hasLog_ = use.text(0) == "wal";
  return SQLITE_OK;
}

// SQLite calls it after each commit of ours, with the length of the WAL.
int DefaultsDatabase::foldLog(void* self, sqlite3* connection, const char* name, int pages) {
  auto& database = *static_cast<DefaultsDatabase*>(self);
  int& waitAt = database.waitForReadersAt_;
  database.logPages_ = pages;
  if (pages < kFoldPages) {
    waitAt = kWaitPages;
  } else if (pages < waitAt) {
    sqlite3_wal_checkpoint_v2(connection, name, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  } else {
    waitAt = pages + kWaitPages;
    const auto patience = std::min(kReaderPatience, database.patience_);
    sqlite3_busy_timeout(connection, static_cast<int>(patience.count()));
    sqlite3_wal_checkpoint_v2(connection, name, SQLITE_CHECKPOINT_RESTART, nullptr, nullptr);
    sqlite3_busy_timeout(connection, static_cast<int>(database.patience_.count()));
  }
  return SQLITE_OK;
}

void DefaultsDatabase::setPatience(std::chrono::milliseconds patience) {
  if (patience == patience_) return;
  patience_ = patience;
  sqlite3_busy_timeout(connection_.get(), static_cast<int>(patience.count()));
}

int DefaultsDatabase::makeTable() {
  int code = execute("BEGIN IMMEDIATE");
  if (code != SQLITE_OK) return code;
  code = execute(
      "CREATE TABLE IF NOT EXISTS defaults (key TEXT PRIMARY KEY, value BLOB NOT NULL) WITHOUT "
      "ROWID;"
      "PRAGMA user_version=1; COMMIT");
  if (code != SQLITE_OK) execute("ROLLBACK");
  return code;
}

int DefaultsDatabase::prepareStatements() {
  int code = prepare("SELECT value FROM defaults WHERE key=?1", read_);
  if (code == SQLITE_OK) code = prepare("SELECT key, value FROM defaults", readAll_);
  if (code == SQLITE_OK) {
    // The same value again changes nothing, so that nobody is told of a change.
    code = prepare(
        "INSERT INTO defaults VALUES(?1, ?2) ON CONFLICT(key) DO UPDATE SET value=excluded.value "
        "WHERE value IS NOT excluded.value",
        write_);
  }
  if (code == SQLITE_OK) code = prepare("DELETE FROM defaults WHERE key=?1", remove_);
  if (code == SQLITE_OK) code = prepare("PRAGMA data_version", dataVersion_);
  // Our version without our table: somebody else's database stands here.
  return code == SQLITE_ERROR ? SQLITE_NOTADB : code;
}

// The last one to close a file folds its log into it: of an emptied file that would make one with
// holes.
bool DefaultsDatabase::hasGone() const {
  int moved = 0;
  sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  struct stat status {};
  const bool gone = moved != 0 || ::stat(path_.c_str(), &status) != 0 || status.st_size == 0;
  if (gone) sqlite3_db_config(connection_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  return gone;
}

bool DefaultsDatabase::isSound() const {
  Statement check;
  if (prepare("PRAGMA quick_check(1)", check) != SQLITE_OK) return false;
  Use use(check.get());
  return use.step() == SQLITE_ROW && use.text(0) == "ok";
}

DatabaseStatus DefaultsDatabase::read(std::string_view key, std::optional<Data>& value) {
  Use use(read_.get());
  int code = use.bindKey(key);
  if (code == SQLITE_OK) code = use.step();
  value.reset();
  if (code == SQLITE_ROW) value = use.data(0);
  return statusOf(code);
}

DatabaseStatus DefaultsDatabase::readAll(
    const std::function<void(std::string key, const Data& value)>& row) {
  Use use(readAll_.get());
  int code = use.step();
  for (; code == SQLITE_ROW; code = use.step()) row(use.text(0), use.data(1));
  return statusOf(code);
}

// The log starts again from its beginning as soon as no reader needs it.
bool DefaultsDatabase::isLogFull() {
  if (logPages_ < kMostPages || sqlite3_get_autocommit(connection_.get()) == 0) return false;
  sqlite3_busy_timeout(connection_.get(), 0);
  const int code = sqlite3_wal_checkpoint_v2(connection_.get(), "main", SQLITE_CHECKPOINT_RESTART,
                                             nullptr, nullptr);
  sqlite3_busy_timeout(connection_.get(), static_cast<int>(patience_.count()));
  if (code == SQLITE_OK) logPages_ = 0;
  return code != SQLITE_OK;
}

DatabaseStatus DefaultsDatabase::write(std::string_view key, const Data& value) {
  if (isLogFull()) return DatabaseStatus::logFull;
  Use use(write_.get());
  int code = use.bindKey(key);
  if (code == SQLITE_OK) code = use.bindValue(value);
  if (code == SQLITE_OK) code = use.step();
  return statusOf(code);
}

DatabaseStatus DefaultsDatabase::remove(std::string_view key, bool& wasThere) {
  Use use(remove_.get());
  int code = use.bindKey(key);
  if (code == SQLITE_OK) code = use.step();
  wasThere = code == SQLITE_DONE && sqlite3_changes(connection_.get()) > 0;
  return statusOf(code);
}

DatabaseStatus DefaultsDatabase::begin() {
  return isLogFull() ? DatabaseStatus::logFull : statusOf(execute("BEGIN IMMEDIATE"));
}

DatabaseStatus DefaultsDatabase::end(bool commit) {
  const int code = commit ? execute("COMMIT") : SQLITE_OK;
  if (sqlite3_get_autocommit(connection_.get()) == 0) execute("ROLLBACK");
  return statusOf(code);
}

std::int64_t DefaultsDatabase::ownChanges() const {
  return sqlite3_total_changes64(connection_.get());
}

// Asking SQLite locks and unlocks the file. The header is looked at before that: a commit in
// between is then noticed at the next call.
std::int64_t DefaultsDatabase::othersVersion() {
  const auto header = logHeader();
  if (header && header == seenHeader_) return othersVersion_;
  Use use(dataVersion_.get());
  const bool known = use.step() == SQLITE_ROW;
  seenHeader_ = known ? header : std::nullopt;
  othersVersion_ = known ? use.number(0) : 0;
  return othersVersion_;
}

// The index begins with two copies of its header, which whoever commits writes one after the other
// (https://www.sqlite.org/walformat.html); none while they differ. SQLite has it mapped already.
std::optional<DefaultsDatabase::LogHeader> DefaultsDatabase::logHeader() const {
  constexpr int kRegionSize = 32768;
  sqlite3_file* file = nullptr;
  if (!hasLog_) return std::nullopt;
  sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
  if (file == nullptr || file->pMethods == nullptr || file->pMethods->iVersion < 2) {
    return std::nullopt;
  }
  void volatile* region = nullptr;
  const int code = file->pMethods->xShmMap(file, 0, kRegionSize, 0, &region);
  if (code != SQLITE_OK || region == nullptr) return std::nullopt;
  const auto* words = static_cast<const volatile std::uint32_t*>(region);
  LogHeader first{};
  LogHeader second{};
  for (auto& word : first) word = *words++;
  file->pMethods->xShmBarrier(file);
  for (auto& word : second) word = *words++;
  return first == second ? std::optional(first) : std::nullopt;
}

int DefaultsDatabase::execute(const char* sql) const {
  return sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr);
}

std::optional<std::int64_t> DefaultsDatabase::number(const char* pragma, int& code) const {
  Statement statement;
  code = prepare(pragma, statement);
  if (code != SQLITE_OK) return std::nullopt;
  Use use(statement.get());
  code = use.step();
  if (code != SQLITE_ROW) return std::nullopt;
  return use.number(0);
}

int DefaultsDatabase::prepare(const char* sql, Statement& statement) const {
  sqlite3_stmt* prepared = nullptr;
  const int code =
      sqlite3_prepare_v3(connection_.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
  statement.reset(prepared);
  return code;
}

}  // namespace tarvel

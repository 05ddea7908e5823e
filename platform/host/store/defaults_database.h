#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/property_list.h"

// One connection to the database of a store: a table of keys and binary property lists in SQLite's
// WAL mode. For one thread at a time. Calls wait for other processes as long as the patience says.

struct sqlite3;
struct sqlite3_stmt;

namespace tarvel {

enum class DatabaseStatus {
  done,
  damaged,  // the file is no database, or a part of it cannot be trusted
  logFull,  // somebody has been reading for so long that the log may not grow any further
  busy,     // another process held it for longer than the patience
  failed,   // anything else: no space, no permission
};

class DefaultsDatabase {
 public:
  static constexpr std::chrono::milliseconds kPatience{2000};

  // Opens the file, making it where there is none; null unless done.
  static std::unique_ptr<DefaultsDatabase> open(const std::string& path, DatabaseStatus& status,
                                                std::chrono::milliseconds patience = kPatience);

  // How long calls wait for other processes from now on; 0: not at all.
  void setPatience(std::chrono::milliseconds patience);

  // Made by a later version of the product: nothing else may be asked of it.
  bool isNewer() const { return newer_; }

  // Whether the file has been deleted, replaced or emptied under the connection. It is then only to
  // be destroyed, which writes nothing to the file.
  bool hasGone() const;

  // Whether the whole file is sound; reads all of it.
  bool isSound() const;

  DatabaseStatus read(std::string_view key, std::optional<Data>& value);
  DatabaseStatus readAll(const std::function<void(std::string key, const Data& value)>& row);
  // Changes nothing where the key has this value. No write is made while a reader, by staying in a
  // transaction, has kept the log from being folded up to 64 MiB.
  DatabaseStatus write(std::string_view key, const Data& value);
  DatabaseStatus remove(std::string_view key, bool& wasThere);

  // A transaction that no other writer interrupts; between the two calls, `commit` or not, lie the
  // calls above.
  DatabaseStatus begin();
  DatabaseStatus end(bool commit);

  std::int64_t ownChanges() const;

  // Changes whenever another connection has changed the file. Costs no system call while nobody has
  // changed anything.
  std::int64_t othersVersion();

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
    void operator()(sqlite3_stmt* statement) const;
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Close>;

  // Of the log's index in shared memory, 48 bytes: every commit of anybody changes it.
  using LogHeader = std::array<std::uint32_t, 12>;

  DefaultsDatabase(const std::string& path, std::chrono::milliseconds patience)
      : path_(path), patience_(patience) {}
  bool isLogFull();
  std::optional<LogHeader> logHeader() const;
  static int foldLog(void* self, sqlite3* connection, const char* name, int pages);
  int prepareFile();
  int startLog();
  int makeTable();
  int prepareStatements();
  int execute(const char* sql) const;
  std::optional<std::int64_t> number(const char* pragma, int& code) const;
  int prepare(const char* sql, Statement& statement) const;

  std::string path_;
  std::unique_ptr<sqlite3, Close> connection_;  // closed after the statements
  Statement read_, readAll_, write_, remove_, dataVersion_;
  std::chrono::milliseconds patience_;
  bool newer_ = false;
  bool hasLog_ = false;  // in WAL mode, as it is wherever memory can be shared
  std::optional<LogHeader> seenHeader_;
  std::int64_t othersVersion_ = 0;  // as of that header
  int waitForReadersAt_ = 4000;     // pages of the WAL
  int logPages_ = 0;                // of the WAL after our latest commit
};

}  // namespace tarvel

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/property_list.h"

// One connection to the database of a store: a table of keys and binary property lists in SQLite's
// WAL mode. For one thread at a time. Calls wait two seconds at most for other processes.

struct sqlite3;
struct sqlite3_stmt;

namespace tarvel {

enum class DatabaseStatus {
  done,
  damaged,  // the file is no database, or a part of it cannot be trusted
  failed,   // anything else: no room, no permission, still busy
};

class DefaultsDatabase {
 public:
  // Opens the file, making it where there is none; null unless done.
  static std::unique_ptr<DefaultsDatabase> open(const std::string& path, DatabaseStatus& status);

  // Made by a later version of the product: nothing else may be asked of it.
  bool isNewer() const { return newer_; }

  // Whether the file has been deleted or replaced under the connection.
  bool hasMoved() const;

  // Whether the whole file is sound; reads all of it.
  bool isSound() const;

  DatabaseStatus read(std::string_view key, std::optional<Data>& value);
  DatabaseStatus readAll(const std::function<void(std::string key, const Data& value)>& row);
  DatabaseStatus write(std::string_view key, const Data& value);
  DatabaseStatus remove(std::string_view key, bool& wasThere);

  // A transaction that no other writer interrupts; between the two calls, `commit` or not, lie the
  // calls above.
  DatabaseStatus begin();
  DatabaseStatus end(bool commit);

  std::int64_t ownChanges() const;
  std::int64_t othersVersion();  // changes whenever another connection has changed the file

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
    void operator()(sqlite3_stmt* statement) const;
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Close>;

  DefaultsDatabase() = default;
  static int foldLog(void* self, sqlite3* connection, const char* name, int pages);
  int prepareFile();
  int makeTable();
  int prepareStatements();
  int execute(const char* sql) const;
  std::optional<std::int64_t> number(const char* pragma, int& code) const;
  int prepare(const char* sql, Statement& statement) const;

  std::unique_ptr<sqlite3, Close> connection_;  // closed after the statements
  Statement read_, readAll_, write_, remove_, dataVersion_;
  bool newer_ = false;
  int waitForReadersAt_ = 4000;  // pages of the WAL
};

}  // namespace tarvel

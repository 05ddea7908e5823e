#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "platform/property_list.h"
#include "platform/user_defaults.h"

// The shared store as a file: the SQLite database Library/Preferences/<suite>.sqlite in the group
// container of the suite. WAL mode, user_version 1, one table
//   defaults (key TEXT PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID
// whose values are binary property lists; a value that is none counts as absent.
//
// Every call is safe from any thread of any number of processes; each write is whole and seen by
// the next read of anybody, and a process may be killed at any instant. A call waits two seconds at
// most for other processes and then fails; in the two seconds after that, calls do not wait, so
// that a locked store costs a series of calls no more than one wait. A store that cannot be opened
// reads as empty and takes no writes; each call tries again.
//
// A file that is damaged is renamed, ".damaged-" and the time (UTC) appended, its -wal and -shm
// with it, and a new one begun; one that was emptied in place counts as damaged. A file with a
// newer user_version is left alone: all keys are absent and writes are dropped. Both are told the
// log. When the file is deleted or replaced while handles are open, each goes on with what stands
// at the path: writes at once, reads within a tenth of a second, since a look at the path costs as
// much as a read. A handle is not to be used in a forked child.

namespace tarvel {

class DefaultsDatabase;
class SystemLog;
enum class DatabaseStatus;

class DefaultsStore {
 public:
  // What a watcher compares: equal as long as nobody has changed anything.
  struct ChangeToken {
    std::uint64_t file = 0;  // which of the files that this handle has had open
    std::int64_t own = 0;
    std::int64_t others = 0;
    bool operator==(const ChangeToken&) const = default;
  };

  // Gives the new value, or none to leave things as they are. Does not use the store itself.
  using Edit = std::function<std::optional<PropertyList>(const std::optional<PropertyList>&)>;

  DefaultsStore(std::string_view suite, SystemLog& log);
  ~DefaultsStore();

  struct Found {
    std::optional<PropertyList> value;
    bool isCertain = false;  // else the store could not be read
  };
  Found look(std::string_view key);

  std::optional<PropertyList> get(std::string_view key) { return look(key).value; }

  // All keys with their values, as they stood at one moment.
  Dictionary dictionaryRepresentation();

  // Whether the value is stored now.
  bool set(std::string_view key, const PropertyList& value);

  enum class Removal {
    removed,
    absent,  // nothing, or with removeUnchanged another value, stood there
    failed,  // the key is there as before, or cannot be looked at
  };
  Removal remove(std::string_view key);

  // Removes the key where it still holds this value.
  Removal removeUnchanged(std::string_view key, const PropertyList& value);

  // Reads, edits and writes one value in one transaction, which no other writer interrupts. Whether
  // a new value was stored. Where a file turns out damaged meanwhile, the edit runs once more.
  bool change(std::string_view key, const Edit& edit);

  // Costs a microsecond while nobody changes anything.
  ChangeToken changeToken();

  // How many files this handle has had open, one after another. Costs nothing.
  std::uint64_t filesOpened();

 private:
  enum class Access { read, write };
  template <typename Operation>
  bool perform(Access access, Operation operation);
  template <typename Operation>
  DatabaseStatus attempt(Operation operation);
  std::chrono::milliseconds patience() const;
  void noteWait(DatabaseStatus status, std::chrono::milliseconds patienceOfCall);
  std::unique_ptr<DefaultsDatabase> openFile(DatabaseStatus& status);
  bool ready(Access access);
  bool open();
  void repair();
  void setAside();
  void report(std::string_view what);

  const std::string suite_;
  SystemLog& log_;
  std::mutex mutex_;  // guards what follows
  std::string path_;
  std::unique_ptr<DefaultsDatabase> database_;
  std::chrono::steady_clock::time_point foundAt_;  // when the file was last seen in its place
  std::uint64_t opened_ = 0;
  std::chrono::steady_clock::time_point impatientUntil_;  // calls do not wait before
  std::set<std::string, std::less<>> reported_;  // what the log was told since the file was opened
};

// The user defaults over such stores; each handle is a store of its own. A key whose removal failed
// reads as absent from then on, until somebody has stored another value or the removal, which every
// look at the key tries again, has succeeded: what asked for it is not taken for a new request.
// Texts that were set are set again where the file was made anew.
std::unique_ptr<UserDefaultsSuites> makeUserDefaultsSuites(SystemLog& log);

}  // namespace tarvel

#include "platform/host/store/defaults_store.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/files/file_descriptor.h"
#include "platform/host/property_lists/property_list_format.h"
#include "platform/host/store/defaults_database.h"
#include "platform/system_log.h"

namespace tarvel {
namespace {

constexpr auto kPatience = DefaultsDatabase::kPatience;
constexpr std::chrono::milliseconds kStaysInPlace{100};   // for reads
constexpr std::chrono::milliseconds kImpatientFor{2000};  // after a call that waited in vain

// The folder's lock, had within the patience or not at all.
FileDescriptor lockedFolder(const std::string& path, std::chrono::milliseconds patience) {
  constexpr std::chrono::milliseconds kPause{10};
  FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  while (folder && ::flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
    if (patience <= patience.zero()) folder.reset();
    std::this_thread::sleep_for(kPause);
    patience -= kPause;
  }
  return folder;
}

std::string timeNow() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  ::gmtime_r(&now, &utc);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &utc);
  return text.data();
}

std::uintmax_t sizeOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? static_cast<std::uintmax_t>(status.st_size) : 0;
}

// Whether somebody has cut the file to nothing beside its log. While a file is made it has its
// first page before there is a log.
bool isEmptied(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0 && sizeOf(path) == 0 && sizeOf(path + "-wal") > 0;
}

bool hasFailed(DatabaseStatus status) {
  return status == DatabaseStatus::failed || status == DatabaseStatus::busy;
}

std::optional<PropertyList> decoded(const std::optional<Data>& blob) {
  return blob ? decode(*blob) : std::nullopt;
}

}  // namespace

DefaultsStore::DefaultsStore(std::string_view suite, SystemLog& log) : suite_(suite), log_(log) {}

DefaultsStore::~DefaultsStore() = default;

DefaultsStore::Found DefaultsStore::look(std::string_view key) {
  std::optional<Data> blob;
  const bool read =
      perform(Access::read, [&](DefaultsDatabase& database) { return database.read(key, blob); });
  return {decoded(blob), read};
}

Dictionary DefaultsStore::dictionaryRepresentation() {
  Dictionary all;
  perform(Access::read, [&](DefaultsDatabase& database) {
    all.clear();
    return database.readAll([&](std::string key, const Data& blob) {
      if (auto value = decode(blob)) all.emplace(std::move(key), *std::move(value));
    });
  });
  return all;
}

bool DefaultsStore::set(std::string_view key, const PropertyList& value) {
  const Data blob = encode(value);
  if (blob.empty()) return false;
  return perform(Access::write, [&](DefaultsDatabase& database) {
    const auto status = database.write(key, blob);
    if (status == DatabaseStatus::logFull)
      report("somebody has been reading for too long: close it");
    if (hasFailed(status)) report("a value cannot be written");
    return status;
  });
}

DefaultsStore::Removal DefaultsStore::remove(std::string_view key) {
  bool wasThere = false;
  const bool done = perform(Access::write, [&](DefaultsDatabase& database) {
    const auto status = database.remove(key, wasThere);
    if (hasFailed(status)) report("a value cannot be removed");
    return status;
  });
  if (!done) return Removal::failed;
  return wasThere ? Removal::removed : Removal::absent;
}

DefaultsStore::Removal DefaultsStore::removeUnchanged(std::string_view key,
                                                      const PropertyList& value) {
  bool removed = false;
  const bool done = perform(Access::write, [&](DefaultsDatabase& database) {
    removed = false;
    auto status = database.begin();
    if (status != DatabaseStatus::done) return status;
    std::optional<Data> blob;
    status = database.read(key, blob);
    if (status == DatabaseStatus::done && decoded(blob) == value) {
      status = database.remove(key, removed);
    }
    const auto ended = database.end(status == DatabaseStatus::done);
    return status == DatabaseStatus::done ? ended : status;
  });
  if (!done) return Removal::failed;
  return removed ? Removal::removed : Removal::absent;
}

bool DefaultsStore::change(std::string_view key, const Edit& edit) {
  bool stored = false;
  perform(Access::write, [&](DefaultsDatabase& database) {
    stored = false;
    auto status = database.begin();
    if (status != DatabaseStatus::done) return status;
    std::optional<Data> blob;
    status = database.read(key, blob);
    if (status == DatabaseStatus::done) {
      const auto value = edit(decoded(blob));
      const Data fresh = value ? encode(*value) : Data();
      stored = !fresh.empty();
      if (stored) status = database.write(key, fresh);
    }
    const bool commit = stored && status == DatabaseStatus::done;
    const auto ended = database.end(commit);
    stored = commit && ended == DatabaseStatus::done;
    return status == DatabaseStatus::done ? ended : status;
  });
  return stored;
}

DefaultsStore::ChangeToken DefaultsStore::changeToken() {
  ChangeToken token;
  perform(Access::read, [&](DefaultsDatabase& database) {
    token = {opened_, database.ownChanges(), database.othersVersion()};
    return DatabaseStatus::done;
  });
  return token;
}

std::uint64_t DefaultsStore::filesOpened() {
  const std::lock_guard lock(mutex_);
  return opened_;
}

// Runs the operation on the open database; once more on a new one when that was damaged.
template <typename Operation>
bool DefaultsStore::perform(Access access, Operation operation) {
  const std::lock_guard lock(mutex_);
  if (!ready(access)) return false;
  auto status = attempt(operation);
  if (status == DatabaseStatus::damaged) {
    repair();
    if (!ready(Access::write)) return false;
    status = attempt(operation);
  }
  return status == DatabaseStatus::done;
}

template <typename Operation>
DatabaseStatus DefaultsStore::attempt(Operation operation) {
  const auto patienceNow = patience();
  database_->setPatience(patienceNow);
  const auto status = operation(*database_);
  noteWait(status, patienceNow);
  return status;
}

std::chrono::milliseconds DefaultsStore::patience() const {
  const bool impatient = std::chrono::steady_clock::now() < impatientUntil_;
  return impatient ? std::chrono::milliseconds(0) : kPatience;
}

// A call that waited in vain spares the next ones the wait.
void DefaultsStore::noteWait(DatabaseStatus status, std::chrono::milliseconds patienceOfCall) {
  if (status == DatabaseStatus::busy && patienceOfCall == kPatience) {
    impatientUntil_ = std::chrono::steady_clock::now() + kImpatientFor;
  }
}

std::unique_ptr<DefaultsDatabase> DefaultsStore::openFile(DatabaseStatus& status) {
  const auto patienceNow = patience();
  auto database = DefaultsDatabase::open(path_, status, patienceNow);
  noteWait(status, patienceNow);
  return database;
}

bool DefaultsStore::ready(Access access) {
  const auto now = std::chrono::steady_clock::now();
  if (database_ && (access == Access::write || now - foundAt_ >= kStaysInPlace)) {
    foundAt_ = now;
    if (database_->hasGone()) database_.reset();
  }
  if (!database_ && !open()) return false;
  return !database_->isNewer();
}

bool DefaultsStore::open() {
  std::string refusal;
  const auto container = groupContainer(suite_, &refusal);
  auto status = DatabaseStatus::failed;
  if (container) {
    path_ = *container + "/Library/Preferences/" + suite_ + ".sqlite";
    if (isEmptied(path_)) {
      status = DatabaseStatus::damaged;
    } else {
      database_ = openFile(status);
    }
  }
  if (status == DatabaseStatus::damaged) {
    repair();
    database_ = openFile(status);
  }
  if (!database_) {
    report("it cannot be opened" + (refusal.empty() ? "" : ": " + refusal));
    return false;
  }
  ++opened_;
  reported_.clear();
  if (database_->isNewer()) report("it was made by a newer version and is left alone");
  return true;
}

// Processes that find the file damaged take turns, so that none sets the next one's new file aside.
void DefaultsStore::repair() {
  database_.reset();
  const FileDescriptor turn = lockedFolder(path_.substr(0, path_.rfind('/')), patience());
  if (!turn) return;
  if (isEmptied(path_)) {
    setAside();
    return;
  }
  auto status = DatabaseStatus::failed;
  auto again = openFile(status);
  if (again && !again->isNewer() && !again->isSound()) status = DatabaseStatus::damaged;
  again.reset();
  if (status == DatabaseStatus::damaged) setAside();
}

void DefaultsStore::setAside() {
  const std::string base = path_ + ".damaged-" + timeNow();
  std::string aside = base;
  for (int i = 2; ::access(aside.c_str(), F_OK) == 0; ++i) aside = base + "-" + std::to_string(i);
  for (const auto* const suffix : {"-wal", "-shm", ""}) {
    std::rename((path_ + suffix).c_str(), (aside + suffix).c_str());
  }
  report("it was damaged; kept as " + aside);
}

void DefaultsStore::report(std::string_view what) {
  std::string line = "store " + suite_ + ": ";
  line.append(what);
  if (reported_.insert(line).second) log_.NSLog(line);
}

}  // namespace tarvel

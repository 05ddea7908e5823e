#include <thread>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "platform/host/store/defaults_store.h"
#include "tests/temporary_home.h"
#include "tests/worker_process.h"

namespace tarvel {
namespace {

constexpr const char* kSuite = "org.tarvel.test";

class StoreTest : public testing::Test {
 protected:
  std::filesystem::path folder() const {
    return home.path() / "data" / kSuite / "Library/Preferences";
  }
  std::filesystem::path file() const { return folder() / "org.tarvel.test.sqlite"; }

  void execute(const std::string& sql) const {
    sqlite3* database = nullptr;
    sqlite3_open(file().c_str(), &database);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
    sqlite3_close(database);
  }

  // The files that were set aside.
  std::vector<std::string> damaged() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder())) {
      const std::string name = entry.path().filename();
      if (name.starts_with("org.tarvel.test.sqlite.damaged-")) names.push_back(name);
    }
    return names;
  }

  TemporaryHome home;
  KeptLog log;
};

TEST_F(StoreTest, KeepsEveryKindOfValue) {
  const PropertyList values[] = {"",
                                 "text",
                                 std::string("a\0b", 3),
                                 true,
                                 -1,
                                 1.5,
                                 Data{0, 255},
                                 Array{Array{"TempsDash", "1"}},
                                 Dictionary{{"a", 1}}};
  DefaultsStore store(kSuite, log);
  DefaultsStore other(kSuite, log);
  for (const PropertyList& value : values) {
    EXPECT_TRUE(store.set("key", value));
    EXPECT_EQ(other.get("key"), value);
    EXPECT_EQ(other.dictionaryRepresentation(), (Dictionary{{"key", value}}));
  }
  EXPECT_EQ(other.remove("key"), DefaultsStore::Removal::removed);
  EXPECT_EQ(store.remove("key"), DefaultsStore::Removal::absent);
  EXPECT_FALSE(store.get("key"));
  const std::string keys[] = {"", std::string("k\0", 2), "ключ", "key' OR 1"};
  for (const std::string& key : keys) store.set(key, key);
  for (const std::string& key : keys) EXPECT_EQ(other.get(key), PropertyList(key));
  EXPECT_EQ(log.lines, std::vector<std::string>());
}

TEST_F(StoreTest, ChangesOneValueInOneTransaction) {
  DefaultsStore store(kSuite, log);
  store.set("key", 1);
  EXPECT_FALSE(store.change("key", [](const auto&) { return std::nullopt; }));
  EXPECT_TRUE(store.change("key", [](const auto& value) { return Array{*value, 2}; }));
  EXPECT_EQ(store.get("key"), PropertyList(Array{1, 2}));
}

TEST_F(StoreTest, TellsAWatcherOfChangesAlone) {
  DefaultsStore watcher(kSuite, log);
  DefaultsStore writer(kSuite, log);
  writer.set("key", 1);
  const auto seen = watcher.changeToken();
  writer.set("key", 1);
  writer.remove("other");
  EXPECT_EQ(watcher.changeToken(), seen);
  writer.set("key", 2);
  const auto later = watcher.changeToken();
  EXPECT_NE(later, seen);
  watcher.set("key", 3);
  EXPECT_NE(watcher.changeToken(), later);
}

TEST_F(StoreTest, ServesTheUserDefaults) {
  const auto defaults = makeUserDefaultsSuites(log)->initWithSuiteName(kSuite);
  const struct {
    PropertyList value;
    bool expected;
  } booleans[] = {{true, true},     {false, false},      {2, true},      {0, false},
                  {0.5, true},      {"YES", true},       {" +01", true}, {"no", false},
                  {Data{1}, false}, {Array{true}, false}};
  DefaultsStore store(kSuite, log);
  EXPECT_FALSE(defaults->valueForKey("flag"));
  for (const auto& [value, expected] : booleans) {
    store.set("flag", value);
    EXPECT_EQ(defaults->boolForKey("flag"), expected);
    EXPECT_TRUE(defaults->valueForKey("flag"));
  }
  defaults->removeObjectForKey("flag");
  EXPECT_FALSE(defaults->valueForKey("flag"));
  EXPECT_FALSE(defaults->boolForKey("flag"));
  defaults->setBool(false, "flag");
  defaults->setValue("1.2.5", "version");
  defaults->setObject(Data{1, 2}, "data");
  EXPECT_EQ(store.dictionaryRepresentation(),
            (Dictionary{{"flag", false}, {"version", "1.2.5"}, {"data", Data{1, 2}}}));
}

// A request that cannot be taken out of a locked store is acted on once.
TEST_F(StoreTest, HidesWhatItCouldNotRemoveUntilItIsWrittenAnew) {
  const auto defaults = makeUserDefaultsSuites(log)->initWithSuiteName(kSuite);
  DefaultsStore viewer(kSuite, log);
  viewer.set("request", true);
  sqlite3* other = nullptr;
  sqlite3_open(file().c_str(), &other);
  sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
  EXPECT_TRUE(defaults->boolForKey("request"));
  defaults->removeObjectForKey("request");
  EXPECT_FALSE(defaults->boolForKey("request"));
  const auto before = std::chrono::steady_clock::now();
  EXPECT_FALSE(defaults->valueForKey("request"));
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));  // no second wait
  EXPECT_EQ(viewer.get("request"), PropertyList(true));
  sqlite3_close(other);
  EXPECT_FALSE(defaults->boolForKey("request"));
  EXPECT_FALSE(viewer.get("request"));
  viewer.set("request", true);
  EXPECT_TRUE(defaults->boolForKey("request"));
  EXPECT_EQ(log.lines.size(), 1U);
}

TEST_F(StoreTest, TreatsAValueThatIsNoneAsAbsent) {
  DefaultsStore store(kSuite, log);
  store.set("key", 1);
  execute("UPDATE defaults SET value='text'; INSERT INTO defaults VALUES('empty', x'')");
  EXPECT_FALSE(store.get("key"));
  EXPECT_EQ(store.dictionaryRepresentation(), Dictionary());
  EXPECT_TRUE(store.change("key", [](const auto& value) { return PropertyList(value ? 1 : 2); }));
  EXPECT_EQ(store.get("key"), PropertyList(2));
}

TEST_F(StoreTest, SetsADamagedFileAsideAndBeginsAnew) {
  const auto spoil = [&](std::size_t from, std::size_t to) {
    std::string bytes = contentsOf(file());
    for (std::size_t i = from; i < std::min(to, bytes.size()); ++i) bytes[i] = '\x55';
    writeFile(file(), bytes);
  };
  const struct {
    const char* what;
    std::function<void()> damage;
  } cases[] = {
      {"a text", [&] { writeFile(file(), std::string(5000, '-')); }},
      {"a short text", [&] { writeFile(file(), "some text"); }},
      {"no table", [&] { execute("DROP TABLE defaults"); }},
      {"another table", [&] { execute("ALTER TABLE defaults RENAME COLUMN value TO v"); }},
      {"its pages", [&] { spoil(4096, 1 << 20); }},
      {"its end", [&] { std::filesystem::resize_file(file(), 4096 + 100); }},
  };
  for (const auto& [what, damage] : cases) {
    SCOPED_TRACE(what);
    std::filesystem::remove_all(folder());
    DefaultsStore(kSuite, log).set("key", Data(20000, 1));
    damage();
    log.lines.clear();
    DefaultsStore store(kSuite, log);
    EXPECT_FALSE(store.get("key"));
    EXPECT_TRUE(store.set("key", "new"));
    EXPECT_EQ(DefaultsStore(kSuite, log).get("key"), PropertyList("new"));
    EXPECT_EQ(damaged().size(), 1U);
    EXPECT_EQ(log.lines.size(), 1U);
  }
}

TEST_F(StoreTest, RunsNothingThatTheFileBringsAlong) {
  DefaultsStore(kSuite, log).set("key", 1);
  execute(
      "CREATE TRIGGER endless AFTER UPDATE ON defaults BEGIN INSERT INTO defaults WITH RECURSIVE "
      "n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i, x'' FROM n; END");
  DefaultsStore store(kSuite, log);
  EXPECT_TRUE(store.set("key", 2));
  EXPECT_EQ(store.dictionaryRepresentation(), (Dictionary{{"key", 2}}));
  execute("ALTER TABLE defaults RENAME TO t; CREATE VIEW defaults AS SELECT * FROM t");
  EXPECT_FALSE(DefaultsStore(kSuite, log).get("key"));
  EXPECT_FALSE(damaged().empty());
}

TEST_F(StoreTest, RepairsWhatIsDamagedWhileOpen) {
  DefaultsStore store(kSuite, log);
  DefaultsStore other(kSuite, log);
  store.set("key", Data(20000, 1));
  execute("PRAGMA wal_checkpoint(TRUNCATE)");
  std::fstream(file()).seekp(4096).write(std::string(40000, '\x55').data(), 40000);
  execute("PRAGMA user_version=1");  // what the handles have cached is out of date
  EXPECT_FALSE(store.get("key"));
  EXPECT_TRUE(store.set("key", "new"));
  EXPECT_EQ(other.get("key"), PropertyList("new"));
  EXPECT_FALSE(damaged().empty());
}

TEST_F(StoreTest, LeavesANewerFileAlone) {
  DefaultsStore(kSuite, log).set("key", 1);
  execute("PRAGMA user_version=2; PRAGMA wal_checkpoint(TRUNCATE)");
  const std::string before = contentsOf(file());
  {
    DefaultsStore store(kSuite, log);
    EXPECT_FALSE(store.get("key"));
    EXPECT_FALSE(store.set("key", 2));
    EXPECT_EQ(store.remove("key"), DefaultsStore::Removal::failed);
    EXPECT_FALSE(store.change("key", [](const auto&) { return PropertyList(3); }));
  }
  EXPECT_EQ(contentsOf(file()), before);
  EXPECT_EQ(log.lines.size(), 1U);
}

TEST_F(StoreTest, GoesOnWithTheFileThatStandsThere) {
  DefaultsStore store(kSuite, log);
  DefaultsStore other(kSuite, log);
  store.set("key", 1);
  other.get("key");
  std::filesystem::remove_all(home.path() / "data");
  EXPECT_TRUE(store.set("key", 2));
  EXPECT_EQ(other.get("key"), PropertyList(2));
}

TEST_F(StoreTest, BeginsAnewWhereTheFileWasEmptied) {
  const auto defaults = makeUserDefaultsSuites(log)->initWithSuiteName(kSuite);
  defaults->setValue("1.2.5", "version");
  DefaultsStore other(kSuite, log);
  other.set("key", 1);
  std::filesystem::resize_file(file(), 0);
  EXPECT_FALSE(defaults->valueForKey("key"));
  EXPECT_TRUE(other.set("key", 2));
  EXPECT_EQ(DefaultsStore(kSuite, log).dictionaryRepresentation(),
            (Dictionary{{"key", 2}, {"version", "1.2.5"}}));
  EXPECT_FALSE(damaged().empty());
}

TEST_F(StoreTest, BoundsWhatAReaderThatStaysCosts) {
  DefaultsStore store(kSuite, log);
  store.set("key", 0);
  sqlite3* reader = nullptr;
  sqlite3_open(file().c_str(), &reader);
  sqlite3_exec(reader, "BEGIN; SELECT * FROM defaults", nullptr, nullptr, nullptr);
  std::uint8_t number = 0;
  while (number < 200 && store.set("key", Data(1 << 20, ++number))) {
  }
  EXPECT_LT(std::filesystem::file_size(file().string() + "-wal"), 80U << 20);
  EXPECT_TRUE(store.get("key"));
  EXPECT_EQ(log.lines.size(), 1U);
  sqlite3_close(reader);
  EXPECT_TRUE(store.set("key", 1));
  EXPECT_TRUE(store.set("key", 2));
  EXPECT_LT(std::filesystem::file_size(file().string() + "-wal"), 8U << 20);
}

TEST_F(StoreTest, ReadsAsEmptyWhereItCannotBe) {
  writeFile(home.path() / "data", "no folder");
  DefaultsStore store(kSuite, log);
  EXPECT_FALSE(store.get("key"));
  EXPECT_FALSE(store.set("key", 1));
  EXPECT_EQ(log.lines.size(), 1U);
  std::filesystem::remove(home.path() / "data");
  EXPECT_TRUE(store.set("key", 1));
}

TEST_F(StoreTest, KeepsTheOldValueWhenTheDiskIsFull) {
  EXPECT_EQ(WorkerProcess({"crowded", "key"}).wait(), 0);
}

TEST_F(StoreTest, LosesNothingBetweenProcessesAndThreads) {
  WorkerProcess processes[] = {WorkerProcess({"add", "sum", "200"}),
                               WorkerProcess({"add", "sum", "200"}),
                               WorkerProcess({"add", "sum", "200"})};
  DefaultsStore store(kSuite, log);
  std::vector<std::thread> threads;
  threads.reserve(3);
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 100; ++n) {
        store.change("sum", [](const auto& value) {
          return PropertyList(value ? *value->template as<std::int64_t>() + 1 : 1);
        });
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (WorkerProcess& process : processes) EXPECT_EQ(process.wait(), 0);
  EXPECT_EQ(store.get("sum"), PropertyList(900));
}

TEST_F(StoreTest, StaysWholeWhenWritersAreKilled) {
  DefaultsStore store(kSuite, log);
  store.set("key", Array(400, PropertyList(0)));
  for (int round = 0; round < 10; ++round) {
    WorkerProcess writer({"write", "key"});
    const auto before = store.changeToken();
    while (store.changeToken() == before) std::this_thread::yield();
    EXPECT_EQ(WorkerProcess({"read", "key", "100"}).wait(), 0);
    writer.kill();
    EXPECT_EQ(WorkerProcess({"read", "key", "1"}).wait(), 0);
  }
  EXPECT_EQ(log.lines, std::vector<std::string>());
}

}  // namespace
}  // namespace tarvel

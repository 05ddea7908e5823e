// Another process of the product, for tests: host_worker OPERATION ARGUMENT…
//   write KEY          writes ever higher numbers, 400 of the same in each value, until it is
//   killed read KEY COUNT     reads as often; 1 when a value is not whole add KEY COUNT      adds 1
//   to the number, as often crowded KEY        fills its disk and writes more; 1 unless the old
//   value is kept register IDENTIFIER    says how many run, in one line, and waits for the end of
//   its input samples FOLDER     writes one archive a file, for other readers

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <sys/resource.h>

#include "platform/host/presence/application_registry.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"

namespace tarvel {
namespace {

constexpr std::size_t kRepeats = 400;

int write(DefaultsStore& store, const std::string& key) {
  for (std::int64_t number = 1;; ++number) store.set(key, Array(kRepeats, PropertyList(number)));
}

int read(DefaultsStore& store, const std::string& key, int count) {
  for (std::int64_t latest = 0; count > 0; --count) {
    const auto value = store.get(key);
    const auto* const array = value ? value->as<Array>() : nullptr;
    if (array == nullptr || array->size() != kRepeats) return 1;
    if (*array != Array(kRepeats, array->front())) return 1;
    const std::int64_t number = *array->front().as<std::int64_t>();
    if (number < latest) return 1;
    latest = number;
  }
  return 0;
}

int add(DefaultsStore& store, const std::string& key, int count) {
  for (; count > 0; --count) {
    const bool added = store.change(key, [](const std::optional<PropertyList>& value) {
      return PropertyList(value ? *value->as<std::int64_t>() + 1 : 1);
    });
    if (!added) return 1;
  }
  return 0;
}

int crowded(DefaultsStore& store, const std::string& key) {
  if (!store.set(key, "old")) return 1;
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {65536, 65536};
  if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
  const bool stored = store.set(key, Data(1000000, 1));
  return !stored && store.get(key) == PropertyList("old") && store.set(key, "new") ? 0 : 1;
}

int registerUntilEnd(const std::string& identifier) {
  const ApplicationRegistry registry(identifier);
  std::cout << registry.running(identifier).size() << std::endl;
  std::cin.ignore(1);
  return 0;
}

int samples(const std::filesystem::path& folder) {
  const std::vector<std::pair<std::string, Array>> all = {
      {"empty", {}},
      {"records", {Array{"Fan 1", "1200", "1"}, Array{"CPU", "45", "0"}}},
      {"texts", {"", "ß 漢字 😀", std::string(300, 'x'), "$null"}},
      {"nul", {std::string("a\0b", 3)}},
      {"numbers", {1, -1, 4294967296, 2.5, true, false}},
      {"others", {Data{0, 255}, Dictionary{{"key", Array{"value"}}, {"none", Dictionary{}}}}},
      {"many", Array(300, PropertyList("same"))},
      {"very-many", Array(70000, PropertyList("same"))},
  };
  for (const auto& [name, root] : all) {
    const Data bytes = makeKeyedArchiver()->archivedDataWithRootObject(root);
    std::ofstream file(folder / (name + ".plist"), std::ios::binary);
    for (const std::uint8_t byte : bytes) file.put(static_cast<char>(byte));
    if (!file) return 1;
  }
  return 0;
}

int run(const std::vector<std::string>& arguments) {
  const auto log = makeSystemLog();
  DefaultsStore store("org.tarvel.test", *log);
  const std::string& operation = arguments.at(0);
  const std::string& subject = arguments.at(1);
  const int count = arguments.size() > 2 ? std::atoi(arguments[2].c_str()) : 0;
  if (operation == "write") return write(store, subject);
  if (operation == "read") return read(store, subject, count);
  if (operation == "add") return add(store, subject, count);
  if (operation == "crowded") return crowded(store, subject);
  if (operation == "register") return registerUntilEnd(subject);
  return operation == "samples" ? samples(subject) : 2;
}

}  // namespace
}  // namespace tarvel

int main(int count, char** arguments) try {
  return count < 3 ? 2 : tarvel::run({arguments + 1, arguments + count});
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 2;
}

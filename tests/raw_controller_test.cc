#include "platform/linux/sensors/raw_controller.h"

#include <chrono>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "platform/host/files/file_descriptor.h"
#include "tests/linux_machine.h"

namespace tarvel {
namespace {

// The key table of a controller behind its index; another program moves the index now and then.
class TableOfKeys : public KeyAtIndex {
 public:
  explicit TableOfKeys(std::size_t& accesses) : accesses_(accesses) {
    std::ifstream file(kMachines / "macbook-2007-keys.txt");
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
      Row row;
      std::istringstream(line) >> row.index;
      row.name = line.substr(line.find('\t') + 1, 4);
      row.type = line.substr(line.find(row.name) + 5, 4);
      std::istringstream(line.substr(line.find(row.type) + 5)) >> row.length >> row.data;
      rows_.push_back(row);
    }
  }
  unsigned count() override { return static_cast<unsigned>(rows_.size()); }
  void lock() override {}
  void unlock() override {}
  bool select(unsigned index) override {
    index_ = ++accesses_ % 7 == 0 ? 3 : index;
    return index < rows_.size();
  }
  std::string name() override { return rows_[index_].name; }
  std::string type() override { return rows_[index_].type; }
  std::string length() override { return rows_[index_].length; }
  std::string data() override {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < rows_[index_].data.size(); i += 2) {
      bytes += static_cast<char>(std::stoi(rows_[index_].data.substr(i, 2), nullptr, 16));
    }
    return bytes;
  }

 private:
  struct Row {
    std::string index, name, type, length, data;
  };
  std::size_t& accesses_;
  std::vector<Row> rows_;
  unsigned index_ = 0;
};

TEST(LinuxSMC, WaitsForNobodyWhoHoldsTheIndex) {
  const TemporaryTree tree;
  tree.write("key_at_index", "0");
  const FileDescriptor other(::open(tree.path("key_at_index").c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
  const auto before = std::chrono::steady_clock::now();
  openKeyAtIndex(tree.path())->lock();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
}

TEST(LinuxSMC, ReadsARawControllerOnceACycle) {
  Machine machine;
  std::size_t accesses = 0;
  machine.options.openController = [&](const std::string&) {
    return std::make_unique<TableOfKeys>(accesses);
  };
  const auto expected = machine.unpack("macbook-2007");
  machine.sys.remove("devices/platform/applesmc.768/temp7_input");  // labels are not needed
  EXPECT_EQ(machine.cycle(), expected);
  accesses = 0;
  EXPECT_EQ(machine.cycle(), expected);
  EXPECT_LE(accesses, 15U + 5U);  // every key once, and again where the index was moved
}

}  // namespace
}  // namespace tarvel

#include "platform/linux/sensors/raw_controller.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/smc_record.h"
#include "platform/linux/sysfs.h"

namespace tarvel {
namespace {

constexpr int kAttempts = 3;

class KeyFiles : public KeyAtIndex {
 public:
  KeyFiles(const std::string& folder, FileDescriptor index)
      : prefix_(folder + "/key_at_index"), folder_(folder), index_(std::move(index)) {}

  unsigned count() override {
    return static_cast<unsigned>(std::clamp<std::int64_t>(
        leadingInteger(readAttribute(folder_ + "/key_count")).value_or(0), 0, UINT16_MAX));
  }
  void lock() override {
    constexpr int kTries = 20;
    constexpr std::chrono::milliseconds kPause{5};
    for (int i = 0; i < kTries && ::flock(index_.get(), LOCK_EX | LOCK_NB) != 0; ++i) {
      std::this_thread::sleep_for(kPause);
    }
  }
  void unlock() override { ::flock(index_.get(), LOCK_UN); }
  bool select(unsigned index) override {
    const std::string text = std::to_string(index);
    return ::pwrite(index_.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
  }
  std::string name() override { return readAttribute(prefix_ + "_name"); }
  std::string type() override { return readAttribute(prefix_ + "_type"); }
  std::string length() override { return readAttribute(prefix_ + "_data_length"); }
  std::string data() override { return readAttributeBytes(prefix_ + "_data").value_or(""); }

 private:
  const std::string prefix_;
  const std::string folder_;
  const FileDescriptor index_;
};

// A place without a sensor reads -127 or -128 degrees.
bool isConnected(const ControllerValue& value) {
  const bool temperature = value.type == smc_record::codeOf("sp78") && value.size == 2;
  return !temperature || (value.bytes[0] != 0x80 && value.bytes[0] != 0x81);
}

}  // namespace

std::unique_ptr<KeyAtIndex> openKeyAtIndex(const std::string& folder) {
  FileDescriptor index(::open((folder + "/key_at_index").c_str(), O_RDWR | O_CLOEXEC));
  if (!index) return nullptr;
  return std::make_unique<KeyFiles>(folder, std::move(index));
}

bool RawController::works() {
  const unsigned count = keys_->count();
  if (count < 2) return false;
  keys_->lock();
  const std::string first = nameAt(0);
  const std::string last = nameAt(count - 1);
  keys_->unlock();
  return first.size() == 4 && last.size() == 4 && first < last;
}

void RawController::read() {
  keys_->lock();
  for (auto& [code, entry] : entries_) {
    if (std::exchange(entry.wanted, false) && !entry.absent) readEntry(code, entry);
  }
  keys_->unlock();
}

void RawController::publish() {
  for (auto& [code, entry] : entries_) {
    if (entry.incoming) entry.value = std::exchange(entry.incoming, std::nullopt);
  }
}

std::optional<ControllerValue> RawController::value(std::uint32_t key) const {
  const auto entry = entries_.find(key);
  return entry == entries_.end() ? std::nullopt : entry->second.value;
}

std::string RawController::nameAt(unsigned index) {
  const auto known = names_.find(index);
  if (known != names_.end()) return known->second;
  // Another program may have moved the index: a name counts when it is read twice.
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!keys_->select(index)) return {};
    std::string name = keys_->name();
    if (name.size() != 4 || !keys_->select(index) || keys_->name() != name) continue;
    names_[index] = name;
    return name;
  }
  return {};
}

void RawController::find(const std::string& key, Entry& entry) {
  unsigned low = 0;
  for (unsigned high = keys_->count(); low < high;) {
    const unsigned middle = low + (high - low) / 2;
    const std::string name = nameAt(middle);
    if (name.empty()) return;
    if (name == key) {
      entry.index = middle;
      return;
    }
    if (name < key) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  entry.absent = true;
}

void RawController::readEntry(std::uint32_t code, Entry& entry) {
  const std::string key = smc_record::codeText(code);
  if (!entry.index) find(key, entry);
  for (int attempt = 0; attempt < kAttempts && entry.index; ++attempt) {
    if (!keys_->select(*entry.index)) return;
    ControllerValue value;
    value.type = smc_record::codeOf(keys_->type());
    const auto length = std::clamp<std::int64_t>(leadingInteger(keys_->length()).value_or(-1), -1,
                                                 static_cast<std::int64_t>(value.bytes.size()));
    const std::string data = keys_->data();
    if (keys_->name() != key) continue;
    if (length < 0 || std::cmp_less(data.size(), length)) return;
    value.size = static_cast<std::uint32_t>(length);
    std::ranges::transform(data.substr(0, value.size), value.bytes.begin(),
                           [](char c) { return static_cast<std::uint8_t>(c); });
    if (isConnected(value)) entry.incoming = value;
    return;
  }
}

}  // namespace tarvel

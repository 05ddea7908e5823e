#include "platform/host/store/reading_times.h"

#include <cstdint>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/files/file_descriptor.h"
#include "product/store_keys.h"

namespace tarvel {
namespace {

using Nanoseconds = std::int64_t;

std::optional<off_t> placeOf(std::string_view readingKey) {
  for (std::size_t i = 0; i < kPanelTable.size(); ++i) {
    if (kPanelTable[i].readingKey == readingKey) {
      return static_cast<off_t>(i * sizeof(Nanoseconds));
    }
  }
  return std::nullopt;
}

Nanoseconds now() {
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME, &time);
  return Nanoseconds{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

ReadingTimes::ReadingTimes(std::string_view suite) {
  if (const auto container = groupContainer(suite)) {
    path_ = *container + "/Library/Caches/ReadingTimes";
  }
}

void ReadingTimes::note(std::string_view readingKey) const {
  const auto place = placeOf(readingKey);
  if (!place || path_.empty()) return;
  const FileDescriptor file(
      ::open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  const Nanoseconds time = now();
  // What cannot be noted makes the reading look old, which is the safe side.
  if (file && ::pwrite(file.get(), &time, sizeof time, *place) < 0) return;
}

ReadingTimes::Ages ReadingTimes::ages() const {
  Ages ages;
  if (path_.empty()) return ages;
  const FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  std::array<Nanoseconds, kPanelTable.size()> times{};
  if (!file || ::pread(file.get(), times.data(), sizeof times, 0) <= 0) return ages;
  for (std::size_t i = 0; i < times.size(); ++i) {
    const Nanoseconds age = now() - times[i];
    if (times[i] <= 0 || age < 0) continue;
    ages[i] = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::nanoseconds(age));
  }
  return ages;
}

}  // namespace tarvel

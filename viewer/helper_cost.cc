#include "viewer/helper_cost.h"

#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>

#include <unistd.h>

#include "platform/host/files/small_file.h"
#include "platform/host/presence/application_registry.h"
#include "product/identifiers.h"
#include "text/words.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kStatmLimit = 4096;  // bytes

// The processor time of all its threads, also of those that have ended.
std::optional<std::chrono::nanoseconds> processorTime(pid_t pid) {
  clockid_t clock{};
  timespec time{};
  if (::clock_getcpuclockid(pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
    return std::nullopt;
  }
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::uint64_t residentKilobytes(pid_t pid) {
  const auto text = readSmallFile("/proc/" + std::to_string(pid) + "/statm", kStatmLimit);
  std::string_view fields = text ? *text : std::string_view();
  takeWord(fields);  // its size
  const auto resident = wholeNumber(takeWord(fields));
  return resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) / 1024;
}

}  // namespace

std::optional<HelperCost::Figures> HelperCost::measure(const ApplicationRegistry& registry,
                                                       std::chrono::steady_clock::time_point now) {
  const auto helpers = registry.running(kHelperIdentifier);
  if (helpers.empty()) return std::nullopt;
  Figures figures;
  figures.pid = static_cast<pid_t>(std::strtol(helpers.front().instance.c_str(), nullptr, 10));
  // An entry may tell no process id, and 0 would be the process that asks.
  const auto time = figures.pid > 0 ? processorTime(figures.pid) : std::nullopt;
  figures.processorTime = time;
  if (!time) return figures;
  if (figures.pid != pid_) {
    pid_ = figures.pid;
    since_ = now;
    before_ = *time;
  }
  figures.residentKilobytes = residentKilobytes(pid_);
  const std::chrono::duration<double> watched = now - since_;
  const std::chrono::duration<double, std::milli> used = *time - before_;
  if (watched >= 3s) figures.millisecondsACycle = used.count() / (watched.count() / 3);
  return figures;
}

}  // namespace tarvel::viewer

#include "platform/linux/processes/process_text.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace tarvel {
namespace {

constexpr std::uint64_t kKernelThread = 0x00200000;  // PF_KTHREAD of linux/sched.h

// Takes the next blank-separated field off the text.
std::string_view nextField(std::string_view& text) {
  constexpr std::string_view kBlanks = " \t\n";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const std::string_view field = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(field.size());
  return field;
}

void skipFields(std::string_view& text, int count) {
  while (count-- > 0) nextField(text);
}

// The next field as a whole number into `number`; whether it is one.
template <typename Number>
bool take(std::string_view& text, Number& number) {
  const std::string_view field = nextField(text);
  const char* const end = field.data() + field.size();
  const auto result = std::from_chars(field.data(), end, number);
  return result.ec == std::errc() && result.ptr == end;
}

// The number that follows the label at the beginning of a line.
template <typename Number>
bool takeLabelled(std::string_view text, std::string_view label, int fieldsBetween,
                  Number& number) {
  for (auto at = text.find(label); at != std::string_view::npos; at = text.find(label, at + 1)) {
    if (at != 0 && text[at - 1] != '\n') continue;
    text.remove_prefix(at + label.size());
    skipFields(text, fieldsBetween);
    return take(text, number);
  }
  return false;
}

}  // namespace

std::optional<ProcessStat> parseStat(std::string_view text) {
  // A name may hold anything, ")" too; what follows it is numbers.
  const auto open = text.find('(');
  const auto close = text.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
    return std::nullopt;
  }
  ProcessStat stat;
  stat.name = text.substr(open + 1, close - open - 1);
  text.remove_prefix(close + 1);
  std::uint64_t user = 0;
  std::uint64_t system = 0;
  std::uint64_t flags = 0;
  skipFields(text, 6);  // state to tpgid
  if (!take(text, flags)) return std::nullopt;
  skipFields(text, 4);  // minflt to cmajflt
  if (!take(text, user) || !take(text, system)) return std::nullopt;
  skipFields(text, 4);  // cutime to nice
  if (!take(text, stat.threads)) return std::nullopt;
  skipFields(text, 1);  // itrealvalue
  if (!take(text, stat.startTime)) return std::nullopt;
  skipFields(text, 1);  // vsize
  if (!take(text, stat.residentPages)) return std::nullopt;
  stat.ticks = user + system;
  stat.isKernelThread = (flags & kKernelThread) != 0;
  return stat;
}

std::optional<std::int64_t> parseResidentPages(std::string_view text) {
  std::int64_t pages = 0;
  skipFields(text, 1);  // size
  if (!take(text, pages)) return std::nullopt;
  return pages;
}

std::optional<ProcessStatus> parseStatus(std::string_view text) {
  ProcessStatus status;
  if (!takeLabelled(text, "Uid:", 1, status.user)) return std::nullopt;
  // Kernel threads have no memory of their own.
  takeLabelled(text, "VmSwap:", 0, status.swapKiB);
  return status;
}

std::optional<std::uint64_t> parseDiskBytes(std::string_view text) {
  std::uint64_t read = 0;
  std::uint64_t written = 0;
  if (!takeLabelled(text, "read_bytes:", 0, read)) return std::nullopt;
  if (!takeLabelled(text, "write_bytes:", 0, written)) return std::nullopt;
  return read + written;
}

bool isSwapInUse(std::string_view text) {
  for (auto line = text.find('\n'); line != std::string_view::npos; line = text.find('\n')) {
    text.remove_prefix(line + 1);
    std::string_view fields = text.substr(0, text.find('\n'));
    std::uint64_t used = 0;
    skipFields(fields, 3);  // file, type, size
    if (take(fields, used) && used > 0) return true;
  }
  return false;
}

std::optional<std::int32_t> parseLastId(std::string_view text) {
  std::int32_t id = 0;
  skipFields(text, 4);  // loads, running and existing threads
  return take(text, id) ? std::optional(id) : std::nullopt;
}

std::optional<std::int32_t> parsePid(std::string_view name) {
  std::int32_t pid = 0;
  const char* const end = name.data() + name.size();
  const auto result = std::from_chars(name.data(), end, pid);
  if (result.ec != std::errc() || result.ptr != end || pid <= 0) return std::nullopt;
  return pid;
}

std::optional<std::chrono::microseconds> parseGroupUsage(std::string_view text) {
  constexpr auto kMost = std::chrono::floor<std::chrono::microseconds>(
      std::chrono::nanoseconds::max());  // what can be told in nanoseconds
  std::int64_t usage = 0;
  if (!takeLabelled(text, "usage_usec", 0, usage)) return std::nullopt;
  if (usage < 0 || usage > kMost.count()) return std::nullopt;
  return std::chrono::microseconds(usage);
}

std::vector<std::int32_t> parseIds(std::string_view text) {
  std::vector<std::int32_t> ids;
  while (!text.empty()) {
    const auto pid = parsePid(nextField(text));
    if (pid) ids.push_back(*pid);
  }
  return ids;
}

}  // namespace tarvel

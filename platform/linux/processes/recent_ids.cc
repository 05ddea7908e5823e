#include "platform/linux/processes/recent_ids.h"

#include <utility>

#include "platform/linux/processes/process_text.h"

namespace tarvel {
namespace {

constexpr std::size_t kListEvery = 8;

}  // namespace

RecentIds::RecentIds(const std::string& root) : isOwnNamespace_(showsOwnProcesses(root)) {}

std::optional<RecentIds::Range> RecentIds::look(ProcessFiles& files, std::size_t known) {
  if (!isOwnNamespace_) return std::nullopt;
  const auto now = parseLastId(files.read("loadavg"));
  const auto last = std::exchange(last_, now);
  const auto after = std::exchange(after_, last);
  const bool isListDue = looks_++ % kListEvery == 0;
  if (isListDue || !now || !last || !after || *now < *last || *last < *after) return std::nullopt;
  if (static_cast<std::size_t>(*now - *after) > known) return std::nullopt;
  return Range{*after, *now};
}

}  // namespace tarvel

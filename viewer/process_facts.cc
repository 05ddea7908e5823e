#include "viewer/process_facts.h"

#include <algorithm>
#include <array>
#include <iterator>

#include <pwd.h>
#include <sys/stat.h>

#include "text/printable_text.h"
#include "text/words.h"
#include "viewer/machine/kept_file.h"

namespace tarvel::viewer {
namespace {

std::string folderOf(const std::string& root, std::int32_t pid) {
  return root + "/" + std::to_string(pid);
}

std::string textOf(const std::string& path) {
  KeptFile file(path);
  return std::string(file.read());
}

std::string userOf(const std::string& folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) != 0) return {};
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  ::getpwuid_r(status.st_uid, &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? printableText(found->pw_name) : std::to_string(status.st_uid);
}

// Arguments stand one after the other, each ended by a NUL. Some programs overwrite them with one
// text of their own.
void readCommand(const std::string& folder, ProcessFacts& facts) {
  std::string text = textOf(folder + "/cmdline");
  const std::string first = text.substr(0, text.find_first_of(std::string_view("\0 ", 2)));
  facts.program = printableText(first.substr(first.rfind('/') + 1));
  while (text.ends_with('\0')) text.pop_back();
  std::replace(text.begin(), text.end(), '\0', ' ');
  facts.command = printableText(text);
}

}  // namespace

bool parseProcessStat(std::string_view text, ProcessFacts& facts) {
  // The name in brackets may hold anything, brackets too: what follows the last one counts.
  const auto close = text.rfind(')');
  if (close == std::string_view::npos) return false;
  text.remove_prefix(close + 1);
  std::array<std::string_view, 20> fields;  // from the third of the file on
  for (auto& field : fields) field = takeWord(text);
  if (fields[0].size() != 1 || fields[19].empty()) return false;
  facts.state = fields[0].front();
  facts.parent = static_cast<std::int32_t>(wholeNumber(fields[1]));
  facts.nice = static_cast<long>(decimalNumber(fields[16]));
  facts.threads = static_cast<long>(wholeNumber(fields[17]));
  facts.startTime = wholeNumber(fields[19]);
  return true;
}

const ProcessFacts* ProcessFactsReader::of(std::int32_t pid) {
  const auto known = entries_.find(pid);
  if (known != entries_.end() && known->second.isFresh) {
    known->second.isUsed = true;
    return &known->second.facts;
  }
  const std::string folder = folderOf(root_, pid);
  ProcessFacts facts;
  if (!parseProcessStat(textOf(folder + "/stat"), facts)) {
    entries_.erase(pid);
    return nullptr;
  }
  auto& entry = entries_[pid];
  entry.isUsed = true;
  entry.isFresh = true;
  if (entry.facts.startTime == facts.startTime && !entry.facts.user.empty()) {
    facts.program = std::move(entry.facts.program);
    facts.command = std::move(entry.facts.command);
    facts.user = std::move(entry.facts.user);
  } else {
    entry.traffic.reset();
    readCommand(folder, facts);
    facts.user = userOf(folder);
  }
  entry.facts = std::move(facts);
  return &entry.facts;
}

void ProcessFactsReader::endRefresh() {
  for (auto entry = entries_.begin(); entry != entries_.end();) {
    const bool isUsed = std::exchange(entry->second.isUsed, false);
    entry->second.isFresh = false;
    entry->second.areRatesFresh = false;
    entry = isUsed ? std::next(entry) : entries_.erase(entry);
  }
}

void ProcessFactsReader::updateRates(std::int32_t pid, Entry& entry) {
  const auto traffic = readTraffic(pid, root_);
  const auto now = std::chrono::steady_clock::now();
  const std::chrono::duration<double> passed = now - entry.trafficTime;
  entry.rates.reset();
  if (traffic && entry.traffic && passed.count() > 0) {
    const auto rate = [&](std::uint64_t before, std::uint64_t after) {
      return after > before ? static_cast<double>(after - before) / passed.count() : 0;
    };
    entry.rates = {rate(entry.traffic->bytesRead, traffic->bytesRead),
                   rate(entry.traffic->bytesWritten, traffic->bytesWritten)};
  }
  entry.traffic = traffic;
  entry.trafficTime = now;
  entry.areRatesFresh = true;
}

std::optional<ProcessRates> ProcessFactsReader::ratesOf(std::int32_t pid) {
  if (of(pid) == nullptr) return std::nullopt;
  auto& entry = entries_[pid];
  if (!entry.areRatesFresh) updateRates(pid, entry);
  return entry.rates;
}

std::optional<ProcessTraffic> readTraffic(std::int32_t pid, const std::string& root) {
  const std::string text = textOf(folderOf(root, pid) + "/io");
  if (text.empty()) return std::nullopt;
  ProcessTraffic traffic;
  for (std::string_view rest = text; !rest.empty();) {
    auto line = takeLine(rest);
    const auto name = takeWord(line);
    if (name == "read_bytes:") traffic.bytesRead = wholeNumber(takeWord(line));
    if (name == "write_bytes:") traffic.bytesWritten = wholeNumber(takeWord(line));
  }
  return traffic;
}

}  // namespace tarvel::viewer

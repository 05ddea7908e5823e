#include "process/process_usage.h"

#include <algorithm>
#include <utility>

#include "platform/task.h"
#include "text/conversions.h"
#include "text/utf8.h"

namespace tarvel {
namespace {

// The text between the first opening tag and the closing one that follows it; empty without both.
std::string_view between(std::string_view item, std::string_view open, std::string_view close) {
  const auto start = item.find(open);
  if (start == std::string_view::npos) return {};
  const auto first = start + open.size();
  const auto end = item.find(close, first);
  return end == std::string_view::npos ? std::string_view{} : item.substr(first, end - first);
}

std::string withoutNewlines(std::string_view item) {
  std::string line(item);
  std::erase(line, '\n');
  return line;
}

void appendRecord(std::string line, const ProcessSampler& sampler, const IconLookup& icon,
                  std::vector<std::string>& records) {
  const auto pid = intValue(between(line, "<pid>", "</pid>"));
  const std::string value = icon(pid, std::string(between(line, "<name>", "</name>")));
  if (value.empty()) return;
  if (sampler.applicationsOnly && value == kUnknownIcon) return;
  records.push_back(std::move(line.append("<icon>").append(value).append("</icon>")));
}

}  // namespace

const ProcessSampler kCPUSampler = {
    R"(top -o cpu -l 2 -n 30 -stats pid,cpu,command | tail -n 30 | )"
    R"(awk '{print "<pid>"$1"</pid><name>"$3,$4,$5"</name><cpu>"$2"</cpu></item>"}')",
    30, false};

const ProcessSampler kMemorySampler = {
    R"(top -o mem -l 2 -n 30 -stats pid,mem,cmprs,command | tail -n 30 | )"
    R"(awk '{print "<pid>"$1"</pid><name>"$4,$5,$6"</name>)"
    R"(<mem>"$2"</mem><cmprs>"$3"</cmprs></item>"}')",
    30, false};

const ProcessSampler kEnergySampler = {
    R"(top -o power -l 2 -n 50 -stats pid,power,user,command | tail -n 50 | )"
    R"(awk '{print "<pid>"$1"</pid><name>"$4,$5,$6"</name>)"
    R"(<power>"$2"</power><user>"$3"</user></item>"}')",
    50, true};

std::string runSampler(const ProcessSampler& sampler, Tasks& tasks) {
  return tasks.launchAndReadOutput("/bin/sh", {"-c", std::string(sampler.command)});
}

std::vector<std::string> processRecords(std::string_view output, const ProcessSampler& sampler,
                                        const IconLookup& icon) {
  constexpr std::string_view separator = "</item>";
  std::vector<std::string> records;
  if (!isUTF8(output)) return records;
  for (std::size_t start = 0; start <= output.size();) {
    const auto end = std::min(output.find(separator, start), output.size());
    std::string line = withoutNewlines(output.substr(start, end - start));
    if (!line.empty()) appendRecord(std::move(line), sampler, icon, records);
    start = end + separator.size();
  }
  return records;
}

}  // namespace tarvel

#include "platform/host/standard_error_log.h"

#include <string>

#include <unistd.h>

#include "text/printable_text.h"

namespace tarvel {
namespace {

constexpr std::size_t kLongestLine = 4096;  // PIPE_BUF: what a pipe takes in one piece

class StandardErrorLog : public SystemLog {
 public:
  void NSLog(std::string_view text) override {
    std::string line = printableText(text.substr(0, kLongestLine - 1));
    line.push_back('\n');
    // A log that cannot be written has nobody to tell.
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
  }
};

}  // namespace

std::unique_ptr<SystemLog> makeSystemLog() { return std::make_unique<StandardErrorLog>(); }

}  // namespace tarvel

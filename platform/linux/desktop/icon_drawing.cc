#include "platform/linux/desktop/icon_drawing.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/processes/child_process.h"

namespace tarvel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr off_t kLargestIcon = 4 * 1024 * 1024;           // bytes
constexpr std::size_t kLargestDrawing = 5 * 1024 * 1024;  // bytes of TIFF, 1024 pixels a side

FileDescriptor openIcon(const std::string& path) {
  FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  const bool regular = file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
  return regular && status.st_size <= kLargestIcon ? std::move(file) : FileDescriptor();
}

// What comes through the pipe until its end; none when it takes too long or is too much.
std::optional<Data> readUntil(int descriptor, Clock::time_point deadline) {
  Data data;
  std::array<std::uint8_t, 65536> buffer;
  while (data.size() <= kLargestDrawing) {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd source{descriptor, POLLIN, 0};
    if (rest.count() <= 0 || ::poll(&source, 1, static_cast<int>(rest.count())) == 0) break;
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count == 0) return data;
    if (count < 0 && errno != EINTR) break;
    data.insert(data.end(), buffer.begin(), buffer.begin() + std::max<ssize_t>(count, 0));
  }
  return std::nullopt;
}

Data runDrawing(const std::string& program, const std::vector<std::string>& arguments,
                const FileDescriptor& input, std::chrono::milliseconds limit) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return {};
  const FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);
  const FileDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  const ChildSetting setting{
      // What libraries have to say of a user's file is not for the helper's log.
      .descriptors = {{input.get(), STDIN_FILENO},
                      {writing.get(), STDOUT_FILENO},
                      {nowhere.get(), STDERR_FILENO}},
      .environment = std::vector<std::string>()};
  const auto child = spawnProgram(program, arguments, setting);
  writing.reset();
  if (!child) return {};
  auto data = readUntil(reading.get(), Clock::now() + limit);
  if (!data) ::kill(*child, SIGKILL);
  const bool succeeded = waitForProgram(*child) == 0;
  return data && succeeded ? std::move(*data) : Data{};
}

}  // namespace

Data drawIcon(const std::string& program, const IconFile& icon, std::chrono::milliseconds limit) {
  const FileDescriptor file = openIcon(icon.path);
  if (!file) return {};
  return runDrawing(program, {std::to_string(icon.points), std::to_string(icon.pixels)}, file,
                    limit);
}

Data drawGenericIcon(const std::string& program) {
  // It reads nothing hostile: the limit is for a machine that is slow to start a program.
  constexpr std::chrono::seconds kStart(10);
  const FileDescriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  return runDrawing(program, {"generic"}, nothing, kStart);
}

}  // namespace tarvel

// ata_disk NUMBER NAME WORD…: a disk of the guest, made through the kernel's user-space target and
// loopback fabric. It answers as a SCSI/ATA translator in front of an ATA disk does, notes every
// ATA command in /job/log ("NAME e5 00 00 ok": command, feature, count, outcome) and prints its
// node when it is there. Words:
//   dir=FOLDER   answers the blocks identify.bin and smart.bin of this folder
//   model=TEXT celsius=N   else: a signed block with this model, and one attribute 194
//   standby      CHECK POWER MODE says so
//   no16 no12    these sizes of ATA PASS-THROUGH are refused
//   fixed silent registers come in fixed format, or not at all
//   fail=XX      the command, or feature of a SMART command, is aborted (may be repeated)
//   delay=MS     every ATA command takes that long

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Block = std::array<std::uint8_t, 512>;
using namespace std::chrono_literals;

// The ring that the kernel's user-space target shares with us, as <linux/target_core_user.h> lays
// it out, which is no C++.
struct Mailbox {
  std::uint16_t version;
  std::uint16_t flags;
  std::uint32_t ringOffset;
  std::uint32_t ringSize;
  std::uint32_t head;              // the kernel's
  alignas(64) std::uint32_t tail;  // ours
};

struct Entry {
  std::uint32_t lengthAndKind;
  std::uint16_t id;
  std::uint8_t kernelFlags;
  std::uint8_t userFlags;
  union {
    struct {
      std::uint32_t parts;
      std::uint32_t otherParts[2];
      std::uint64_t commandOffset;
      std::uint64_t reserved[2];
      iovec part[1];  // as many as there are parts, at offsets of the mailbox
    } request;
    struct {
      std::uint8_t status;
      std::uint8_t reserved[3];
      std::uint32_t readLength;
      std::uint8_t sense[96];
    } answer;
  };
};

static_assert(offsetof(Mailbox, tail) == 64);
static_assert(offsetof(Entry, request.commandOffset) == 24);
static_assert(offsetof(Entry, request.part) == 48);
static_assert(offsetof(Entry, answer.sense) == 16);

constexpr std::uint32_t kKindMask = 7;
constexpr std::uint32_t kCommandEntry = 1;
constexpr std::uint8_t kReadLengthIsGiven = 2;

constexpr std::uint8_t kCheckCondition = 2;
constexpr std::size_t kPageBytes = 572;

void signBlock(Block& block) {
  block[511] = 0;
  block[511] =
      static_cast<std::uint8_t>(256 - std::accumulate(block.begin(), block.end(), 0) % 256);
}

struct Settings {
  std::string name;
  Block identify{};
  Block smart{};
  bool standby = false, no16 = false, no12 = false, fixed = false, silent = false;
  std::set<int> failing;
  std::chrono::milliseconds delay{0};
};

void readBlock(const fs::path& path, Block& block) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  std::copy_n(bytes.begin(), std::min(bytes.size(), block.size()), block.begin());
}

void setModel(Block& block, std::string_view model) {
  for (std::size_t i = 0; i < 40; ++i) {
    block[54 + (i ^ 1)] = static_cast<std::uint8_t>(i < model.size() ? model[i] : ' ');
  }
  block[160] = 0xF0, block[161] = 0x01;  // ATA/ATAPI-4 to ATA-8
  block[164] = block[170] = 1;           // S.M.A.R.T. is there and switched on
  block[510] = 0xA5;
  signBlock(block);
}

void setTemperature(Block& block, int celsius) {
  block[2] = 194;
  block[7] = static_cast<std::uint8_t>(celsius);
  signBlock(block);
}

Settings parse(std::span<char*> words) {
  Settings settings;
  settings.name = words[1];
  for (const std::string_view word : words.subspan(2)) {
    const auto equals = word.find('=');
    const std::string what(word.substr(0, equals));
    const std::string value(equals == word.npos ? "" : word.substr(equals + 1));
    if (what == "dir") {
      readBlock(fs::path(value) / "identify.bin", settings.identify);
      readBlock(fs::path(value) / "smart.bin", settings.smart);
    }
    if (what == "model") setModel(settings.identify, value);
    if (what == "celsius") setTemperature(settings.smart, std::stoi(value));
    if (what == "fail") settings.failing.insert(std::stoi(value, nullptr, 16));
    if (what == "delay") settings.delay = std::chrono::milliseconds(std::stoi(value));
    settings.standby = settings.standby || what == "standby";
    settings.no16 = settings.no16 || what == "no16";
    settings.no12 = settings.no12 || what == "no12";
    settings.fixed = settings.fixed || what == "fixed";
    settings.silent = settings.silent || what == "silent";
  }
  return settings;
}

struct Answer {
  std::uint8_t status = 0;
  std::array<std::uint8_t, 96> sense{};
  std::string data;
  bool endless = false;  // zeros, as many as are wanted

  void illegalRequest(std::uint8_t code) {
    status = kCheckCondition;
    sense[0] = 0x70, sense[2] = 5, sense[7] = 10, sense[12] = code;
  }
};

// The ATA disk and its translator.
class Disk {
 public:
  explicit Disk(Settings settings) : set_(std::move(settings)) {}

  Answer execute(const std::uint8_t* cdb) {
    Answer answer;
    switch (cdb[0]) {
      case 0x85:
      case 0xA1:
        passThrough(cdb, answer);
        break;
      case 0x12:
        inquiry(cdb, answer);
        break;
      case 0x25:
        answer.data = std::string("\0\0\xFF\xFF\0\0\2\0", 8);
        break;
      case 0x1A:
        answer.data = std::string("\3\0\0\0", 4);
        break;
      case 0x5A:
        answer.data = std::string("\0\6\0\0\0\0\0\0", 8);
        break;
      case 0x08:
      case 0x28:
      case 0x88:
        answer.endless = true;
        break;
      case 0x00:
      case 0x1B:
      case 0x35:
        break;
      default:
        answer.illegalRequest(0x20);
    }
    return answer;
  }

 private:
  struct Registers {
    std::uint8_t status = 0x50, error = 0, count = 0, mid = 0, high = 0;
  };

  void passThrough(const std::uint8_t* cdb, Answer& answer) {
    const bool wide = cdb[0] == 0x85;
    const std::uint8_t feature = wide ? cdb[4] : cdb[3];
    const std::uint8_t count = wide ? cdb[6] : cdb[4];
    const std::uint8_t command = wide ? cdb[14] : cdb[9];
    std::this_thread::sleep_for(set_.delay);
    if (wide ? set_.no16 : set_.no12) {
      answer.illegalRequest(0x20);
      return note(command, feature, count, "refused");
    }
    const Registers registers = run(command, feature, count, answer.data);
    const bool aborted = registers.error != 0;
    const bool asked = (cdb[2] & 0x20) != 0;
    if (aborted || (asked && !set_.silent)) tell(registers, aborted ? 0xB : 1, answer);
    note(command, feature, count, aborted ? "aborted" : "ok");
  }

  Registers run(std::uint8_t command, std::uint8_t feature, std::uint8_t count, std::string& data) {
    constexpr Registers kAborted{0x51, 4};
    const auto give = [&](const Block& block) { data.assign(block.begin(), block.end()); };
    if (set_.failing.contains(command == 0xB0 ? feature : command)) return kAborted;
    if (command == 0xEC) return give(set_.identify), Registers{};
    if (command == 0xE5) {
      return {0x50, 0, static_cast<std::uint8_t>(set_.standby ? 0x00 : 0xFF), 0, 0};
    }
    if (command != 0xB0) return kAborted;
    if (feature == 0xD8) return enabled_ = true, Registers{};
    if (!enabled_) return kAborted;
    if (feature == 0xD9) return enabled_ = false, Registers{};
    if (feature == 0xDA) return {0x50, 0, 0, 0x4F, 0xC2};
    if (feature == 0xD0) return give(set_.smart), Registers{};
    return feature == 0xD2 && (count == 0xF1 || count == 0) ? Registers{} : kAborted;
  }

  void tell(const Registers& registers, std::uint8_t key, Answer& answer) const {
    auto& sense = answer.sense;
    answer.status = kCheckCondition;
    if (set_.fixed) {
      sense[0] = 0x70, sense[2] = key, sense[3] = registers.error, sense[4] = registers.status;
      sense[6] = registers.count, sense[7] = 10, sense[10] = registers.mid;
      sense[11] = registers.high, sense[13] = 0x1D;
      return;
    }
    sense[0] = 0x72, sense[1] = key, sense[3] = 0x1D, sense[7] = 14, sense[8] = 9, sense[9] = 12;
    sense[11] = registers.error, sense[13] = registers.count, sense[17] = registers.mid;
    sense[19] = registers.high, sense[21] = registers.status;
  }

  void inquiry(const std::uint8_t* cdb, Answer& answer) const {
    std::string& data = answer.data;
    if ((cdb[1] & 1) == 0) {
      data = std::string("\0\0\5\2\37\0\0\0", 8) + "ATA     " + set_.name;
      data.resize(36, ' ');
    } else if (cdb[2] == 0x00) {
      data = std::string("\0\0\0\3\0\x83\x89", 7);
    } else if (cdb[2] == 0x83) {
      data = std::string("\0\x83\0\x14\2\1\0\x10", 8) + set_.name;
      data.resize(24, ' ');
    } else if (cdb[2] == 0x89) {
      data = std::string("\0\x89\2\x38\0\0\0\0", 8) + "GUEST   ATA DISK        1.0 ";
      data.resize(kPageBytes - set_.identify.size(), '\0');
      data[36] = 0x34;
      data[56] = static_cast<char>(0xEC);
      data.append(set_.identify.begin(), set_.identify.end());
    } else {
      answer.illegalRequest(0x24);
    }
  }

  void note(std::uint8_t command, std::uint8_t feature, std::uint8_t count,
            const char* outcome) const {
    char line[200];
    const int length = std::snprintf(line, sizeof line, "%s %02x %02x %02x %s\n", set_.name.c_str(),
                                     command, feature, count, outcome);
    const int log = ::open("/job/log", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (log < 0 || ::write(log, line, static_cast<std::size_t>(length)) != length)
      std::perror(line);
    ::close(log);
  }

  const Settings set_;
  bool enabled_ = true;
};

// The command ring that the kernel shares with the process.
class Ring {
 public:
  Ring(int device, std::size_t size) : device_(device) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, device, 0);
    if (memory == MAP_FAILED) std::abort();
    base_ = static_cast<char*>(memory);
  }

  void serve(Disk& disk) {
    auto* box = reinterpret_cast<Mailbox*>(base_);
    for (std::uint32_t wake = 0; ::read(device_, &wake, sizeof wake) == sizeof wake;) {
      std::atomic_ref<std::uint32_t> tail(box->tail);
      while (tail != std::atomic_ref<std::uint32_t>(box->head)) {
        auto* entry = reinterpret_cast<Entry*>(base_ + box->ringOffset + tail);
        const std::uint32_t word = entry->lengthAndKind;
        if ((word & kKindMask) == kCommandEntry) complete(disk, *entry);
        tail = (tail + (word & ~kKindMask)) % box->ringSize;
        wake = 0;
        if (::write(device_, &wake, sizeof wake) != sizeof wake) return;
      }
    }
  }

 private:
  void complete(Disk& disk, Entry& entry) {
    const auto& request = entry.request;
    const Answer answer =
        disk.execute(reinterpret_cast<const std::uint8_t*>(base_ + request.commandOffset));
    std::size_t at = 0;
    for (std::uint32_t i = 0; i < request.parts; ++i) {
      const iovec& part = request.part[i];
      char* to = base_ + reinterpret_cast<std::uintptr_t>(part.iov_base);
      const auto given = std::min(at, answer.data.size());
      const auto length = std::min(answer.data.size() - given, part.iov_len);
      if (length > 0 || answer.endless) std::memset(to, 0, part.iov_len);
      std::copy_n(answer.data.data() + given, length, to);
      at += part.iov_len;
    }
    entry.answer = {answer.status, {}, 0, {}};
    if (at > answer.data.size() && !answer.data.empty()) {
      entry.answer.readLength = static_cast<std::uint32_t>(answer.data.size());
      entry.userFlags |= kReadLengthIsGiven;
    }
    std::copy(answer.sense.begin(), answer.sense.end(), entry.answer.sense);
  }

  int device_;
  char* base_ = nullptr;
};

void put(const fs::path& path, std::string_view text) { std::ofstream(path) << text << std::flush; }

std::string contents(const fs::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

// The device of the backstore with this name, once the kernel has made it.
std::string userDevice(const std::string& name) {
  for (int attempt = 0; attempt < 500; ++attempt, std::this_thread::sleep_for(10ms)) {
    for (const auto& entry : fs::directory_iterator("/sys/class/uio")) {
      if (contents(entry.path() / "name").ends_with("/" + name)) return entry.path().filename();
    }
  }
  std::abort();
}

std::string makeBackstore(const std::string& number) {
  const fs::path store = "/sys/kernel/config/target/core/user_" + number + "/disk" + number;
  fs::create_directories(store);
  put(store / "control", "dev_config=disk/disk" + number + ",dev_size=33554432,hw_block_size=512");
  put(store / "enable", "1");
  return store;
}

// The node of the disk in the loopback fabric. The kernel asks the disk meanwhile.
std::string attach(const std::string& number, const fs::path& store) {
  const std::string digits = std::string(4 - std::min<std::size_t>(4, number.size()), '0') + number;
  const fs::path port = "/sys/kernel/config/target/loopback/naa.600000000000" + digits + "/tpgt_1";
  fs::create_directories(port);
  put(port / "nexus", "naa.700000000000" + digits);
  fs::create_directories(port / "lun/lun_0");
  fs::create_directory_symlink(store, port / "lun/lun_0/backstore");
  const fs::path blocks = "/sys/class/scsi_disk/" + contents(port / "address") + ":0/device/block";
  for (int attempt = 0; attempt < 500; ++attempt, std::this_thread::sleep_for(10ms)) {
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(blocks, none)) return entry.path().filename();
  }
  return "no node";
}

}  // namespace

int main(int count, char** words) {
  if (count < 3) return 2;
  const std::string number = words[1];
  Disk disk(parse(std::span(words, static_cast<std::size_t>(count)).subspan(1)));
  const std::string store = makeBackstore(number);
  const std::string device = userDevice("disk" + number);
  const auto size =
      std::stoul(contents("/sys/class/uio/" + device + "/maps/map0/size"), nullptr, 16);
  Ring ring(::open(("/dev/" + device).c_str(), O_RDWR | O_CLOEXEC), size);
  std::thread([&] {
    const std::string node = attach(number, store);
    std::printf("%s %s\n", words[2], node.c_str());
    std::fflush(stdout);
  }).detach();
  ring.serve(disk);
}

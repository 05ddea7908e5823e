// What the sensors cost: a cycle with all five kinds over a machine of 60 sensors, decoding one
// value, and the archive of 118 records against libplist in the same run. Prints processor time.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <plist/plist.h>
#include <sys/resource.h>

#include "platform/ata_smart.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/standard_error_log.h"
#include "platform/linux/sensors/linux_apple_smc.h"
#include "sensors/fan_sensors.h"
#include "sensors/temp_sensors.h"
#include "sensors/voltage_sensors.h"
#include "smc/smc_wrapper.h"
#include "tests/temporary_tree.h"

namespace tarvel {
namespace {

// User and system time of all threads so far, in microseconds.
double processorTime() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto micro = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
  };
  return micro(usage.ru_utime) + micro(usage.ru_stime);
}

// The median of several rounds, in microseconds a run.
template <typename Work>
double costOf(int runs, Work work) {
  std::array<double, 9> rounds{};
  for (double& round : rounds) {
    const double start = processorTime();
    for (int i = 0; i < runs; ++i) work();
    round = (processorTime() - start) / runs;
  }
  std::ranges::sort(rounds);
  return rounds[rounds.size() / 2];
}

class NoDisks : public AtaSmart {
 public:
  std::vector<Service> servicesMatchingProperty(std::string_view) override { return {}; }
  std::vector<Service> servicesMatchingClass(std::string_view) override { return {}; }
  std::unique_ptr<AtaSmartPlugIn> IOCreatePlugInInterfaceForService(Service) override {
    return nullptr;
  }
};

struct SensorFileOfChip {
  std::string name, label, value;
};

void writeChip(const TemporaryTree& sys, const std::string& number, const std::string& name,
               const std::vector<SensorFileOfChip>& sensors) {
  const std::string folder = "class/hwmon/hwmon" + number;
  sys.write(folder + "/name", name + "\n");
  for (const auto& [file, label, value] : sensors) {
    const std::string path = std::string(folder).append("/").append(file);
    if (!label.empty()) sys.write(path + "_label", label + "\n");
    sys.write(path + "_input", value + "\n");
  }
}

// 20 cores and their package, 3 drives, 9 supply rails, 4 board voltages, a graphics card of 4, 9
// fans with a minimum, Wi-Fi.
void writeMachine(const TemporaryTree& sys) {
  std::vector<SensorFileOfChip> cores = {{"temp1", "Package id 0", "50000"}};
  for (int core = 0; core < 20; ++core) {
    cores.push_back({"temp" + std::to_string(core + 2), "Core " + std::to_string(core), "45000"});
  }
  writeChip(sys, "0", "coretemp", cores);
  for (const char* number : {"1", "2", "3"}) {
    writeChip(sys, number, "nvme", {{"temp1", "Composite", "38850"}});
  }
  writeChip(sys, "4", "corsairpsu",
            {{"in1", "v_out +12v", "12040"},
             {"in2", "v_out +5v", "5010"},
             {"in3", "v_out +3.3v", "3310"},
             {"curr1", "curr +12v", "21000"},
             {"power1", "power total", "310000000"},
             {"power2", "power +12v", "270000000"},
             {"power3", "power +5v", "25000000"},
             {"power4", "power +3.3v", "15000000"},
             {"temp1", "vrm temp", "44000"}});
  std::vector<SensorFileOfChip> board = {
      {"in0", "", "1200"}, {"in3", "", "3300"}, {"in7", "", "3380"}, {"in8", "", "3040"}};
  for (int fan = 1; fan <= 9; ++fan) {
    board.push_back({"fan" + std::to_string(fan), "", "1200"});
    sys.write("class/hwmon/hwmon5/fan" + std::to_string(fan) + "_min", "300\n");
  }
  writeChip(sys, "5", "nct6798", board);
  writeChip(sys, "6", "amdgpu",
            {{"temp1", "edge", "61000"},
             {"temp3", "mem", "70000"},
             {"in0", "vddgfx", "950"},
             {"power1", "PPT", "120000000"}});
  writeChip(sys, "7", "iwlwifi_1", {{"temp1", "", "37000"}});
}

void benchCycle() {
  const TemporaryTree sys;
  writeMachine(sys);
  MonotonicTime now{};
  LinuxSMCOptions options;
  options.root = sys.path();
  options.clock.now = [&now] { return now; };
  const auto smc = makeLinuxAppleSMC(options);
  const auto log = makeSystemLog();
  SMCSession session(*smc, *log);
  NoDisks disks;
  std::size_t records = 0;
  const auto cycle = [&] {
    now += std::chrono::seconds(3);
    SMCVoltageSensors electrical(session);
    records = SMCFanSensors(session).getFans().size() + electrical.getVoltages().size() +
              electrical.getCurrent().size() + electrical.getPower().size() +
              SMCTempSensors(session, disks).getTemps().size();
  };
  cycle();
  std::printf("cycle of five kinds, %zu records: %.0f us (bar: 1000)\n", records,
              costOf(300, cycle));
}

void benchDecoding() {
  constexpr const char* types[] = {"ui16", "flt ", "fpe2", "sp4b", "sp78", "sp87", "sp96", "{pwm"};
  std::array<std::uint8_t, 32> bytes{0x2E, 0x85, 0x96, 0x44};
  std::array<char, kValueTextSize> text{};
  const double cost = costOf(20000, [&] {
    for (const char* type : types) {
      const std::uint32_t size = std::string_view(type) == "flt " ? 4 : 2;
      ++bytes[1];
      SMCWrapper::getStringRepresentationForSizeOfTypeInBuffer(bytes, size, type, text);
    }
  });
  std::printf("decoding a value: %.0f ns (bar: 150)\n",
              cost * 1000 / static_cast<double>(std::size(types)));
}

using Rows = std::vector<std::array<std::string, 3>>;

class PlistNode {
 public:
  explicit PlistNode(plist_t node) : node_(node) {}
  ~PlistNode() { plist_free(node_); }
  PlistNode(const PlistNode&) = delete;
  PlistNode& operator=(const PlistNode&) = delete;
  plist_t get() const { return node_; }

 private:
  plist_t node_;
};

plist_t arrayObject(plist_t elements, std::uint64_t classNumber) {
  plist_t object = plist_new_dict();
  plist_dict_set_item(object, "NS.objects", elements);
  plist_dict_set_item(object, "$class", plist_new_uid(classNumber));
  return object;
}

std::vector<std::uint8_t> archivedByLibplist(const Rows& rows) {
  plist_t objects = plist_new_array();
  plist_t rootElements = plist_new_array();
  plist_array_append_item(objects, plist_new_string("$null"));
  plist_array_append_item(objects, arrayObject(rootElements, 2));
  plist_t description = plist_new_dict();
  plist_t classes = plist_new_array();
  plist_array_append_item(classes, plist_new_string("NSArray"));
  plist_array_append_item(classes, plist_new_string("NSObject"));
  plist_dict_set_item(description, "$classname", plist_new_string("NSArray"));
  plist_dict_set_item(description, "$classes", classes);
  plist_array_append_item(objects, description);
  std::uint64_t next = 3;
  for (const auto& row : rows) {
    plist_t elements = plist_new_array();
    plist_array_append_item(rootElements, plist_new_uid(next));
    plist_array_append_item(objects, arrayObject(elements, 2));
    for (const auto& text : row) {
      plist_array_append_item(elements, plist_new_uid(++next));
      plist_array_append_item(objects, plist_new_string(text.c_str()));
    }
    ++next;
  }
  const PlistNode archive(plist_new_dict());
  plist_dict_set_item(archive.get(), "$version", plist_new_uint(100000));
  plist_dict_set_item(archive.get(), "$archiver", plist_new_string("NSKeyedArchiver"));
  plist_t top = plist_new_dict();
  plist_dict_set_item(top, "root", plist_new_uid(1));
  plist_dict_set_item(archive.get(), "$top", top);
  plist_dict_set_item(archive.get(), "$objects", objects);
  char* bytes = nullptr;
  std::uint32_t length = 0;
  plist_to_bin(archive.get(), &bytes, &length);
  std::vector<std::uint8_t> data(bytes, bytes + length);
  plist_to_bin_free(bytes);
  return data;
}

plist_t objectOf(plist_t objects, plist_t reference) {
  std::uint64_t number = 0;
  plist_get_uid_val(reference, &number);
  return plist_array_get_item(objects, static_cast<std::uint32_t>(number));
}

std::unique_ptr<PlistNode> parsedByLibplist(const std::vector<std::uint8_t>& data) {
  plist_t root = nullptr;
  plist_from_bin(reinterpret_cast<const char*>(data.data()),
                 static_cast<std::uint32_t>(data.size()), &root);
  return std::make_unique<PlistNode>(root);
}

Rows unarchivedByLibplist(const std::vector<std::uint8_t>& data) {
  const auto archive = parsedByLibplist(data);
  plist_t root = archive->get();
  plist_t objects = plist_dict_get_item(root, "$objects");
  plist_t top = plist_dict_get_item(plist_dict_get_item(root, "$top"), "root");
  plist_t elements = plist_dict_get_item(objectOf(objects, top), "NS.objects");
  Rows rows(plist_array_get_size(elements));
  for (std::uint32_t i = 0; i < rows.size(); ++i) {
    plist_t row = objectOf(objects, plist_array_get_item(elements, i));
    plist_t texts = plist_dict_get_item(row, "NS.objects");
    for (std::uint32_t j = 0; j < rows[i].size(); ++j) {
      std::uint64_t length = 0;
      const char* text =
          plist_get_string_ptr(objectOf(objects, plist_array_get_item(texts, j)), &length);
      rows[i][j].assign(text, length);
    }
  }
  return rows;
}

void benchArchive() {
  Array records;
  Rows rows;
  for (int i = 0; i < 118; ++i) {
    rows.push_back({"Sensor of this machine " + std::to_string(i), std::to_string(30 + i), "1"});
    records.emplace_back(Array{rows.back()[0], rows.back()[1], rows.back()[2]});
  }
  const auto archiver = makeKeyedArchiver();
  const Data ours = archiver->archivedDataWithRootObject(records);
  const auto theirs = archivedByLibplist(rows);
  const bool agree =
      unarchivedByLibplist(ours) == rows && archiver->unarchiveObjectWithData(theirs) == records;
  const double write = costOf(500, [&] { archiver->archivedDataWithRootObject(records); });
  const double read = costOf(500, [&] { archiver->unarchiveObjectWithData(ours); });
  const double libplistWrite = costOf(100, [&] { archivedByLibplist(rows); });
  const double libplistRead = costOf(100, [&] { unarchivedByLibplist(theirs); });
  const double libplistParse = costOf(100, [&] { parsedByLibplist(theirs); });
  std::printf("archive of 118 records, each reads the other's: %s\n", agree ? "yes" : "NO");
  std::printf("  write %.1f us, libplist %.1f us: %.1f times (bar: 8)\n", write, libplistWrite,
              libplistWrite / write);
  std::printf("  read  %.1f us, libplist %.1f us: %.1f times (bar: 8)\n", read, libplistRead,
              libplistRead / read);
  std::printf("  (libplist spends %.1f us of its reading on the property list alone)\n",
              libplistParse);
}

}  // namespace
}  // namespace tarvel

int main() try {
  tarvel::benchCycle();
  tarvel::benchDecoding();
  tarvel::benchArchive();
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "%s\n", failure.what());
  return 1;
}

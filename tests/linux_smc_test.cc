#include <chrono>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/host/files/file_descriptor.h"
#include "tests/linux_machine.h"

// Sensors that come, go, sleep, fail and hang.

namespace tarvel {
namespace {

using std::chrono::milliseconds;

TEST(LinuxSMC, IsNoServiceWithoutSysfs) {
  Machine machine;
  testing::internal::CaptureStdout();
  EXPECT_TRUE(machine.cycle().empty());
  EXPECT_TRUE(machine.cycle().empty());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error: no SMC found\n");
  EXPECT_EQ(machine.log.lines, Lines({"Unable to open SMC."}));
}

TEST(LinuxSMC, FindsTheFirstSensorThoughItComesLate) {
  Machine machine;
  machine.chip("0", "acpitz", {"temp1_input", "27800"});  // nothing that is shown
  testing::internal::CaptureStdout();
  EXPECT_TRUE(machine.cycle().empty());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  machine.chip("1", "iwlwifi_1", {"temp1_input", "41000"});
  machine.cycle();  // a scan goes on beside the cycle that starts it
  EXPECT_EQ(machine.cycle(), Lines({"= temperature\tAirport Proximity=41"}));
}

TEST(LinuxSMC, KeepsReadingsOfSensorsThatFailOrSleep) {
  Machine machine;
  machine.chip("0", "amdgpu", {"temp1_label", "edge", "temp1_input", "60000"});
  machine.chip("1", "iwlwifi_1", {"temp1_input", ""});
  machine.chip("2", "k10temp", {"temp1_label", "Tctl", "temp1_input", "50000"});
  machine.chip("3", "pch_cannonlake");
  machine.sys.link("devices/chip3/temp1_input", "/proc/self/mem");  // reads as EIO
  EXPECT_EQ(machine.cycle(), named("temperature", {"CPU Diode=50", "GPU Diode=60"}));
  machine.sys.write("devices/parent0/power/runtime_status", "suspended\n");
  machine.set("0", "temp1_input", "99000");
  machine.sys.write("devices/chip2/temp1_input", "");
  machine.set("1", "temp1_input", "40000");
  const auto all = named("temperature", {"Airport Proximity=40", "CPU Diode=50", "GPU Diode=60"});
  EXPECT_EQ(machine.cycle(), all);
  EXPECT_EQ(machine.cycle(), all);
  machine.sys.write("devices/parent0/power/runtime_status", "active\n");
  EXPECT_EQ(machine.cycle(),
            named("temperature", {"Airport Proximity=40", "CPU Diode=50", "GPU Diode=99"}));
}

TEST(LinuxSMC, FollowsDevicesThatComeAndGo) {
  Machine machine;
  machine.chip("0", "nct6798", {"fan1_input", "0", "fan2_input", "900", "in3_input", "3300"});
  EXPECT_EQ(machine.cycle(), Lines({"= fan\tFan2=900 0 0", "= voltage\tMain 3.3V=3.30"}));
  machine.chip("1", "nvme", {"temp1_label", "Composite", "temp1_input", "30000"});
  machine.set("0", "fan2_input", "0");  // stands still, but has turned
  const Lines both = {"= temperature\tSSD Proximity=30", "= fan\tFan2=0 0 0",
                      "= voltage\tMain 3.3V=3.30"};
  EXPECT_EQ(machine.cycle(), both);
  machine.unplug("1");
  machine.unplug("0");
  EXPECT_TRUE(machine.cycle().empty());
  machine.chip("5", "nvme", {"temp1_label", "Composite", "temp1_input", "31000"});
  EXPECT_EQ(machine.cycle(), named("temperature", {"SSD Proximity=31"}));
}

TEST(LinuxSMC, ShowsWhatIsOffAsOff) {
  Machine machine;
  machine.chip("0", "amdgpu",
               {"temp1_label", "edge", "temp1_input", "60000", "power1_label", "PPT",
                "power1_input", "30000000", "fan1_input", "1500"});
  const std::string status = "devices/parent0/power/runtime_status";
  const auto expected = [](const Lines& temperature, const char* fan, const char* power) {
    Lines lines = named("temperature", temperature);
    lines.push_back(std::string("= fan\tGPUFan=") + fan + " 0 0");
    lines.push_back(std::string("= power\tGPU Pack Total=") + power);
    return lines;
  };
  machine.sys.write(status, "suspended\n");
  EXPECT_EQ(machine.cycle(), expected({}, "0", "0.00"));
  machine.sys.write(status, "active\n");
  EXPECT_EQ(machine.cycle(), expected({"GPU Diode=60"}, "1500", "30.00"));
  machine.sys.write(status, "suspended\n");
  EXPECT_EQ(machine.cycle(), expected({"GPU Diode=60"}, "0", "0.00"));
  // One that may sleep is not kept from it: four cycles of three seconds pass between readings.
  machine.sys.write("devices/parent0/power/control", "auto\n");
  machine.sys.write(status, "active\n");
  for (int cycle = 0; cycle < 5; ++cycle) {
    machine.set("0", "power1_input", std::to_string(cycle + 1) + "0000000");
    const char* power = cycle < 4 ? "10.00" : "50.00";
    EXPECT_EQ(machine.cycle(), expected({"GPU Diode=60"}, "1500", power)) << cycle;
  }
}

TEST(LinuxSMC, AsksTheLibraryOfCardsThatAreAwake) {
  Machine machine;
  machine.options.nvidia = {machine.sys.path("nvidia"), TARVEL_FAKE_NVIDIA};
  machine.sys.write("nvidia/0000:01:00.0/information", "");
  machine.sys.write("nvidia/0000:02:00.0/information", "");  // the library does not know it
  machine.sys.write("bus/pci/devices/0000:02:00.0/power/runtime_status", "active\n");
  const auto status = [&](const char* text) {
    machine.sys.write("bus/pci/devices/0000:01:00.0/power/runtime_status", text);
  };
  status("suspended\n");
  EXPECT_EQ(machine.cycle(), Lines({"= fan\tGPUFan=0 0 0", "= power\tGPU Pack Total=0.00"}));
  status("active\n");
  const Lines awake = {"= temperature\tGPU Diode=55", "= fan\tGPUFan=1800 0 0",
                       "= power\tGPU Pack Total=42.00"};
  EXPECT_EQ(machine.cycle(), awake);
  Machine without;
  without.options.nvidia = {machine.sys.path("nvidia"), "libof-no-driver.so"};
  EXPECT_TRUE(without.cycle().empty());
}

TEST(LinuxSMC, FindsACoreThatComesBack) {
  Machine machine;
  machine.sys.write("devices/system/cpu/online", "0-1\n");
  machine.chip("0", "coretemp",
               {"temp2_label", "Core 0", "temp2_input", "40000", "temp3_label", "Core 1",
                "temp3_input", "41000"});
  const auto both = named("temperature", {"CPU Core 1=40", "CPU Core 2=41"});
  EXPECT_EQ(machine.cycle(), both);
  machine.sys.write("devices/system/cpu/online", "0\n");
  for (const char* file : {"temp3_label", "temp3_input"}) {
    machine.sys.remove(std::string("devices/chip0/") + file);
  }
  EXPECT_EQ(machine.cycle(), named("temperature", {"CPU Core 1=40"}));
  machine.sys.write("devices/system/cpu/online", "0-1\n");
  machine.cycle();  // its files come a moment later than it
  machine.set("0", "temp3_label", "Core 1");
  machine.set("0", "temp3_input", "41000");
  EXPECT_EQ(machine.cycle(), both);
}

// A pipe that nobody writes to holds its reader up as a driver does that hangs.
TEST(LinuxSMC, WaitsOnceForADeviceThatHangs) {
  Machine machine;
  machine.options.limits = {milliseconds(100), milliseconds(300)};
  machine.chip("0", "k10temp", {"temp1_label", "Tctl", "temp1_input", "50000"});
  machine.chip("1", "nvme", {"temp1_label", "Composite"});
  machine.chip("2", "iwlwifi_1", {"temp1_input", "40000"});
  const std::string pipe = machine.sys.path("devices/chip1/temp1_input");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  // It hangs alone, then, let go of, among the others: these are read all the same.
  for (const char* degrees : {"40", "41"}) {
    machine.set("2", "temp1_input", degrees + std::string("000"));
    const auto others =
        named("temperature", {std::string("Airport Proximity=") + degrees, "CPU Diode=50"});
    EXPECT_EQ(machine.cycle(), others);
    EXPECT_EQ(machine.cycle(), others);
    const FileDescriptor writer(::open(pipe.c_str(), O_RDWR | O_CLOEXEC));
  }
  const FileDescriptor writer(::open(pipe.c_str(), O_RDWR | O_CLOEXEC));
  std::filesystem::remove(pipe);
  machine.set("1", "temp1_input", "31000");
  const auto all =
      named("temperature", {"Airport Proximity=41", "CPU Diode=50", "SSD Proximity=31"});
  Lines lines;
  for (int i = 0; i < 1000 && lines != all; ++i) lines = machine.cycle();
  EXPECT_EQ(lines, all);
}

}  // namespace
}  // namespace tarvel

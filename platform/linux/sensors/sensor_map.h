#pragma once

#include <array>
#include <string_view>

// Which sensor of Linux stands for which key of the System Management Controller.
//
// Names and labels are those of the kernel's drivers (Documentation/hwmon/ and
// Documentation/power/ of its sources). What is not listed would mislead: acpitz, the thermistor
// inputs of super-I/O chips (CPUTIN, SYSTIN, AUXTIN), inputs that a board scales as it likes,
// negotiated voltages of USB-C ports, single core complexes, network chips.

namespace tarvel {

// What becomes of several sensors that one row finds.
enum class Several {
  inOrder,
  added,       // into one reading
  whichWorks,  // the first of a chip whose current or power is not 0, else the first
};

// In names and labels "|" separates alternatives and "*" at the end stands for anything. An input
// is one file ("in3") or, with a label, any of its kind ("temp").
//
// Rows of the same keys make one list, in the order of the rows; within a row the order is that of
// the devices' paths, then of the number behind the "*" of a label. Several rows
// that find something on one chip are alternatives, of which the first that answers counts. The
// keys, separated by blanks, are given to those sensors of the list one by one that have answered;
// further ones are left out. Where several lists hold a key, the first that has a sensor for it
// counts.
struct SensorRow {
  std::string_view chip;
  std::string_view input;
  std::string_view label;
  std::string_view keys;
  Several several = Several::inOrder;
};

inline constexpr auto kSensorRows = std::to_array<SensorRow>({
    {"macsmc_hwmon", "power", "Total System Power", "PSTR"},
    {"macsmc_hwmon", "power", "AC Input Power", "PDTR"},
    {"macsmc_hwmon", "in", "AC Input Voltage", "VD0R"},
    {"macsmc_hwmon", "curr", "AC Input Current", "ID0R"},
    {"macsmc_hwmon", "temp", "Battery Hotspot*", "TB0T"},
    {"macsmc_hwmon", "temp", "WiFi/BT*", "TW0P"},
    {"macsmc_hwmon", "temp", "NAND*", "TH0A"},
    {"macsmc_hwmon", "in", "Battery Voltage", "VBAT"},

    {"coretemp", "temp", "Package id 0|Physical id 0", "TCXC"},
    {"coretemp", "temp", "Package id 1|Physical id 1", "TC1D"},
    {"coretemp", "temp", "Core *",
     "TC0C TC1C TC2C TC3C TC4C TC5C TC6C TC7C TC8C TC9C "
     "TC0c TC1c TC2c TC3c TC4c TC5c TC6c TC7c TC8c TC9c"},
    {"k10temp|zenpower", "temp", "Tdie", "TC0D TC1D"},
    {"k10temp|zenpower", "temp", "Tctl", "TC0D TC1D"},
    {"k10temp", "temp1", "", "TC0D TC1D"},  // no label before Zen
    {"zenpower", "in", "SVI2_Core", "VC0C"},
    {"zenpower", "curr", "SVI2_C_Core", "IC0C"},
    {"zenpower", "power", "SVI2_P_Core", "PC0C"},
    // Zones of systems on a chip, as their device trees name them; hwmon writes "_" for "-".
    {"package_thermal|package-thermal", "temp1", "", "TC0D"},
    {"cpu_thermal|cpu-thermal|cpu|CPU-therm|cpu0_thermal|cpu0-thermal|cpu-thermal0", "temp1", "",
     "TC0D"},
    {"soc_thermal|soc-thermal|imx_thermal_zone|bigcore0_thermal|bigcore0-thermal", "temp1", "",
     "TC0D"},
    {"gpu_thermal|gpu-thermal|gpu|GPU-therm|gpu0_thermal|gpu0-thermal|gpu-thermal0", "temp1", "",
     "TG0D"},
    {"pch_*", "temp1", "", "TPCD"},
    {"amdgpu|amdgpu integrated|radeon|nouveau", "temp1", "", "TGDD TG1p TG2p TG3p"},
    {"nvidia", "temp1", "", "TGDD TG1p TG2p TG3p"},
    {"xe", "temp", "pkg", "TGDD TG1p TG2p TG3p"},
    {"i915", "temp1", "", "TGDD TG1p TG2p TG3p"},
    {"amdgpu|amdgpu integrated", "temp", "mem", "TGVP"},
    {"xe", "temp", "vram", "TGVP"},
    {"amdgpu|amdgpu integrated", "in", "vddgfx", "VG0C"},
    {"xe", "in", "pkg", "VG0C"},
    {"i915", "in0", "", "VG0C"},
    {"amdgpu", "power", "PPT", "PGTR"},
    {"nvidia", "power1", "", "PGTR"},
    {"xe", "energy", "card", "PGTR"},
    {"xe", "energy", "pkg", "PGTR"},
    {"i915", "energy1", "", "PGTR"},
    {"iwlwifi*", "temp1", "", "TW0P"},
    {"nvme", "temp", "Composite", "TH0A TH0B TH0C TH1A TH1B TH1C"},
    {"spd5118|jc42", "temp1", "", "TM0S TM1S TM8S TM9S"},

    {"battery", "temp1", "", "TB0T"},
    {"battery", "in1", "", "VBAT", Several::whichWorks},
    {"battery", "curr1", "", "IB0R", Several::added},
    {"battery", "power1", "", "PB0R", Several::added},
    {"powercap", "energy", "package-*", "PCPT", Several::added},
    {"powercap", "energy", "core", "PCPC", Several::added},
    {"powercap", "energy", "uncore", "PCPG", Several::added},
    {"powercap", "energy", "dram", "PCPD", Several::added},
    {"powercap", "energy", "psys", "PSTR", Several::added},
    {"power_meter", "power1", "", "PSTR"},

    {"corsairpsu", "in", "v_out +12v", "VV9S"},
    {"corsairpsu", "in", "v_out +5v", "VV1S"},
    {"corsairpsu", "in", "v_out +3.3v", "VR3R"},
    {"corsairpsu", "curr", "curr +12v", "ID2R"},
    {"corsairpsu", "power", "power +12v", "PD2R"},
    {"corsairpsu", "power", "power +5v", "PH05"},
    {"corsairpsu", "power", "power +3.3v", "PH02"},
    {"corsairpsu", "power", "power total", "PSTR"},
    {"corsairpsu", "temp", "vrm temp", "Tp0P"},

    {"asusec|asus_wmi_sensors", "in", "CPU Core|CPU Core Voltage", "VC0C"},
    {"asusec", "curr", "CPU", "IC0C"},
    {"asus_wmi_sensors", "in", "+12V Voltage", "VV9S"},
    {"asus_wmi_sensors", "in", "+5V Voltage", "VV1S"},
    {"asus_wmi_sensors", "in", "3VSB Voltage", "VV3S"},
    {"asus_wmi_sensors", "in", "VBAT Voltage", "Vb0R"},
    {"nct677*|nct679*|nct610*|nct611*", "in0", "", "VC0C"},
    {"nct677*|nct679*|nct610*|nct611*", "in3", "", "VR3R"},
    {"nct677*|nct679*|nct610*|nct611*", "in7", "", "VV3S"},
    {"nct677*|nct679*|nct610*|nct611*", "in8", "", "Vb0R"},
    {"nct6683|nct6686|nct6687", "in", "VCC|+3.3V", "VR3R"},
    {"nct6683|nct6686|nct6687", "in", "VSB|3VSB", "VV3S"},
    {"nct6683|nct6686|nct6687", "in", "VBAT|VBat", "Vb0R"},
    {"nct6687", "in", "+12V", "VV9S"},
    {"nct6687", "in", "+5V", "VV1S"},
    {"nct6687", "in", "CPU Vcore", "VC0C"},
    {"it8*", "in", "+5V", "VV1S"},
    {"it8*", "in", "5VSB", "VV8S"},
    {"it8*", "in", "3VSB", "VV3S"},
    {"it8*", "in", "Vbat", "Vb0R"},
    {"it8*", "in", "+3.3V", "VR3R"},

    {"dell_smm|thinkpad", "temp", "CPU", "TC0P"},
    {"dell_smm|thinkpad", "temp", "Ambient", "TA0p"},
    {"dell_smm|thinkpad", "temp", "SODIMM", "TM0P"},
});

// Chips with inputs for fans that need not be there: super-I/O chips have more than a board has
// headers, and a board more headers than fans; laptops' firmware tells of fans that it lacks.
inline constexpr std::string_view kChipsOfUnusedFans =
    "nct6*|nct7*|it8*|w836*|f718*|f719*|f80*|sch5*|dme1737|smsc47*|pc87*|vt1211|emc2*|"
    "thinkpad|dell_smm";

// Chips that are a real controller: temperatures and fans come from it alone, drives apart.
inline constexpr std::string_view kControllerChips = "applesmc|macsmc_hwmon";
inline constexpr std::string_view kDriveChips = "nvme";

// Chips that count whole kelvins (NVM Express Base Specification, SMART log page): the kernel takes
// 273.15 off, so that 323 K, which is 50 degrees, reads 49850 millidegrees.
inline constexpr std::string_view kWholeKelvinChips = "nvme";

// Chips that sleep when nobody draws, and that a reading would wake.
inline constexpr std::string_view kGraphicsChips = "amdgpu*|radeon|nouveau|i915|xe|nvidia";

// Whether a text is one of the alternatives of a pattern.
constexpr bool matchesPattern(std::string_view pattern, std::string_view text) {
  while (true) {
    const auto bar = pattern.find('|');
    const std::string_view one = pattern.substr(0, bar);
    if (one.ends_with('*') ? text.starts_with(one.substr(0, one.size() - 1)) : text == one) {
      return true;
    }
    if (bar == std::string_view::npos) return false;
    pattern.remove_prefix(bar + 1);
  }
}

}  // namespace tarvel

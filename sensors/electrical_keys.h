#pragma once

#include <array>

#include "sensors/sensor_name.h"

// The controller's keys of voltages, currents and powers, in reading order, and what each is shown
// as. Several keys may share one name. There is no key of the third core's voltage.

namespace tarvel {

// Volts.
inline constexpr auto kVoltages = std::to_array<SensorName>({
    {"VG0F", "GPU FB"},
    {"VCAC", "CPU IA Core"},
    {"VCSC", "CPU System Agent"},
    {"VG0C", "GPU Core"},
    {"VG1C", "GPU Core High Side"},
    {"VG2C", "GPU VDDCI"},
    {"VC0C", "CPU Core"},
    {"VC1C", "CPU Core 2"},
    {"VC3C", "CPU Core 4"},
    {"VC4C", "CPU Core 5"},
    {"VC5C", "CPU Core 6"},
    {"VC6C", "CPU Core 7"},
    {"VC7C", "CPU Core 8"},
    {"VV1R", "CPU VTT"},
    {"VM0R", "DIMM 1.5 S3"},
    {"VN1R", "Power Supply 12V Rail"},
    {"VN0C", "MCH Core"},
    {"VD0R", "DC In"},
    {"VD5R", "Mainboard S5 Rail"},
    {"VP0R", "P-Bus"},
    {"Vp0C", "12V Vcc"},
    {"VV2S", "Main 3V"},
    {"VR3R", "Main 3.3V"},
    {"VV1S", "Main 5V"},
    {"VH05", "Main 5V"},
    {"VV9S", "Main 12V"},
    {"VD2R", "Main 12V"},
    {"VV7S", "Auxiliary 3V"},
    {"VV3S", "Standby 3V"},
    {"VV8S", "Standby 5V"},
    {"VeES", "PCIe 12V"},
    {"VBAT", "Battery"},
    {"Vb0R", "CMOS Battery"},
    {"VR1R", "1.05V S0"},
    {"VH1R", "SSD Load Side"},
});

// Amperes.
inline constexpr auto kCurrents = std::to_array<SensorName>({
    {"ID2R", "Main 12V"},
    {"IC0C", "CPU Core"},
    {"IH1R", "SSD 3.3V"},
    {"IC1C", "CPU VccIO"},
    {"IC2C", "CPU VccSA"},
    {"IC0R", "CPU Rail"},
    {"IC5R", "CPU DRAM"},
    {"IC8R", "CPU PLL"},
    {"IC0G", "CPU GFX"},
    {"IC0M", "CPU Memory"},
    {"IG0C", "GPU Core Low Side"},
    {"IG1C", "GPU Core High Side"},
    {"IG2C", "GPU VDDCI"},
    {"IG3C", "GPU 1.8V"},
    {"IG4C", "GPU Frame Buffer IC"},
    {"IG0R", "GPU High Side"},
    {"ICMC", "Camera"},
    {"IBTC", "Bluetooth"},
    {"IG1F", "GPU Frame Buffer"},
    {"IH05", "HDD 5V"},
    {"IH02", "HDD 12V"},
    {"IC20", "CPU Core, GT, SA, IO"},
    {"IM0C", "Memory Controller"},
    {"IM0R", "Memory Rail"},
    {"IN0C", "MCH"},
    {"ID0R", "DC In"},
    {"ICTC", "Intel GPU"},
    {"ICTM", "Intel GPU (IMON)"},
    {"IULC", "Left Thunderbolt"},
    {"IURC", "Right Thunderbolt"},
    {"IAPC", "GPU Core"},
    {"IHDC", "SSD"},
    {"ID5R", "Mainboard S5 Rail"},
    {"IO0R", "Other (5V, 3.3V)"},
    {"IB0R", "Battery Rail"},
    {"IPBR", "Battery BMON"},
});

// Watts.
inline constexpr auto kPowers = std::to_array<SensorName>({
    {"PC0C", "CPU Core"},          {"PCPC", "CPU Pack Core"},
    {"PCPG", "CPU Pack GPU"},      {"PCPD", "CPU DRAM"},
    {"PCPT", "CPU Pack Total"},    {"PC1R", "CPU Rail"},
    {"PC5R", "CPU 1.5V"},          {"PCGC", "Intel GPU"},
    {"PCGM", "Intel GPU (IMON)"},  {"PPBR", "Battery (BMON)"},
    {"PGTR", "GPU Pack Total"},    {"PG0R", "GPU Rail"},
    {"PM0R", "Memory Rail"},       {"PN0C", "MCH"},
    {"PN1R", "PCH Rail"},          {"PC0R", "CPU Computing Highside"},
    {"PD0R", "Mainboard S0 Rail"}, {"PD5R", "Mainboard S5 Rail"},
    {"PH02", "Main 3.3V Rail"},    {"PH05", "Main 5V Rail"},
    {"Pp0R", "12V Rail"},          {"PD2R", "Main 12V Rail"},
    {"PO0R", "Misc. Rail"},        {"PBLC", "Battery Rail"},
    {"PB0R", "Battery Rail"},      {"PDTR", "DC In Total"},
    {"PSTR", "System Total"},
});

}  // namespace tarvel

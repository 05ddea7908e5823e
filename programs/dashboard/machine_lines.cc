#include "programs/dashboard/machine_lines.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "viewer/machine/amounts.h"

namespace tarvel::viewer {
namespace {

constexpr double kWarmShare = 0.7;
constexpr double kHotShare = 0.9;

template <typename... Values>
std::string formatted(const char* format, Values... values) {
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

std::string percent(double share) { return formatted("%.0f%%", share * 100); }
std::string amount(std::uint64_t bytes) { return bytesText(static_cast<double>(bytes)); }

Level levelOf(double share, double warm, double hot) {
  if (share >= hot) return Level::kHot;
  return share >= warm ? Level::kWarm : Level::kNormal;
}

MachineText processors(const Processors& usage) {
  return {"CPU", usage.busy, percent(usage.busy), levelOf(usage.busy, kWarmShare, kHotShare)};
}

MachineText load(const Load& load) {
  return {"load", -1, formatted("%.2f %.2f %.2f", load.one, load.five, load.fifteen)};
}

MachineText battery(const Battery& battery) {
  constexpr double kLow = 0.15;
  constexpr double kEmpty = 0.05;
  std::string text = percent(battery.charge);
  if (battery.state == Battery::State::kCharging) text += " charging";
  if (battery.left) {
    text += " " + hoursText(*battery.left);
    text += battery.state == Battery::State::kCharging ? " to full" : " left";
  }
  const bool drains = battery.state == Battery::State::kDischarging;
  const double missing = 1 - battery.charge;
  return {"battery", -1, text, drains ? levelOf(missing, 1 - kLow, 1 - kEmpty) : Level::kNormal};
}

MachineText memory(const Memory& memory) {
  const double share = static_cast<double>(memory.used) / static_cast<double>(memory.total);
  return {"Mem", share, percent(share) + " " + amount(memory.used) + " of " + amount(memory.total),
          levelOf(share, kWarmShare, kHotShare)};
}

MachineText swap(const Memory& memory) {
  const double share = static_cast<double>(memory.swapUsed) / static_cast<double>(memory.swapTotal);
  return {"swap", -1, amount(memory.swapUsed) + " of " + amount(memory.swapTotal),
          levelOf(share, 0.5, kHotShare)};
}

MachineText traffic(const char* label, const Traffic& traffic, const char* in, const char* out) {
  return {label, -1,
          bytesText(traffic.in) + "/s " + in + ", " + bytesText(traffic.out) + "/s " + out};
}

MachineText pressure(const Pressure& pressure) {
  const double most = std::fmax(pressure.processor, std::fmax(pressure.memory, pressure.disk));
  return {"pressure", -1,
          formatted("cpu %.0f%% mem %.0f%% disk %.0f%%", pressure.processor, pressure.memory,
                    pressure.disk),
          levelOf(most / 100, 0.1, 0.4)};
}

std::string fullText(const std::vector<FileSystem>& systems) {
  std::string text;
  for (const auto& system : systems) {
    if (!text.empty()) text += ", ";
    text += system.path + " " + percent(system.used) + " (" + amount(system.available) + " left)";
  }
  return text;
}

// The columns that a piece takes, its bar and the gap behind it included. All of it is ASCII but
// for paths, which may take less.
int widthOf(const MachineText& piece) {
  constexpr int kGap = 3;
  const int bar = piece.share >= 0 ? kBarWidth + 1 : 0;
  return static_cast<int>(piece.label.size() + 1 + piece.text.size()) + bar + kGap;
}

// The pieces that fit, in their order of importance.
void add(MachineLine& line, int& left, MachineText piece) {
  const int width = widthOf(piece);
  if (!line.empty() && width > left) return;
  left -= width;
  line.push_back(std::move(piece));
}

}  // namespace

std::vector<MachineLine> machineLines(const MachineTotals& totals, int width) {
  std::vector<MachineLine> lines(2);
  int left = width;
  if (totals.processors) add(lines[0], left, processors(*totals.processors));
  if (totals.load) add(lines[0], left, load(*totals.load));
  if (totals.battery) add(lines[0], left, battery(*totals.battery));
  add(lines[0], left, {"up", -1, durationText(totals.uptime)});
  left = width;
  if (const auto& now = totals.memory) {
    add(lines[1], left, memory(*now));
    if (now->swapTotal > 0) add(lines[1], left, swap(*now));
    add(lines[1], left, {"cache", -1, amount(now->cache)});
  }
  MachineLine rates;
  left = width;
  if (totals.disks) add(rates, left, traffic("Disk", *totals.disks, "read", "written"));
  if (totals.networks) add(rates, left, traffic("Net", *totals.networks, "in", "out"));
  if (totals.pressure) add(rates, left, pressure(*totals.pressure));
  if (!rates.empty()) lines.push_back(std::move(rates));
  if (!totals.nearlyFull.empty()) {
    lines.push_back({{"nearly full:", -1, fullText(totals.nearlyFull),
                      levelOf(totals.nearlyFull.front().used, kHotShare, 0.97)}});
  }
  if (lines[1].empty()) lines.erase(lines.begin() + 1);
  return lines;
}

}  // namespace tarvel::viewer

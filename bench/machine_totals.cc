#include <chrono>
#include <cstdio>
#include <thread>

#include "viewer/machine/machine_reader.h"

// What a sample of the machine's totals costs, and how far the load of the processors is from what
// /proc/stat says over ten seconds, read apart from the product. Run it beside some load.

namespace {

using namespace std::chrono_literals;
using tarvel::viewer::MachineReader;
using Clock = std::chrono::steady_clock;

struct Ticks {
  double idle = 0;
  double all = 0;
};

Ticks readTicks() {
  Ticks ticks;
  if (std::FILE* file = std::fopen("/proc/stat", "r")) {
    double values[8] = {};
    if (std::fscanf(file, "cpu %lf %lf %lf %lf %lf %lf %lf %lf", &values[0], &values[1], &values[2],
                    &values[3], &values[4], &values[5], &values[6], &values[7]) == 8) {
      ticks.idle = values[3] + values[4];
      for (const double value : values) ticks.all += value;
    }
    std::fclose(file);
  }
  return ticks;
}

}  // namespace

int main() {
  MachineReader reader;
  reader.sample(Clock::now(), {});
  constexpr int kSamples = 2000;
  const auto start = Clock::now();
  for (int i = 0; i < kSamples; ++i) reader.sample(Clock::now(), {});
  const std::chrono::duration<double, std::micro> spent = Clock::now() - start;
  std::printf("a sample of everything: %.1f us\n", spent.count() / kSamples);

  const Ticks before = readTicks();
  reader.sample(Clock::now(), {});
  double sum = 0;
  for (int i = 0; i < 5; ++i) {
    std::this_thread::sleep_for(2s);
    const auto totals = reader.sample(Clock::now(), {});
    sum += totals.processors ? totals.processors->busy : 0;
  }
  const Ticks after = readTicks();
  const double expected = 1 - (after.idle - before.idle) / (after.all - before.all);
  std::printf("busy over ten seconds: %.2f %% by five samples, %.2f %% by /proc/stat\n", sum * 20,
              expected * 100);
}

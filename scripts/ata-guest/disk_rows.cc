// Reads the disks of this machine as the helper does and prints what it finds: a line for every
// reading, with its duration, and one for every disk. Arguments: how many readings (default 1), a
// second apart, and the number of a user to become first.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <unistd.h>

#include "platform/linux/disks/linux_ata_smart.h"
#include "smart/smart_controller.h"

int main(int count, char** arguments) {
  const int readings = count > 1 ? std::atoi(arguments[1]) : 1;
  if (count > 2) {
    const auto user = static_cast<uid_t>(std::atoi(arguments[2]));
    if (::setgid(user) != 0 || ::setuid(user) != 0) return 1;
  }
  const auto ata = tarvel::makeLinuxAtaSmart();
  for (int reading = 1; reading <= readings; ++reading) {
    if (reading > 1) std::this_thread::sleep_for(std::chrono::seconds(1));
    const auto start = std::chrono::steady_clock::now();
    tarvel::SmartController controller(*ata);
    controller.update();
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    std::printf("reading %d: %.2f s\n", reading, passed.count());
    for (const auto& [model, degrees] : controller.getDataSet(tarvel::TemperatureUnit::celsius)) {
      std::printf("%s\t%s\n", model.c_str(), degrees.c_str());
    }
  }
}

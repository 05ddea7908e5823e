#include "platform/linux/sensors/sensor_device.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tarvel {
namespace {

using std::chrono::milliseconds;

// A device whose answer takes until the gate is opened, or five seconds.
struct Gate {
  void set(bool open) {
    const std::lock_guard lock(mutex);
    isOpen = open;
    changed.notify_all();
  }
  void pass() {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, std::chrono::seconds(5), [this] { return isOpen; });
  }
  std::mutex mutex;
  std::condition_variable changed;
  bool isOpen = false;
};

class GatedDevice : public SensorDevice {
 public:
  explicit GatedDevice(Gate& gate) : gate_(gate) {}
  void read() override {
    gate_.pass();
    read_ = true;
  }
  void publish() override { published += std::exchange(read_, false) ? 1 : 0; }
  int published = 0;

 private:
  Gate& gate_;
  bool read_ = false;
};

TEST(SensorDevices, AreWaitedForTogetherAndOnlyOnce) {
  Gate closed;
  Gate open;
  open.set(true);
  std::vector<std::shared_ptr<GatedDevice>> slow;
  for (int i = 0; i < 4; ++i) slow.push_back(std::make_shared<GatedDevice>(closed));
  const auto quick = std::make_shared<GatedDevice>(open);
  const WorkerThreads threads;
  SensorDevices all(slow.begin(), slow.end());
  all.push_back(quick);
  const auto areBusy = [&] {
    return std::all_of(slow.begin(), slow.end(), [](const auto& each) { return each->isBusy(); });
  };
  readDevices(all, {milliseconds(60), milliseconds(500)}, threads);
  EXPECT_TRUE(areBusy()) << "they were waited for one after the other";
  EXPECT_EQ(quick->published, 1);
  closed.set(true);
  for (const auto& each : slow) {
    while (each->isBusy()) std::this_thread::sleep_for(milliseconds(1));
    each->publish();
    EXPECT_EQ(each->published, 1) << "an answer that comes late counts";
  }
  closed.set(false);
  readDevices(all, {milliseconds(60), std::chrono::hours(1)}, threads);
  EXPECT_TRUE(areBusy()) << "slow devices are known, and not waited for";
  EXPECT_EQ(quick->published, 2);
  closed.set(true);
  for (const auto& each : slow) {
    while (each->isBusy()) std::this_thread::sleep_for(milliseconds(1));
  }
}

}  // namespace
}  // namespace tarvel

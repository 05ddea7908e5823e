#include "platform/linux/detached_thread.h"

#include <memory>
#include <string>
#include <utility>

#include <pthread.h>

namespace tarvel {
namespace {

// A collection needs some ten kilobytes; the default would reserve eight megabytes each.
constexpr std::size_t kStackBytes = 256 * 1024;
constexpr std::size_t kNameLimit = 15;

struct Start {
  std::string name;
  std::function<void()> action;
};

void* runStart(void* argument) {
  const std::unique_ptr<Start> start(static_cast<Start*>(argument));
  nameThread(start->name);
  start->action();
  return nullptr;
}

}  // namespace

void nameThread(std::string_view name) {
  pthread_setname_np(pthread_self(), std::string(name.substr(0, kNameLimit)).c_str());
}

bool startDetachedThread(std::string_view name, std::function<void()> action) {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  auto start = std::make_unique<Start>(Start{std::string(name), std::move(action)});
  pthread_t thread{};
  const bool started = pthread_create(&thread, &attributes, runStart, start.get()) == 0;
  if (started) static_cast<void>(start.release());
  pthread_attr_destroy(&attributes);
  return started;
}

}  // namespace tarvel

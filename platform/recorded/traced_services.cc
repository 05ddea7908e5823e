#include "platform/recorded/traced_services.h"

#include <optional>
#include <string>
#include <utility>

#include "product/identifiers.h"

namespace tarvel::recorded {
namespace {

class TracedLog : public SystemLog {
 public:
  TracedLog(Playback& playback, SystemLog& log) : playback_(playback), log_(log) {}

  void NSLog(std::string_view text) override {
    playback_.trace("NSLog", {{"text", text}});
    log_.NSLog(text);
  }

 private:
  Playback& playback_;
  SystemLog& log_;
};

class TracedFiles : public FileManager {
 public:
  TracedFiles(Playback& playback, FileManager& files) : playback_(playback), files_(files) {}

  std::optional<std::string> containerURLForSecurityApplicationGroupIdentifier(
      std::string_view group) override {
    auto container = files_.containerURLForSecurityApplicationGroupIdentifier(group);
    if (container) iconDirectory_ = *container + std::string(kIconDirectory);
    return container;
  }

  bool fileExistsAtPath(const std::string& path) override { return files_.fileExistsAtPath(path); }

  void createDirectoryAtPath(const std::string& path) override {
    playback_.trace("createDirectoryAtPath", {{"path", path}});
    files_.createDirectoryAtPath(path);
  }

  // A recording may ask for anything; nothing but the icon directory is ever removed.
  void removeItemAtPath(const std::string& path) override {
    playback_.trace("removeItemAtPath", {{"path", path}});
    if (!iconDirectory_.empty() && path == iconDirectory_) files_.removeItemAtPath(path);
  }

  void writeToFile(const Data& data, const std::string& path) override {
    playback_.trace("writeToFile", {{"path", path}});
    files_.writeToFile(data, path);
  }

 private:
  Playback& playback_;
  FileManager& files_;
  std::string iconDirectory_;
};

class TracedDefaults : public UserDefaults {
 public:
  TracedDefaults(Playback& playback, std::unique_ptr<UserDefaults> real)
      : playback_(playback), defaults_(std::move(real)) {}

  std::shared_ptr<const PropertyList> objectForKey(std::string_view key) override {
    playback_.trace("objectForKey", {{"key", key}});
    return defaults_->objectForKey(key);
  }
  bool valueForKey(std::string_view key) override {
    playback_.trace("valueForKey", {{"key", key}});
    return defaults_->valueForKey(key);
  }
  bool boolForKey(std::string_view key) override {
    playback_.trace("boolForKey", {{"key", key}});
    return defaults_->boolForKey(key);
  }
  void setObject(const Data& data, std::string_view key) override {
    playback_.trace("setObject", {{"key", key}, {"size", data.size()}});
    defaults_->setObject(data, key);
  }
  void setValue(std::string_view text, std::string_view key) override {
    playback_.trace("setValue", {{"key", key}, {"value", text}});
    defaults_->setValue(text, key);
  }
  void setBool(bool flag, std::string_view key) override {
    playback_.trace("setBool", {{"key", key}, {"value", flag}});
    defaults_->setBool(flag, key);
  }
  void removeObjectForKey(std::string_view key) override {
    playback_.trace("removeObjectForKey", {{"key", key}});
    defaults_->removeObjectForKey(key);
  }

 private:
  Playback& playback_;
  std::unique_ptr<UserDefaults> defaults_;
};

class TracedSuites : public UserDefaultsSuites {
 public:
  TracedSuites(Playback& playback, UserDefaultsSuites& suites)
      : playback_(playback), suites_(suites) {}

  std::unique_ptr<UserDefaults> initWithSuiteName(std::string_view suite) override {
    playback_.trace("initWithSuiteName", {{"suite", suite}});
    return std::make_unique<TracedDefaults>(playback_, suites_.initWithSuiteName(suite));
  }

 private:
  Playback& playback_;
  UserDefaultsSuites& suites_;
};

}  // namespace

std::unique_ptr<SystemLog> makeTracedLog(Playback& playback, SystemLog& log) {
  return std::make_unique<TracedLog>(playback, log);
}

std::unique_ptr<FileManager> makeTracedFiles(Playback& playback, FileManager& files) {
  return std::make_unique<TracedFiles>(playback, files);
}

std::unique_ptr<UserDefaultsSuites> makeTracedDefaults(Playback& playback,
                                                       UserDefaultsSuites& suites) {
  return std::make_unique<TracedSuites>(playback, suites);
}

}  // namespace tarvel::recorded

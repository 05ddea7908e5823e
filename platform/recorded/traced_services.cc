#include "platform/recorded/traced_services.h"

#include <optional>
#include <string>
#include <utility>

#include "product/identifiers.h"

namespace tarvel::recorded {
namespace {

class TracedLog : public SystemLog {
 public:
  TracedLog(Playback& where, SystemLog& real) : playback(where), log(real) {}

  void NSLog(std::string_view text) override {
    playback.trace("NSLog", {{"text", text}});
    log.NSLog(text);
  }

 private:
  Playback& playback;
  SystemLog& log;
};

class TracedFiles : public FileManager {
 public:
  TracedFiles(Playback& where, FileManager& real) : playback(where), files(real) {}

  std::optional<std::string> containerURLForSecurityApplicationGroupIdentifier(
      std::string_view group) override {
    auto container = files.containerURLForSecurityApplicationGroupIdentifier(group);
    if (container) iconDirectory = *container + std::string(kIconDirectory);
    return container;
  }

  bool fileExistsAtPath(const std::string& path) override { return files.fileExistsAtPath(path); }

  void createDirectoryAtPath(const std::string& path) override {
    playback.trace("createDirectoryAtPath", {{"path", path}});
    files.createDirectoryAtPath(path);
  }

  // A recording may ask for anything; nothing but the icon directory is ever removed.
  void removeItemAtPath(const std::string& path) override {
    playback.trace("removeItemAtPath", {{"path", path}});
    if (!iconDirectory.empty() && path == iconDirectory) files.removeItemAtPath(path);
  }

  void writeToFile(const Data& data, const std::string& path) override {
    playback.trace("writeToFile", {{"path", path}});
    files.writeToFile(data, path);
  }

 private:
  Playback& playback;
  FileManager& files;
  std::string iconDirectory;
};

class TracedDefaults : public UserDefaults {
 public:
  TracedDefaults(Playback& where, std::unique_ptr<UserDefaults> real)
      : playback(where), defaults(std::move(real)) {}

  std::optional<PropertyList> objectForKey(std::string_view key) override {
    playback.trace("objectForKey", {{"key", key}});
    return defaults->objectForKey(key);
  }
  bool valueForKey(std::string_view key) override {
    playback.trace("valueForKey", {{"key", key}});
    return defaults->valueForKey(key);
  }
  bool boolForKey(std::string_view key) override {
    playback.trace("boolForKey", {{"key", key}});
    return defaults->boolForKey(key);
  }
  void setObject(const Data& data, std::string_view key) override {
    playback.trace("setObject", {{"key", key}, {"size", data.size()}});
    defaults->setObject(data, key);
  }
  void setValue(std::string_view text, std::string_view key) override {
    playback.trace("setValue", {{"key", key}, {"value", text}});
    defaults->setValue(text, key);
  }
  void setBool(bool flag, std::string_view key) override {
    playback.trace("setBool", {{"key", key}, {"value", flag}});
    defaults->setBool(flag, key);
  }
  void removeObjectForKey(std::string_view key) override {
    playback.trace("removeObjectForKey", {{"key", key}});
    defaults->removeObjectForKey(key);
  }

 private:
  Playback& playback;
  std::unique_ptr<UserDefaults> defaults;
};

class TracedSuites : public UserDefaultsSuites {
 public:
  TracedSuites(Playback& where, UserDefaultsSuites& real) : playback(where), suites(real) {}

  std::unique_ptr<UserDefaults> initWithSuiteName(std::string_view suite) override {
    playback.trace("initWithSuiteName", {{"suite", suite}});
    return std::make_unique<TracedDefaults>(playback, suites.initWithSuiteName(suite));
  }

 private:
  Playback& playback;
  UserDefaultsSuites& suites;
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

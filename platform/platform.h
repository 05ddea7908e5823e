#pragma once

// Every service of the machine, handed as one to the application's delegate. The services outlive
// the delegate.

namespace tarvel {

class AppleSMC;
class Bundle;
class FileManager;
class KeyedArchiver;
class RunLoop;
class RunningApplications;
class SystemLog;
class Tasks;
class Updaters;
class UserDefaultsSuites;

struct Platform {
  AppleSMC& appleSMC;
  Bundle& mainBundle;
  FileManager& fileManager;
  KeyedArchiver& archiver;
  RunLoop& runLoop;
  RunningApplications& runningApplications;
  SystemLog& systemLog;
  Tasks& tasks;
  Updaters& updaters;
  UserDefaultsSuites& userDefaults;
};

}  // namespace tarvel

#pragma once

// Every service of the machine, handed as one to the application's delegate. The services outlive
// the delegate.

namespace tarvel {

class AppleSMC;
class AtaSmart;
class Authorization;
class Bundle;
class FileManager;
class KeyedArchiver;
class RunLoop;
class RunningApplications;
class SystemLog;
class Tasks;
class Updaters;
class UserDefaultsSuites;
class Workspace;

struct Platform {
  AppleSMC& appleSMC;
  AtaSmart& ataSmart;
  Authorization& authorization;
  Bundle& mainBundle;
  FileManager& fileManager;
  KeyedArchiver& archiver;
  RunLoop& runLoop;
  RunningApplications& runningApplications;
  SystemLog& systemLog;
  Tasks& tasks;
  Updaters& updaters;
  UserDefaultsSuites& userDefaults;
  Workspace& workspace;
};

}  // namespace tarvel

#pragma once

#include "programs/tarvel/property_list_json.h"
#include "programs/tools/personal_names.h"

namespace tarvel {
class AppleSMC;
class AtaSmart;
class RunningApplications;
class SystemLog;
class Tasks;
class Workspace;
}  // namespace tarvel

namespace tarvel::tools {

// What is recorded of a machine. Main thread only.
struct RecordSources {
  AppleSMC& appleSMC;
  AtaSmart& ataSmart;
  RunningApplications& runningApplications;
  SystemLog& systemLog;
  Tasks& tasks;
  Workspace& workspace;
};

// The machine as it is now, as the members of a recorded machine: who runs, the keys that the
// controller's service answers among those of the catalogues, the disks, the samplers' lines and
// the applications of the processes in them, without icons. Names of users are "user".
viewer::Json recordMachine(const RecordSources& sources, const PersonalNames& personal);

}  // namespace tarvel::tools

#pragma once

#include <cstdint>

// The capabilities(7) of this process. An administrator's unit gives the helper of a user two that
// a user lacks, CAP_SYS_RAWIO for commands to disks and CAP_DAC_READ_SEARCH for readings that root
// alone may read. They are for those files and nothing else: not for the user's own, which may lead
// to other users', and not for children.

namespace tarvel {

// Whether this process may pass commands to a disk: it has CAP_SYS_RAWIO, at once or in reserve.
bool mayPassCommands();

// Takes the rights out of use and out of reach of children; RaisedRights brings them back. For the
// main thread before there are others. Nothing for root.
void keepRightsInReserve();

// Brings the rights in reserve into use, for the calling thread and as long as the object lives.
// Costs a system call where there are none, two more where there are.
class RaisedRights {
 public:
  RaisedRights();
  ~RaisedRights();
  RaisedRights(const RaisedRights&) = delete;
  RaisedRights& operator=(const RaisedRights&) = delete;

 private:
  std::uint64_t before_ = 0;  // the effective set
  bool raised_ = false;
};

}  // namespace tarvel

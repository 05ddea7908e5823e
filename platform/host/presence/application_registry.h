#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/running_applications.h"

// Which applications of the product run for this user: one file for each running instance, named
// "<bundle identifier>@<anything unique>", in $XDG_RUNTIME_DIR/com.Tarvel/apps. An instance runs
// for as long as its file is locked exclusively by flock(2), so a killed one is gone at once and a
// process id that was given anew deceives nobody. Any program may announce itself so; its file may
// be empty, ours hold the process id as text and have the sticky bit, which keeps the periodic
// clean-up of such folders away. Whoever finds a file that is not locked and is older than a minute
// removes it (others may make the file first and lock it then).
//
// Without an XDG_RUNTIME_DIR that belongs to the effective user it is /run/user/<uid>, else
// /tmp/com.Tarvel-<uid> in the place of $XDG_RUNTIME_DIR/com.Tarvel. Folders must be that user's
// and writable by nobody else, that in /tmp closed to all others; where they are not, there is no
// registry and only oneself runs.
//
// To run once only: register first, look afterwards. Two that start at the same time may then both
// see each other, never neither. Callable from any thread.

namespace tarvel {

class SystemLog;

// A viewer tells the helper that it starts by this variable of its environment, the helper all
// viewers by this note: it is to end with the last of them.
inline constexpr const char* kStartedByViewerVariable = "TARVEL_STARTED_BY_VIEWER";
inline constexpr std::string_view kStartedByViewerNote = "started by a viewer";

class ApplicationRegistry {
 public:
  // Registers the calling process under the identifier until the object ends; an empty identifier
  // only looks. The note, one line, stands in the file below the process id.
  explicit ApplicationRegistry(std::string_view identifier = {}, std::string_view note = {});
  ~ApplicationRegistry();
  ApplicationRegistry(const ApplicationRegistry&) = delete;
  ApplicationRegistry& operator=(const ApplicationRegistry&) = delete;

  // The running instances in the order of their start, oneself included. Five system calls where
  // nobody runs, and three more for each instance.
  std::vector<RunningApplication> running(std::string_view identifier) const;

  // Ends the registration early: the process does not run any more for whoever looks, oneself too.
  void withdraw();

  // The note of an instance; empty without one, and where the instance has ended.
  std::string note(const RunningApplication& application) const;

  // Sends the signal to the process that holds the instance's file locked, and to no other: one
  // that has been given its number meanwhile is safe. Whether it was sent.
  bool signal(const RunningApplication& application, int signal) const;

  // Where the files lie; empty where there is no registry.
  const std::string& folder() const { return folder_; }

 private:
  void announce();
  FileDescriptor openHeld(const RunningApplication& application) const;

  std::string identifier_;
  std::string contents_;  // of our file: the process id, and the note on a line of its own
  uid_t user_;
  std::string folder_;   // empty: no registry
  std::string file_;     // our file's name; empty: not registered
  FileDescriptor lock_;  // held open, and so locked, for the life of the object
};

// Activating an instance asks it to bring its window to the front (activation.h); where it has
// none, that is a line in the log.
std::unique_ptr<RunningApplications> makeRunningApplications(const ApplicationRegistry& registry,
                                                             SystemLog& log);

}  // namespace tarvel

#pragma once

#include <optional>
#include <string>

#include "platform/host/files/file_descriptor.h"
#include "platform/running_applications.h"

// How an instance that has a window is asked to bring it to the front: by a datagram to a socket in
// the registry's parent folder, "<bundle identifier>@<instance>.activate". That folder is the
// user's own (application_registry.h), so nobody else can ask.

namespace tarvel {

class ApplicationRegistry;

class ActivationInbox {
 public:
  // Of the instance that `registry` has registered under the identifier. It takes no requests where
  // the socket cannot be made.
  ActivationInbox(const ApplicationRegistry& registry, const std::string& identifier);
  ~ActivationInbox();
  ActivationInbox(const ActivationInbox&) = delete;
  ActivationInbox& operator=(const ActivationInbox&) = delete;

  // To be waited for until it can be read; -1 where there is none.
  int descriptor() const { return socket_.get(); }

  // The message of the next request, cut to 4096 bytes; none where none waits.
  std::optional<std::string> take();

 private:
  std::string path_;
  FileDescriptor socket_;
};

// Asks the instance; false where it takes no requests. Does not wait.
bool askToActivate(const ApplicationRegistry& registry, const RunningApplication& application,
                   const std::string& message);

}  // namespace tarvel

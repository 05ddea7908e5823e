#pragma once

#include <string>

#include "platform/host/files/file_descriptor.h"

namespace tarvel::viewer {

// A socket that listens at "HOST:PORT", an IPv6 address in brackets, or at "PORT" of the loopback;
// port 0 takes any. Throws a CommandError where that cannot be done.
FileDescriptor listenAt(const std::string& address);

// Where the socket listens, by numbers: "http://127.0.0.1:9188"; empty where that cannot be told.
std::string urlOf(const FileDescriptor& listener);

}  // namespace tarvel::viewer

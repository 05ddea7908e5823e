#pragma once

#include <stdexcept>

namespace tarvel::update {

// Why an update does not happen, in words for the log and the user. Never leaves the program.
class UpdateError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tarvel::update

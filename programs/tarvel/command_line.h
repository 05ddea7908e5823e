#pragma once

#include <exception>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"

// What `tarvel` and the programs that it becomes make of their arguments and of errors: one line on
// standard error and an exit status (commands.h).

namespace tarvel::viewer {

// None where there is something to do; else the exit status of help that was shown or of arguments
// that are wrong. The advice follows what is wrong with them.
template <typename Advice>
std::optional<int> parsed(CLI::App& app, int argc, char** argv, Advice advice) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    return app.exit(answered);
  } catch (const CLI::ParseError& error) {
    return complain(kUsage, "arguments: " + std::string(error.what()) + advice());
  }
  return std::nullopt;
}

// The exit status of the program, whatever it throws.
template <typename Program>
int statusOf(Program program) {
  try {
    return program();
  } catch (const CommandError& error) {
    return complain(error.status, error.what());
  } catch (const std::exception& error) {
    return complain(kNothing, std::string("failed: ") + error.what());
  }
}

}  // namespace tarvel::viewer

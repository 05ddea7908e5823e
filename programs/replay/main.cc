#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>
#include <variant>

#include <CLI/CLI.hpp>

#include "app/app_delegate.h"
#include "platform/recorded/machine.h"
#include "platform/recorded/recorded_platform.h"
#include "product/version.h"

// Runs the helper over a recorded machine, on a virtual clock, into the real store and icon
// directory.

namespace {

constexpr int kDone = 0;
constexpr int kRefused = 2;

int complain(const std::string& what, const std::string& why) {
  std::fprintf(stderr, "tarvel-replay: %s: %s\n", what.c_str(), why.c_str());
  return kRefused;
}

struct Options {
  std::string machineFile;
  std::string traceFile;
  std::size_t cycles = 1;
  bool abandon = false;
};

int replay(const Options& options) {
  auto read = tarvel::recorded::readRecording(options.machineFile);
  if (const auto* misfit = std::get_if<std::string>(&read)) {
    return complain(options.machineFile, *misfit);
  }
  tarvel::recorded::RecordedPlatform machine(
      std::move(*std::get_if<tarvel::recorded::Recording>(&read)));
  if (!options.traceFile.empty() && !machine.openTrace(options.traceFile)) {
    return complain(options.traceFile, "cannot be written");
  }
  tarvel::AppDelegate delegate(machine.platform());
  machine.run(delegate, options.cycles, options.abandon);
  return machine.finishTrace() ? kDone : complain(options.traceFile, "cannot be written");
}

int parseAndReplay(int argc, char** argv) {
  Options options;
  CLI::App app("Runs the helper over a recorded machine, into the store and icon directory.",
               "tarvel-replay");
  app.add_option("MACHINE", options.machineFile, "the recorded machine, a JSON file")->required();
  app.add_option("--cycles", options.cycles, "collection cycles to run (1)")
      ->check(CLI::Range(std::size_t{1}, std::size_t{1000000000}));
  app.add_option("--trace", options.traceFile,
                 "write every call to this file, a JSON object a line");
  app.add_flag("--abandon", options.abandon, "leave without terminating the helper");
  app.set_version_flag("--version", "tarvel-replay " + std::string(tarvel::kVersion));
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    return app.exit(answered);
  } catch (const CLI::ParseError& error) {
    return complain("arguments", error.what());
  }
  return replay(options);
}

}  // namespace

int main(int argc, char** argv) {
  for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
  try {
    return parseAndReplay(argc, argv);
  } catch (const std::exception& error) {
    return complain("failed", error.what());
  }
}

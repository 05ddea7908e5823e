#include <iterator>
#include <string>

#include <CLI/CLI.hpp>

#include "platform/host/standard_error_log.h"
#include "platform/system_log.h"
#include "programs/tarvel/command_line.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"
#include "programs/tools/findings.h"
#include "programs/tools/record.h"
#include "programs/tools/sensor_listing.h"

// `tarvel-tools`: the commands of tarvel that need the real machine. `tarvel` runs it, so that it
// needs nothing of this itself.

namespace {

using namespace tarvel;

int listSensors(bool json) {
  const auto sensors = tools::shownSensors();
  return viewer::printOut(json ? viewer::oneLine(jsonOf(sensors)) : textOf(sensors));
}

int examine(bool json) {
  const auto log = makeSystemLog();
  auto findings = tools::machineFindings(*log);
  for (auto& finding : tools::productFindings()) findings.push_back(std::move(finding));
  return viewer::printOut(json ? viewer::oneLine(jsonOf(findings)) : textOf(findings));
}

int parseAndRun(int argc, char** argv) {
  CLI::App app("The commands of tarvel that need the machine itself.", "tarvel-tools");
  app.require_subcommand(1);
  bool json = false;
  auto* doctor = app.add_subcommand("doctor", "Tell what this machine offers");
  doctor->add_flag("--json", json, "print JSON");
  bool sensors = false;
  doctor->add_flag("--sensors", sensors, "list every sensor with its source");
  std::string file;
  std::size_t cycles = 1;
  auto* recording = app.add_subcommand("record", "Record this machine");
  recording->add_option("FILE", file)->required();
  recording->add_option("--cycles", cycles);
  const auto status = viewer::parsed(app, argc, argv, [] { return ""; });
  if (status) return *status;
  if (recording->parsed()) return tools::record(file, cycles);
  return sensors ? listSensors(json) : examine(json);
}

}  // namespace

int main(int argc, char** argv) {
  return viewer::statusOf([&] { return parseAndRun(argc, argv); });
}

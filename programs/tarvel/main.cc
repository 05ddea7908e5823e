#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"
#include "product/identifiers.h"
#include "product/version.h"
#include "programs/tarvel/command_line.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/nearest_word.h"
#include "programs/tarvel/other_programs.h"
#include "programs/tarvel/watch.h"
#include "programs/tarvel/widget.h"

// `tarvel`: the command line of the viewers.

namespace {

using namespace tarvel;
using namespace tarvel::viewer;

// Everything that can stand on the command line.
struct Arguments {
  WatchOptions watch;
  WidgetOptions widget;
  std::vector<std::string> names;
  std::string key;
  std::string sensor;
  std::string text;
  std::string file;
  bool json = false;
  bool isLine = false;
  bool isConfirmed = false;
  unsigned cycles = 1;
  bool raw = false;
};

using Words = std::vector<std::string>;
using Command = std::function<int(DefaultsStore&)>;

void addWatch(CLI::App& app, Arguments& arguments, Command& command) {
  auto* watchCommand =
      app.add_subcommand("watch", "Show the live dashboard, a snapshot or a status line");
  watchCommand->add_flag("--once", arguments.watch.once, "print the readings once and exit");
  auto* json =
      watchCommand->add_flag("--json", arguments.watch.json, "print JSON, one line per change");
  watchCommand->add_flag("--no-helper", arguments.watch.noHelper, "do not start a helper");
  auto* line = watchCommand->add_flag("--line", arguments.isLine, "print a line for a status bar");
  line->excludes(json);
  watchCommand->add_option("--format", arguments.widget.format, "plain, tmux, waybar or i3blocks")
      ->default_str("plain")
      ->needs(line);
  watchCommand
      ->add_option("--text", arguments.widget.text,
                   "text of the line, such as '{cpu}% {mem} {temp:max} {fan} {battery}'")
      ->needs(line);
  watchCommand->callback([&] {
    command = [&](DefaultsStore& store) {
      if (!arguments.isLine) return watch(store, arguments.watch);
      arguments.widget.once = arguments.watch.once;
      arguments.widget.noHelper = arguments.watch.noHelper;
      return showLines(store, arguments.widget);
    };
  });
}

void addPanels(CLI::App& app, Arguments& arguments, Command& command) {
  auto* panels = app.add_subcommand("panels", "List the panels, or switch them on and off");
  panels->add_flag("--json", arguments.json, "print JSON");
  panels->callback([&, panels] {
    if (!panels->get_subcommands().empty()) return;
    command = [&](DefaultsStore& store) { return printPanels(store, arguments.json); };
  });
  for (const bool enabled : {true, false}) {
    auto* change = panels->add_subcommand(enabled ? "on" : "off",
                                          enabled ? "Switch panels on" : "Switch panels off");
    change
        ->add_option("NAME", arguments.names,
                     "cpu, memory, energy, fans, temperatures, voltages, powers, currents")
        ->required();
    change->callback([&, enabled] {
      command = [&, enabled](DefaultsStore& store) {
        return switchPanels(store, arguments.names, enabled);
      };
    });
  }
}

void addShow(CLI::App& app, Arguments& arguments, Command& command) {
  auto* show = app.add_subcommand("show", "Print the current readings");
  show->add_option("KEY", arguments.names, "only these readings");
  show->add_flag("--json", arguments.json, "print JSON");
  show->callback([&] {
    command = [&](DefaultsStore& store) {
      return showReadings(store, arguments.names, arguments.json);
    };
  });
}

void addFlag(CLI::App& app, Arguments& arguments, Command& command) {
  auto* flag = app.add_subcommand("flag", "Set the viewer flag of a sensor");
  flag->add_option("KEY", arguments.key, "the reading, such as TempValues")->required();
  flag->add_option("SENSOR", arguments.sensor, "the sensor's name")->required();
  flag->add_option("VALUE", arguments.text, "the flag")->required();
  flag->callback([&] {
    command = [&](DefaultsStore& store) {
      return setFlag(store, arguments.key, arguments.sensor, arguments.text);
    };
  });
}

void addAlias(CLI::App& app, Arguments& arguments, Command& command) {
  auto* alias = app.add_subcommand("alias", "Give a sensor a name of your own");
  alias->add_option("KEY", arguments.key, "the reading, such as TempValues")->required();
  alias->add_option("SENSOR", arguments.sensor, "the sensor's name")->required();
  alias->add_option("NAME", arguments.text, "the new name; empty for none")->required();
  alias->callback([&] {
    command = [&](DefaultsStore&) {
      return setAlias(arguments.key, arguments.sensor, arguments.text);
    };
  });
}

void addRequest(CLI::App& app, Arguments& arguments, Command& command) {
  auto* request = app.add_subcommand("request", "Send a request to the helper");
  request->add_option("ACTION", arguments.text, "updates, uninstall or clear-sensors")->required();
  request->add_flag("--yes", arguments.isConfirmed, "do not ask before uninstalling");
  request->callback([&] {
    command = [&](DefaultsStore& store) {
      return requestAction(store, arguments.text, arguments.isConfirmed);
    };
  });
}

void addDefaultsRead(CLI::App& defaults, Arguments& arguments, Command& command) {
  auto* read = defaults.add_subcommand("read", "Print a value as JSON, or all of them");
  read->add_option("KEY", arguments.key, "the value's key");
  auto* json = read->add_flag("--json", arguments.json, "print on one line");
  read->add_flag("--raw", arguments.raw, "print the bytes of a data value")->excludes(json);
  read->callback([&, read] {
    const bool all = read->count("KEY") == 0;
    const auto format = arguments.raw    ? DefaultsFormat::kRaw
                        : arguments.json ? DefaultsFormat::kOneLine
                                         : DefaultsFormat::kIndented;
    command = [&, all, format](DefaultsStore& store) {
      return readDefaults(store, all ? std::nullopt : std::optional(arguments.key), format);
    };
  });
}

void addDefaultsWrite(CLI::App& defaults, Arguments& arguments, Command& command) {
  auto* write = defaults.add_subcommand("write", "Write a value");
  write->add_option("KEY", arguments.key, "the value's key")->required();
  auto* json = write->add_option("JSON", arguments.text, "the value");
  auto* data = write->add_option("--data", arguments.file, "a file whose bytes are the value");
  data->excludes(json);
  write->callback([&, json, data] {
    if (json->count() + data->count() == 0) throw CLI::RequiredError("JSON or --data");
    const bool fromFile = data->count() > 0;
    command = [&, fromFile](DefaultsStore& store) {
      return fromFile ? writeDefaultsData(store, arguments.key, arguments.file)
                      : writeDefaultsJson(store, arguments.key, arguments.text);
    };
  });
}

void addDefaults(CLI::App& app, Arguments& arguments, Command& command) {
  auto* defaults = app.add_subcommand("defaults", "Raw access to the store");
  defaults->require_subcommand(1);
  addDefaultsRead(*defaults, arguments, command);
  addDefaultsWrite(*defaults, arguments, command);
  auto* remove = defaults->add_subcommand("delete", "Delete a value");
  remove->add_option("KEY", arguments.key, "the value's key")->required();
  remove->callback([&] {
    command = [&](DefaultsStore& store) { return deleteDefaults(store, arguments.key); };
  });
}

void addWindow(CLI::App& app, Arguments& arguments, Command& command) {
  auto* window = app.add_subcommand("window", "Show the window, or bring it to the front");
  auto* page = window->add_option("--page", arguments.text, "the page to show");
  page->check(CLI::IsMember({"overview", "processes", "sensors", "panels"}));
  auto* hidden = window->add_flag("--hidden");
  hidden->description("start in the tray, minimised without one");
  auto* noHelper = window->add_flag("--no-helper", arguments.watch.noHelper);
  noHelper->description("do not start a helper");
  window->callback([&, page, hidden] {
    Words words;
    if (page->count() > 0) words.insert(words.end(), {"--page", arguments.text});
    if (hidden->count() > 0) words.emplace_back("--hidden");
    if (arguments.watch.noHelper) words.emplace_back("--no-helper");
    command = [words](DefaultsStore&) -> int { becomeWindow(words); };
  });
}

// What needs the machine itself is left to a program of its own.
void addDoctor(CLI::App& app, Arguments& arguments, Command& command) {
  auto* doctor = app.add_subcommand("doctor", "Check sensors, permissions and setup");
  doctor->add_flag("--json", arguments.json, "print JSON");
  auto* sensors = doctor->add_flag("--sensors");
  sensors->description("list every sensor with the place it comes from");
  doctor->callback([&, sensors] {
    const bool lists = sensors->count() > 0;
    command = [&, lists](DefaultsStore&) -> int {
      Words words = {"doctor"};
      if (arguments.json) words.emplace_back("--json");
      if (lists) words.emplace_back("--sensors");
      becomeTools(words);
    };
  });
}

void addRecord(CLI::App& app, Arguments& arguments, Command& command) {
  auto* record = app.add_subcommand("record", "Record this machine for tarvel-replay");
  record->add_option("FILE", arguments.file, "the recorded machine, a JSON file")->required();
  record->add_option("--cycles", arguments.cycles, "collection cycles, three seconds each (1)")
      ->check(CLI::Range(1U, 10000U));
  record->callback([&] {
    command = [&](DefaultsStore&) -> int {
      becomeTools({"record", "--cycles", std::to_string(arguments.cycles), "--", arguments.file});
    };
  });
}

void addExport(CLI::App& app, Arguments& arguments, Command& command) {
  auto* exporting = app.add_subcommand("export", "Export the readings for Prometheus");
  auto* file =
      exporting->add_option("--textfile", arguments.file, "write to this file after every change");
  auto* listen = exporting->add_option("--listen", arguments.text,
                                       "serve /metrics at HOST:PORT, or at PORT of the loopback");
  listen->excludes(file);
  auto* byPid = exporting->add_flag("--by-pid");
  byPid->description("each process by its id, not by application or name");
  auto* noHelper = exporting->add_flag("--no-helper");
  noHelper->description("do not start a helper");
  exporting->callback([&, file, listen, byPid, noHelper] {
    Words words;
    if (file->count() > 0) words.push_back("--textfile=" + arguments.file);
    if (listen->count() > 0) words.push_back("--listen=" + arguments.text);
    if (byPid->count() > 0) words.emplace_back("--by-pid");
    if (noHelper->count() > 0) words.emplace_back("--no-helper");
    command = [words](DefaultsStore&) -> int { becomeExport(words); };
  });
}

// ", did you mean …?" where the first word is nearly a command.
std::string suggestion(const CLI::App& app, int argc, char** argv) {
  std::vector<std::string> known;
  for (const auto* command : app.get_subcommands({})) known.push_back(command->get_name());
  if (argc < 2 || std::find(known.begin(), known.end(), argv[1]) != known.end()) return {};
  const auto nearest = nearestWord(argv[1], known);
  return nearest ? " (did you mean " + *nearest + "?)" : "";
}

int run(const Command& command) {
  const auto log = makeSystemLog();
  DefaultsStore store(kSuiteName, *log);
  return command(store);
}

int parseAndRun(int argc, char** argv) {
  Arguments arguments;
  Command command = [&](DefaultsStore& store) { return watch(store, arguments.watch); };
  CLI::App app("Tarvel, a system monitor. Without a command: the live dashboard.", "tarvel");
  app.set_version_flag("--version", "tarvel " + std::string(kVersion));
  app.require_subcommand(0, 1);
  for (const auto add : {addWatch, addPanels, addShow, addFlag, addAlias, addRequest, addDefaults,
                         addWindow, addDoctor, addRecord, addExport}) {
    add(app, arguments, command);
  }
  const auto status = parsed(app, argc, argv, [&] { return suggestion(app, argc, argv); });
  if (status) return *status;
  return run(command);
}

}  // namespace

int main(int argc, char** argv) {
  return statusOf([&] { return parseAndRun(argc, argv); });
}

#include <algorithm>
#include <functional>
#include <map>
#include <new>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/processes/child_process.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/store/defaults_store.h"
#include "platform/host/store/reading_times.h"
#include "product/identifiers.h"
#include "programs/export/document.h"
#include "programs/export/metrics_server.h"
#include "programs/export/process_families.h"
#include "programs/export/reading_families.h"
#include "tests/temporary_tree.h"
#include "tests/viewer_fixture.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;
using Samples = std::map<std::string, double>;

// The samples of a text by name and labels, read as strictly as the format is written: every metric
// has its heading before it, once, a counter's name ends as one, and no sample stands twice.
Samples samplesOf(const std::string& text) {
  static const std::regex heading(R"(# (HELP|TYPE) ([a-z_]+) (gauge|counter|[A-Z][^\n]*\.))");
  static const std::regex sample(
      R"re(([a-z_]+)(\{[a-z]+="([^"\\]|\\["\\n])*"(,[a-z]+="([^"\\]|\\["\\n])*")*\})? (-?[0-9.e+-]+))re");
  Samples samples;
  std::set<std::string> headed;
  std::string current;
  std::istringstream lines(text);
  std::smatch match;
  for (std::string line; std::getline(lines, line);) {
    if (std::regex_match(line, match, heading)) {
      current = match[2];
      if (match[1] == "HELP") {
        EXPECT_TRUE(headed.insert(current).second) << line;
      } else {
        EXPECT_EQ(match[3] == "counter", current.ends_with("_total")) << line;
      }
      continue;
    }
    const bool fits = std::regex_match(line, match, sample);
    EXPECT_TRUE(fits) << line;
    if (!fits) continue;
    EXPECT_EQ(match[1], current) << line;
    EXPECT_TRUE(samples.emplace(line.substr(0, line.rfind(' ')), std::stod(match[6])).second)
        << line;
  }
  EXPECT_TRUE(text.ends_with('\n'));
  return samples;
}

bool comes(const std::function<bool()>& condition) {
  for (int i = 0; i < 2000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(10ms);
  }
  return false;
}

class ExportTest : public ViewerTest {
 protected:
  // An installation of the exporter alone, with a program in the place of the one that lists
  // sensors.
  void install(const std::string& listing) {
    std::filesystem::create_directory(home.path() / "bin");
    std::filesystem::copy_file(TARVEL_EXPORT, home.path() / "bin/tarvel-export");
    writeFile(home.path() / "bin/tarvel-tools", "#!/bin/sh\n" + listing);
    std::filesystem::permissions(home.path() / "bin/tarvel-tools", std::filesystem::perms::all);
  }

  std::string exported() { return contentsOf(file("tarvel.prom")); }
};

TEST_F(ExportTest, EveryKindOfReadingHasItsMetricInBaseUnits) {
  const ApplicationRegistry helper(kHelperIdentifier);
  fillStore();
  const auto ended = tarvel({"export"});
  EXPECT_EQ(ended.status, 0) << ended.errors;
  Samples expected = {
      {"tarvel_helper_up", 1},
      {R"(tarvel_build_info{version="1.2.5"})", 1},
      {R"(tarvel_process_cpu_ratio{application="org.a",name=""})", 0.123},
      {R"(tarvel_process_cpu_ratio{application="",name="bash"})", 0.025},
      {R"(tarvel_process_memory_bytes{application="",name="bash"})", 20971520},
      {R"(tarvel_process_compressed_bytes{application="",name="bash"})", 524288},
      {R"(tarvel_process_energy_impact{application="org.a",name=""})", 4.2},
      {R"(tarvel_fan_rpm{fan="Fan 0",place="1"})", 2500},
      {R"(tarvel_fan_minimum_rpm{fan="Fan 0",place="1"})", 2000},
      {R"(tarvel_fan_maximum_rpm{fan="Fan 0",place="1"})", 6144},
      {R"(tarvel_temperature_celsius{sensor="CPU Proximity",place="1"})", 58},
      {R"(tarvel_temperature_celsius{sensor="GPU Diode",place="1"})", 91},
      {R"(tarvel_voltage_volts{sensor="CPU Core",place="1"})", 1.25},
      {R"(tarvel_current_amperes{sensor="CPU Core",place="1"})", 3},
      {R"(tarvel_power_watts{sensor="System Total",place="1"})", 36},
  };
  // The sensors are a recorded machine's, the sources those of this one.
  static const std::regex sources(R"re(,source="[^"]*",model="[^"]*")re");
  auto samples = samplesOf(std::regex_replace(ended.output, sources, ""));
  EXPECT_GT(samples.at("tarvel_machine_memory_bytes"), 1e6);
  EXPECT_GT(samples.at("tarvel_helper_cpu_seconds_total"), 0);
  EXPECT_GT(samples.at("tarvel_helper_resident_bytes"), 1e5);
  const auto now = static_cast<double>(std::time(nullptr));
  EXPECT_NEAR(samples.at(R"(tarvel_readings_timestamp_seconds{reading="TempValues"})"), now, 60);
  std::erase_if(samples, [&](const auto& sample) {
    const auto& name = sample.first;
    return name.starts_with("tarvel_machine_") || name.starts_with("tarvel_readings_") ||
           (name.starts_with("tarvel_helper_") && name != "tarvel_helper_up");
  });
  EXPECT_EQ(samples, expected);

  const auto byPid = samplesOf(tarvel({"export", "--by-pid"}).output);
  EXPECT_EQ(byPid.at(R"(tarvel_process_cpu_ratio{pid="301",application="org.a",name="a\\\"b c"})"),
            0.123);
  EXPECT_EQ(
      byPid.at(
          R"(tarvel_process_energy_impact{pid="301",application="org.a",name="a\\\"b c",user="ada"})"),
      4.2);

  std::filesystem::remove(file("data/QX8JD3LW6H.com.Tarvel/Library/Caches/ReadingTimes"));
  const auto old = tarvel({"export"}).output;
  EXPECT_EQ(old.find("tarvel_temperature_"), std::string::npos) << "readings of unknown age";
}

TEST(ReadingFamilies, WhatIsNoNumberOrStandsTwiceIsLeftOutAndSensorsHaveTheirSources) {
  const auto sourceOf = [](std::string_view panel, const std::string& sensor, std::size_t place) {
    return panel == "temperatures" && sensor == "HDD" && place == 1
               ? std::optional(viewer::ListedSource{"drivetemp sdb", "/f", "ROUND \xff\n8TB"})
               : std::nullopt;
  };
  const viewer::Snapshot snapshot = {
      {"TempValues",
       std::vector<viewer::SensorRow>{
           {"HDD", "40", "1"}, {"HDD", "41", "1"}, {"HDD", "12", "1", true}, {"none", "", "1"}},
       1500ms},
      {"CPUAppUsage",
       std::vector<viewer::ProcessRow>{{1, "new\nline \xff", {{"cpu", "1e2"}}, ""},
                                       {1, "new\nline \xff", {{"cpu", "7"}}, ""},
                                       {2, "x", {{"cpu", "nan"}}, ""},
                                       {3, "y", {}, ""}},
       {}}};
  viewer::Families families;
  viewer::addTimes(snapshot, std::chrono::system_clock::time_point(100s), families);
  viewer::ProcessFamilies processes(viewer::ProcessLabels::kProcesses);
  for (const auto& reading : snapshot) {
    viewer::addSensors(reading, sourceOf, families);
    processes.add(reading, {}, families);
  }
  const Samples expected = {
      {R"(tarvel_readings_timestamp_seconds{reading="TempValues"})", 98.5},
      {R"(tarvel_temperature_celsius{sensor="HDD",place="1",source="",model=""})", 40},
      {R"(tarvel_temperature_celsius{sensor="HDD",place="2",source="drivetemp sdb",model="ROUND ??8TB"})",
       41},
      {R"(tarvel_process_cpu_ratio{pid="1",application="",name="new?line ?"})", 0.07}};
  EXPECT_EQ(samplesOf(viewer::textOf(families)), expected);
}

// Compilers, linkers and tests of names that nobody has seen before, all day long.
TEST(ProcessFamilies, AnHourOfCompilingMakesNoMoreSeriesThanTheyHaveRoomFor) {
  using viewer::ProcessRow;
  viewer::ProcessFamilies processes(viewer::ProcessLabels::kGroups);
  std::set<std::string> series;
  viewer::ProcessFamilies::Clock::time_point now;
  const auto scrape = [&](const std::string& names) {
    std::vector<ProcessRow> rows = {{1, "idle", {{"cpu", "0.0"}}, ""},
                                    {2, "kworker/0:1-" + names, {{"cpu", "1.0"}}, ""},
                                    {3, "Main", {{"cpu", "50.0"}}, "org.a.tiff"},
                                    {4, "Part", {{"cpu", "25.0"}}, "org.a.tiff"}};
    for (int i = 0; i < 30; ++i) {
      const auto name = "test-" + names + "-" + std::to_string(i);
      rows.push_back(
          {i + 5, name, {{"cpu", "2"}, {"mem", "1M"}, {"cmprs", "1K"}, {"power", "1"}}, "unknown"});
    }
    viewer::Families families;
    for (const char* key : {"CPUAppUsage", "MEMAppUsage", "EnergyAppUsage"}) {
      processes.add({key, rows, 0ms}, now, families);
    }
    const auto samples = samplesOf(viewer::textOf(families));
    double sum = 0;
    for (const auto& [name, value] : samples) {
      series.insert(name);
      if (name.starts_with("tarvel_process_cpu_")) sum += value;
    }
    EXPECT_NEAR(sum, 1.36, 1e-9) << "what has no series of its own is in the sum of the others";
    EXPECT_EQ(samples.at(R"(tarvel_process_cpu_ratio{application="org.a",name=""})"), 0.75);
    return samples;
  };
  for (int cycle = 0; cycle < 1200; ++cycle, now += 3s) scrape(std::to_string(cycle));
  EXPECT_LE(series.size(), 200U);
  EXPECT_FALSE(series.contains(R"(tarvel_process_cpu_ratio{application="",name="idle"})"));
  EXPECT_TRUE(series.contains(R"(tarvel_process_cpu_ratio{application="",name="kworker"})"));
  EXPECT_TRUE(series.contains(R"(tarvel_process_cpu_ratio{application="",name="other"})"));
  now += 1h;
  scrape("later");
  EXPECT_TRUE(
      scrape("later").contains(R"(tarvel_process_cpu_ratio{application="",name="test-later-29"})"));

  const std::vector<ProcessRow> many(1000, {1, "p", {{"cpu", "1"}}, ""});
  auto distinct = many;
  for (std::size_t i = 0; i < distinct.size(); ++i) distinct[i].pid = static_cast<int>(i);
  viewer::Families families;
  viewer::ProcessFamilies byPid(viewer::ProcessLabels::kProcesses);
  byPid.add({"CPUAppUsage", distinct, 0ms}, now, families);
  EXPECT_LE(samplesOf(viewer::textOf(families)).size(), 50U);
}

// On a processor that is busy for a tenth of the time.
TEST_F(ExportTest, EnergyOfApplicationsAndOfNobodyAddsUpToWhatWasMeasured) {
  fillStore();
  KeptLog log;
  DefaultsStore store(kSuiteName, log);
  const ApplicationRegistry helper(kHelperIdentifier);
  const TemporaryTree machine;
  const std::string zone = "sys/class/powercap/intel-rapl:0/";
  machine.write(zone + "name", "package-0\n");
  machine.write(zone + "max_energy_range_uj", "65712999613\n");
  viewer::Document document(store, helper, viewer::ProcessLabels::kGroups, machine.path());
  viewer::Document::Clock::time_point now(100s);
  int joules = 0;
  int ticks = 0;
  const auto pass = [&](std::chrono::seconds time, int used, bool isPublished) {
    now += time;
    joules += used;
    ticks += 10;
    const auto times = std::to_string(ticks) + " 0 0 " + std::to_string(9 * ticks) + " 0 0 0 0\n";
    machine.write("proc/stat", "cpu  " + times + "cpu0 " + times);
    machine.write(zone + "energy_uj", std::to_string(joules) + "000000\n");
    const ReadingTimes published(kSuiteName);
    for (const char* key : {"EnergyAppUsage", "CPUAppUsage"}) {
      if (isPublished) published.note(key);
    }
    document.watch(now);
    return samplesOf(document.text(now));
  };
  const auto sumOf = [](const Samples& samples, const std::string& metric) {
    double sum = 0;
    for (const auto& [name, value] : samples) sum += name.starts_with(metric) ? value : 0;
    return sum;
  };
  for (const auto& [name, value] : pass(3s, 5, true)) {
    EXPECT_FALSE(name.starts_with("tarvel_energy_")) << name << " from a single look";
  }
  pass(3s, 6, true);   // 2 W: idle, as far as is known
  pass(3s, 16, true);  // 10 J above idle
  std::filesystem::remove(file("data/QX8JD3LW6H.com.Tarvel/Library/Caches/ReadingTimes"));
  auto samples = pass(11s, 32, false);  // no list: 22 J idle, 10 J nobody knows whose
  const Samples expected = {
      {R"(tarvel_energy_measured_joules_total{zone="package-0"})", 54},
      {R"(tarvel_energy_attributed_joules_total{application="org.a",name=""})", 4.2},
      {R"(tarvel_energy_attributed_joules_total{application="",name="bash"})", 2.5},
      {R"(tarvel_energy_unattributed_joules_total{reason="idle"})", 34},
      {R"(tarvel_energy_unattributed_joules_total{reason="unlisted"})", 3.3},
      {R"(tarvel_energy_unattributed_joules_total{reason="unknown"})", 10}};
  for (const auto& [name, value] : expected) EXPECT_NEAR(samples[name], value, 2e-6) << name;

  const std::string attributed = "tarvel_energy_attributed_joules_total";
  const auto passOfSixty = [&](const std::string& names) {
    Array list;
    for (int i = 1; i <= 60; ++i) {
      const auto number = std::to_string(i);
      list.emplace_back("<pid>" + number + "</pid><name>" + names + number +
                        "</name><power>1.0</power><icon>unknown</icon>");
    }
    store.set("EnergyAppUsage", makeKeyedArchiver()->archivedDataWithRootObject(list));
    auto found = pass(3s, 606, true);  // 600 J above idle
    EXPECT_EQ(std::ranges::count_if(
                  found, [&](const auto& sample) { return sample.first.starts_with(attributed); }),
              41);
    return found;
  };
  samples = passOfSixty("a");
  EXPECT_NEAR(sumOf(samples, attributed), 4.2 + 2.5 + 600, 1e-4);
  EXPECT_NEAR(sumOf(samples, attributed) + sumOf(samples, "tarvel_energy_unattributed_"), 660,
              1e-9);
  // Two of forty series were given away, so 22 of the sixty are others. The processor list has
  // 14.8 beside the 60 of this one.
  const auto other = attributed + R"({application="",name="other"})";
  const double ofOthers = 22 * 600 / 74.8;
  EXPECT_NEAR(samples[other], ofOthers, 1e-4);
  pass(1h, 0, true);  // too long for the counter
  EXPECT_NEAR(passOfSixty("b")[other], 2 * ofOthers, 1e-4) << "series change hands, joules do not";
}

TEST_F(ExportTest, TheFileFollowsTheHelperAndSaysAtItsEndThatThereIsNone) {
  fillStore();
  // Its second listing knows a sensor more than the first one.
  install(R"(echo >> "$0.calls"
[ $(wc -l < "$0.calls") -lt 2 ] && exit 1
echo '{"sensors": [{"panel": "temperatures", "name": "CPU Proximity", "chip": "chip", "label": "temp1"}]}'
)");
  const auto path = file("tarvel.prom");
  const auto child = spawnProgram(file("bin/tarvel-export"), {"--textfile", path});
  ASSERT_TRUE(child);
  EXPECT_TRUE(comes([&] { return exported().find("tarvel_helper_up 0") != std::string::npos; }));
  EXPECT_EQ(exported().find("tarvel_temperature_"), std::string::npos);
  {
    const ApplicationRegistry helper(kHelperIdentifier);
    EXPECT_TRUE(comes([&] {
      ReadingTimes(kSuiteName).note("TempValues");  // however slow this machine is
      return exported().find(R"("CPU Proximity",place="1",source="chip temp1")") !=
             std::string::npos;
    }));
    EXPECT_NE(exported().find("tarvel_helper_up 1"), std::string::npos);
    EXPECT_EQ(contentsOf(file("bin/tarvel-tools.calls")), "\n\n") << "sensors are asked for once";
  }
  EXPECT_TRUE(comes([&] { return exported().find("tarvel_helper_up 0") != std::string::npos; }));
  EXPECT_EQ(exported().find("tarvel_temperature_"), std::string::npos);
  const ApplicationRegistry helper(kHelperIdentifier);
  EXPECT_TRUE(comes([&] { return exported().find("tarvel_helper_up 1") != std::string::npos; }));
  ::kill(*child, SIGTERM);
  ::waitpid(*child, nullptr, 0);
  EXPECT_EQ(samplesOf(exported()), (Samples{{"tarvel_helper_up", 0}}));
  EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(path).permissions()), 0644U);
  for (const auto& entry : std::filesystem::directory_iterator(home.path())) {
    EXPECT_FALSE(entry.path().filename().string().starts_with(".tarvel-")) << entry.path();
  }
}

TEST_F(ExportTest, WhatCannotBeWrittenOrServedIsOneLine) {
  const std::pair<Words, int> rows[] = {{{"--textfile", file("no/such/folder")}, 1},
                                        {{"--textfile", "x", "--listen", ":1"}, 2},
                                        {{"--listen", "localhost:no-port"}, 2},
                                        {{"--listen", "localhost:"}, 2},
                                        {{"--listen", "localhost:65536"}, 2},
                                        {{"--listen", "x"}, 2},
                                        {{"--listen", "256.0.0.1:0"}, 1},
                                        {{"--no-such"}, 2}};
  for (auto [words, status] : rows) {
    words.insert(words.begin(), "export");
    const auto ended = tarvel(words);
    EXPECT_EQ(ended.status, status) << testing::PrintToString(words);
    EXPECT_TRUE(ended.errors.starts_with("tarvel: ")) << ended.errors;
    EXPECT_EQ(ended.errors.find('\n'), ended.errors.size() - 1) << ended.errors;
  }
  const auto served =
      run("/usr/bin/timeout", {"-s", "TERM", "1", TARVEL_PROGRAM, "export", "--listen", "0"});
  EXPECT_TRUE(std::regex_match(
      served.errors,
      std::regex(R"(tarvel: serving http://(127\.0\.0\.1|\[::1\]):[0-9]+/metrics\n)")))
      << served.errors;
}

// Clients on the same thread as the server.
class MetricsServerTest : public testing::Test {
 protected:
  FileDescriptor connect(const char* from = "127.0.0.1") {
    FileDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
    sockaddr_in place{};
    place.sin_family = AF_INET;
    ::inet_pton(AF_INET, from, &place.sin_addr);
    ::bind(client.get(), reinterpret_cast<sockaddr*>(&place), sizeof place);
    const auto& url = server.url();
    place.sin_port = htons(static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1))));
    ::inet_pton(AF_INET, "127.0.0.1", &place.sin_addr);
    ::connect(client.get(), reinterpret_cast<sockaddr*>(&place), sizeof place);
    return client;
  }

  // The whole answer, up to the end of the connection.
  std::string answerTo(const std::string& request, const char* from = "127.0.0.1") {
    const FileDescriptor client = connect(from);
    std::string_view rest = request;
    std::string answer;
    std::vector<char> buffer(1 << 16);
    const bool ended = comes([&] {
      if (!rest.empty()) {
        const auto sent = ::send(client.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
        if (sent > 0) rest.remove_prefix(static_cast<std::size_t>(sent));
      }
      server.serve(1ms);
      ssize_t count = 0;
      while ((count = ::recv(client.get(), buffer.data(), buffer.size(), 0)) > 0) {
        answer.append(buffer.data(), static_cast<std::size_t>(count));
      }
      return count == 0 || (count < 0 && errno == ECONNRESET);
    });
    EXPECT_TRUE(ended) << request.substr(0, 40);
    return answer;
  }

  std::string document = "x 1\n";
  int made = 0;
  viewer::MetricsServer server{"127.0.0.1:0", [this](auto) {
                                 ++made;
                                 if (document.empty()) throw std::bad_alloc();
                                 return document;
                               }};
};

TEST_F(MetricsServerTest, OnlyGetOfTheOneDocumentIsServed) {
  const std::pair<std::string, std::string> rows[] = {
      {"GET /metrics HTTP/1.1\r\nHost: a\r\n\r\n", "HTTP/1.1 200 OK\r\n"},
      {"GET /metrics?x=1 HTTP/1.1\r\nHost: a\r\n\r\n", "HTTP/1.1 200 OK\r\n"},
      {"GET /metrics HTTP/1.0\r\n\r\n", "HTTP/1.1 200 OK\r\n"},
      {"GET / HTTP/1.1\r\nHost: a\r\n\r\n", "HTTP/1.1 200 OK\r\n"},
      {"POST /metrics HTTP/1.1\r\nHost: a\r\nContent-Length: 4\r\n\r\nbody", "HTTP/1.1 405 "},
      {"DELETE / HTTP/1.1\r\nHost: a\r\n\r\n", "HTTP/1.1 405 "},
      {"GET /metricsx HTTP/1.1\r\nHost: a\r\n\r\n", "HTTP/1.1 404 "},
      {"GET /../etc/passwd HTTP/1.1\r\nHost: a\r\n\r\n", "HTTP/1.1 404 "},
      {"GET /metrics HTTP/1.1\r\nX: " + std::string(20000, 'x') + "\r\n\r\n", "HTTP/1.1 4"},
      {"GET /" + std::string(20000, 'x') + " HTTP/1.1\r\n\r\n", "HTTP/1.1 4"},
      {"\x16\x03\x01\x02 no HTTP\r\n\r\n", ""},
  };
  for (const auto& [request, status] : rows) {
    const auto answer = answerTo(request);
    EXPECT_TRUE(answer.starts_with(status)) << request.substr(0, 40) << "\n" << answer;
    const bool isServed = request.starts_with("GET /metrics") && status.ends_with("200 OK\r\n");
    EXPECT_EQ(answer.ends_with("\r\n\r\nx 1\n"), isServed) << answer;
    EXPECT_EQ(answer.find(" 200 ") != std::string::npos, status.find(" 200 ") != status.npos);
  }
  EXPECT_LE(made, 2) << "once a second";
}

TEST_F(MetricsServerTest, ADocumentThatCannotBeMadeIsAnErrorOfTheServer) {
  const std::string request = "GET /metrics HTTP/1.1\r\nHost: a\r\n\r\n";
  document.clear();
  EXPECT_TRUE(answerTo(request).starts_with("HTTP/1.1 500 "));
  document = "x 2\n";
  EXPECT_TRUE(answerTo(request).ends_with("\r\n\r\nx 2\n"));
}

TEST_F(MetricsServerTest, SilentAndSlowClientsHoldUpNobody) {
  document = std::string(3'000'000, 'x');  // more than a socket takes at once
  std::vector<FileDescriptor> silent;
  for (int i = 0; i < 300; ++i) {
    silent.push_back(connect());
    if (i % 3 == 0) ::send(silent.back().get(), "GET /metr", 9, MSG_NOSIGNAL);
    if (i % 3 == 1) {  // never reads
      constexpr std::string_view kWhole = "GET /metrics HTTP/1.1\r\nHost: a\r\n\r\n";
      ::send(silent.back().get(), kWhole.data(), kWhole.size(), MSG_NOSIGNAL);
    }
    server.serve(1ms);
  }
  for (const char* from : {"127.0.0.1", "127.0.0.2"}) {
    const auto answer = answerTo("GET /metrics HTTP/1.1\r\nHost: a\r\n\r\n", from);
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_EQ(answer.size(), answer.find("\r\n\r\n") + 4 + document.size());
  }
}

}  // namespace
}  // namespace tarvel

#include <csignal>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "platform/host/files/file_descriptor.h"
#include "programs/tarvel/metrics.h"
#include "programs/tarvel/metrics_server.h"
#include "tests/viewer_fixture.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

// The samples of a text by name and labels, read as strictly as the format is written: every metric
// has its heading before it, once, and no sample stands twice.
std::map<std::string, double> samplesOf(const std::string& text) {
  static const std::regex heading(R"(# (HELP|TYPE) ([a-z_]+) (gauge|[A-Z][^\n]*\.))");
  static const std::regex sample(
      R"re(([a-z_]+)(\{[a-z]+="([^"\\]|\\["\\n])*"(,[a-z]+="([^"\\]|\\["\\n])*")*\})? (-?[0-9.e+-]+))re");
  std::map<std::string, double> samples;
  std::set<std::string> headed;
  std::string current;
  std::istringstream lines(text);
  std::smatch match;
  for (std::string line; std::getline(lines, line);) {
    if (std::regex_match(line, match, heading)) {
      if (match[1] == "HELP") {
        EXPECT_TRUE(headed.insert(match[2]).second) << line;
      } else {
        EXPECT_EQ(match[3], "gauge");
      }
      current = match[2];
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

class ExportTest : public ViewerTest {};

TEST_F(ExportTest, EveryKindOfReadingHasItsMetricInBaseUnits) {
  fillStore();
  const auto ended = tarvel({"export"});
  EXPECT_EQ(ended.status, 0);
  const std::map<std::string, double> expected = {
      {"tarvel_helper_up", 0},
      {R"(tarvel_process_cpu_ratio{pid="301",name="a\\\"b c",application="org.a"})", 0.123},
      {R"(tarvel_process_cpu_ratio{pid="302",name="bash",application=""})", 0.025},
      {R"(tarvel_process_memory_bytes{pid="302",name="bash",application=""})", 20971520},
      {R"(tarvel_process_compressed_bytes{pid="302",name="bash",application=""})", 524288},
      {R"(tarvel_process_energy_impact{pid="301",name="a\\\"b c",application="org.a",user="ada"})",
       4.2},
      {R"(tarvel_fan_rpm{fan="Fan 0",place="1"})", 2500},
      {R"(tarvel_fan_minimum_rpm{fan="Fan 0",place="1"})", 2000},
      {R"(tarvel_fan_maximum_rpm{fan="Fan 0",place="1"})", 6144},
      {R"(tarvel_temperature_celsius{sensor="CPU Proximity",place="1"})", 58},
      {R"(tarvel_temperature_celsius{sensor="GPU Diode",place="1"})", 91},
      {R"(tarvel_temperature_celsius{sensor="GPU Diode",place="2"})", 91},
      {R"(tarvel_voltage_volts{sensor="CPU Core",place="1"})", 1.25},
      {R"(tarvel_current_amperes{sensor="CPU Core",place="1"})", 3},
      {R"(tarvel_power_watts{sensor="System Total",place="1"})", 36},
  };
  auto samples = samplesOf(ended.output);
  EXPECT_GT(samples.at("tarvel_machine_memory_bytes"), 1e6);
  EXPECT_LT(samples.at(R"(tarvel_reading_age_seconds{reading="TempValues"})"), 10);
  std::erase_if(samples, [](const auto& sample) {
    return sample.first.starts_with("tarvel_machine_") ||
           sample.first.starts_with("tarvel_reading_");
  });
  EXPECT_EQ(samples, expected);
}

TEST(Metrics, WhatIsNoNumberOrStandsTwiceIsLeftOutAndNoTextBreaksALine) {
  const viewer::Snapshot snapshot = {
      {"CPUAppUsage",
       std::vector<viewer::ProcessRow>{{1, "new\nline \xff", {{"cpu", "1e2"}}, ""},
                                       {1, "new\nline \xff", {{"cpu", "7"}}, ""},
                                       {2, "x", {{"cpu", "nan"}}, ""},
                                       {3, "y", {}, ""}},
       1s},
      {"TempValues", std::vector<viewer::SensorRow>{{"none", "", "1"}}, 0ms},
      {"PowerValues", std::vector<viewer::SensorRow>{{"old", "1.00", "1"}}, 11s},
      {"CurrentValues", std::vector<viewer::SensorRow>{{"ever older", "1.00", "1"}}, {}}};
  const auto samples = samplesOf(viewer::metricsOf(snapshot, true));
  const std::map<std::string, double> expected = {
      {"tarvel_helper_up", 1},
      {R"(tarvel_reading_age_seconds{reading="CPUAppUsage"})", 1},
      {R"(tarvel_reading_age_seconds{reading="TempValues"})", 0},
      {R"(tarvel_reading_age_seconds{reading="PowerValues"})", 11},
      {R"(tarvel_process_cpu_ratio{pid="1",name="new?line ?",application=""})", 0.01}};
  EXPECT_EQ(samples, expected);
}

TEST_F(ExportTest, TheFileFollowsTheStoreUntilASignalComes) {
  fillStore();
  const auto path = file("tarvel.prom");
  const auto ended =
      run("/usr/bin/timeout", {"-s", "TERM", "1", TARVEL_PROGRAM, "export", "--textfile", path});
  EXPECT_EQ(ended.output, "");
  EXPECT_GT(samplesOf(contentsOf(path)).size(), 10U);
  for (const auto& entry : std::filesystem::directory_iterator(home.path())) {
    EXPECT_NE(entry.path().extension(), ".tmp") << "a temporary file was left";
  }
  const auto refused = tarvel({"export", "--textfile", file("no/such/folder")});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.errors.starts_with("tarvel: ")) << refused.errors;
  EXPECT_EQ(tarvel({"export", "--textfile", path, "--listen", ":1"}).status, 2);
  for (const char* address : {"localhost:no-port", "localhost:", "localhost:65536", "x"}) {
    EXPECT_EQ(tarvel({"export", "--listen", address}).status, 2) << address;
  }
  EXPECT_EQ(tarvel({"export", "--listen", "256.0.0.1:0"}).status, 1);
  const auto served =
      run("/usr/bin/timeout", {"-s", "TERM", "1", TARVEL_PROGRAM, "export", "--listen", "0"});
  EXPECT_TRUE(served.errors.starts_with("tarvel: serving http://127.0.0.1:") ||
              served.errors.starts_with("tarvel: serving http://[::1]:"))
      << served.errors;
}

TEST(MetricsAnswer, OnlyGetOfTheOneDocumentIsServed) {
  const std::pair<std::string, std::string> rows[] = {
      {"GET /metrics HTTP/1.1\r\nHost: a\r\n\r\n", "HTTP/1.1 200 OK\r\n"},
      {"GET /metrics?x=1 HTTP/1.0\r\n\r\n", "HTTP/1.1 200 OK\r\n"},
      {"HEAD /metrics HTTP/1.1\r\n\r\n", "HTTP/1.1 405 Method Not Allowed\r\n"},
      {"POST /metrics HTTP/1.1\r\n\r\nbody", "HTTP/1.1 405 Method Not Allowed\r\n"},
      {"GET / HTTP/1.1\r\n\r\n", "HTTP/1.1 404 Not Found\r\n"},
      {"GET /metricsx HTTP/1.1\r\n\r\n", "HTTP/1.1 404 Not Found\r\n"},
      {"GET /metrics\r\n\r\n", "HTTP/1.1 400 Bad Request\r\n"},
      {"GET  /metrics HTTP/1.1\r\n\r\n", "HTTP/1.1 400 Bad Request\r\n"},
      {"get /metrics HTTP/1.1\r\n\r\n", "HTTP/1.1 400 Bad Request\r\n"},
      {"\r\n\r\n", "HTTP/1.1 400 Bad Request\r\n"},
      {std::string(4096, 'x'), "HTTP/1.1 400 Bad Request\r\n"},
      {"GET /metrics HTTP/1.1\r\nHost: a\r\n", ""},  // not yet whole
      {"", ""},
  };
  for (const auto& [request, status] : rows) {
    const auto answer = viewer::answerTo(request, [] { return std::string("x 1\n"); });
    EXPECT_EQ(answer.value_or("").substr(0, status.size()), status) << request;
    EXPECT_EQ(answer.has_value(), !status.empty()) << request;
    if (status.find("200") != std::string::npos) {
      EXPECT_TRUE(answer->ends_with("Content-Length: 4\r\nConnection: close\r\n\r\nx 1\n"));
    }
  }
}

TEST(MetricsServer, AnswersManyAndASlowClientHoldsUpNobody) {
  FileDescriptor probe(::socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof place;
  ASSERT_EQ(::bind(probe.get(), reinterpret_cast<sockaddr*>(&place), size), 0);
  ASSERT_EQ(::getsockname(probe.get(), reinterpret_cast<sockaddr*>(&place), &size), 0);
  probe.reset();

  const std::string document(3'000'000, 'x');  // more than a socket takes at once
  viewer::MetricsServer server("127.0.0.1:" + std::to_string(ntohs(place.sin_port)),
                               [&] { return document; });
  const auto connect = [&] {
    FileDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
    ::connect(client.get(), reinterpret_cast<sockaddr*>(&place), size);
    return client;
  };
  const FileDescriptor silent = connect();
  for (int i = 0; i < 3; ++i) {
    const FileDescriptor client = connect();
    server.serve(std::chrono::milliseconds(100));
    const std::string request = "GET /metrics HTTP/1.1\r\n\r\n";
    ASSERT_EQ(::send(client.get(), request.data(), request.size(), 0),
              static_cast<ssize_t>(request.size()));
    std::string answer;
    std::vector<char> buffer(1 << 16);
    for (int turn = 0; turn < 1000; ++turn) {
      server.serve(std::chrono::milliseconds(10));
      ssize_t count = 0;
      while ((count = ::recv(client.get(), buffer.data(), buffer.size(), 0)) > 0) {
        answer.append(buffer.data(), static_cast<std::size_t>(count));
      }
      if (count == 0) break;
    }
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_EQ(answer.size(), answer.find("\r\n\r\n") + 4 + document.size());
  }
}

}  // namespace
}  // namespace tarvel

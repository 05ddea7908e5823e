#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sodium.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/processes/child_process.h"
#include "programs/update/download.h"
#include "programs/update/version.h"
#include "tests/temporary_home.h"

namespace tarvel::update {
namespace {

namespace fs = std::filesystem;

TEST(Versions, AreComparedNumberByNumber) {
  const struct {
    const char* a;
    const char* b;
    int order;
  } rows[] = {{"1.2.5", "1.2.5", 0}, {"1.2.10", "1.2.9", 1}, {"1.2", "1.2.1", -1},
              {"2", "1.9.9", 1},     {"", "0", 0},           {"1.2.0", "1.2", 0},
              {"1.x.3", "1.0.2", 1}};
  for (const auto& row : rows) {
    EXPECT_EQ(compareVersions(row.a, row.b), row.order) << row.a << " " << row.b;
    EXPECT_EQ(compareVersions(row.b, row.a), -row.order) << row.b << " " << row.a;
  }
}

TEST(Addresses, OnlyHTTPSLeavesTheMachine) {
  for (const char* url : {"https://example.org/feed.xml", "http://127.0.0.1:8000/feed.xml",
                          "http://localhost/", "http://[::1]:80/x"}) {
    EXPECT_TRUE(isAllowedAddress(url)) << url;
  }
  for (const char* url : {"http://example.org/", "ftp://127.0.0.1/", "file:///etc/passwd", "",
                          "http://127.0.0.1.example.org/", "http://localhost@example.org/"}) {
    EXPECT_FALSE(isAllowedAddress(url)) << url;
  }
}

std::string base64(const unsigned char* bytes, std::size_t size) {
  std::string text(sodium_base64_ENCODED_LEN(size, sodium_base64_VARIANT_ORIGINAL), '\0');
  sodium_bin2base64(text.data(), text.size(), bytes, size, sodium_base64_VARIANT_ORIGINAL);
  return text.c_str();
}

// A bundle, a newer one in an archive, and a feed that offers it from this machine.
class Update : public testing::Test {
 protected:
  Update() {
    EXPECT_GE(sodium_init(), 0);
    crypto_sign_keypair(publicKey.data(), secretKey.data());
    fs::create_directories(home.path() / "web/folder");
    startServer();
    const char* greeting = "#!/bin/sh\necho \"$0\" >\"${0%/*}/../started\"\n";
    makeBundle(home.path() / "TarvelHelper.app", "1.2.5", greeting);
    makeBundle(home.path() / "new/TarvelHelper.app", "1.2.6", greeting);
    pack();
  }
  ~Update() override {
    ::kill(server, SIGTERM);
    waitForProgram(server);
  }

  void startServer() {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const FileDescriptor reading(ends[0]);
    const FileDescriptor writing(ends[1]);
    const FileDescriptor nowhere(::open("/dev/null", O_WRONLY));
    const auto child =
        spawnProgram("python3",
                     {"-u", "-m", "http.server", "0", "--bind", "127.0.0.1", "--directory",
                      (home.path() / "web").string()},
                     {{{writing.get(), STDOUT_FILENO}, {nowhere.get(), STDERR_FILENO}}});
    ASSERT_TRUE(child);
    server = *child;
    std::string line;
    for (char c = 0; ::read(reading.get(), &c, 1) == 1 && c != '\n';) line.push_back(c);
    const auto port = line.find("port ");
    ASSERT_NE(port, std::string::npos) << line;
    address = "http://127.0.0.1:" + std::to_string(std::stoi(line.substr(port + 5))) + "/";
  }

  void makeBundle(const fs::path& folder, const std::string& bundleVersion, const char* program,
                  const char* identifier = "com.Tarvel.Helper") {
    fs::create_directories(folder);
    const auto pair = [](const std::string& key, const std::string& value) {
      return "<key>" + key + "</key><string>" + value + "</string>";
    };
    writeFile(folder / "Info.plist",
              "<plist><dict>" + pair("CFBundleIdentifier", identifier) +
                  pair("CFBundleVersion", bundleVersion) + pair("SUFeedURL", address + "feed.xml") +
                  pair("SUPublicEDKey", base64(publicKey.data(), publicKey.size())) +
                  "</dict></plist>");
    writeFile(folder / "TarvelHelper", program);
    fs::permissions(folder / "TarvelHelper", fs::perms::owner_all);
  }

  void pack() {
    const auto child =
        spawnProgram("tar", {"--create", "--gzip", "--directory", (home.path() / "new").string(),
                             "--file", (home.path() / "web/new.tar.gz").string(), "."});
    ASSERT_TRUE(child);
    ASSERT_EQ(waitForProgram(*child), 0);
    archive = contentsOf(home.path() / "web/new.tar.gz");
    std::array<unsigned char, crypto_sign_BYTES> bytes{};
    crypto_sign_detached(bytes.data(), nullptr,
                         reinterpret_cast<const unsigned char*>(archive.data()), archive.size(),
                         secretKey.data());
    signature = base64(bytes.data(), bytes.size());
    length = std::to_string(archive.size());
  }

  void writeFeed() const {
    writeFile(home.path() / "web/feed.xml",
              "<rss xmlns:sparkle=\"s\"><channel><item><sparkle:version>" + version +
                  "</sparkle:version><sparkle:minimumSystemVersion>" + minimumSystem +
                  "</sparkle:minimumSystemVersion><enclosure url=\"" + url + "\" length=\"" +
                  length + "\" sparkle:edSignature=\"" + signature +
                  "\"/></item><item><sparkle:version>1.0</sparkle:version></item></channel></rss>");
  }

  int run() const {
    const auto child = spawnProgram(TARVEL_UPDATE_PROGRAM,
                                    {"background", (home.path() / "TarvelHelper.app").string()});
    return child ? waitForProgram(*child) : -1;
  }

  std::string installedVersion() const {
    const auto info = contentsOf(home.path() / "TarvelHelper.app/Info.plist");
    return info.find("<string>1.2.6<") != std::string::npos ? "1.2.6" : "1.2.5";
  }

  TemporaryHome home;
  pid_t server = 0;
  std::string address;
  std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
  std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secretKey{};
  std::string archive;
  std::string version = "1.2.6";
  std::string minimumSystem;
  std::string url = "new.tar.gz";
  std::string length;
  std::string signature;
};

TEST_F(Update, ASignedNewerBundleTakesThePlaceOfTheOldOneAndIsStarted) {
  ::setenv("http_proxy", "http://127.0.0.1:1", 1);  // nothing answers there
  fs::create_directories(home.path() / ".tarvel-update-killed/TarvelHelper.app");
  fs::permissions(home.path() / "new/TarvelHelper.app/TarvelHelper", fs::perms(06777));
  pack();
  writeFeed();
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(installedVersion(), "1.2.6");
  EXPECT_EQ(fs::status(home.path() / "TarvelHelper.app/TarvelHelper").permissions(),
            fs::perms(0755));
  for (int i = 0; i < 200 && !fs::exists(home.path() / "started"); ++i) usleep(10'000);
  EXPECT_TRUE(fs::exists(home.path() / "started"));
  for (const auto& file : fs::directory_iterator(home.path())) {
    EXPECT_FALSE(file.path().filename().string().starts_with(".tarvel")) << file.path();
  }
  EXPECT_EQ(run(), 0);  // up to date
}

TEST_F(Update, WhateverIsWrongChangesNothing) {
  const struct {
    const char* what;
    std::function<void()> spoil;
    int status;
  } rows[] = {
      {"signed by nobody", [&] { signature.clear(); }, 1},
      {"signed by another",
       [&] {
         crypto_sign_keypair(publicKey.data(), secretKey.data());
         pack();
       },
       1},
      {"a changed archive",
       [&] {
         archive[archive.size() / 2] ^= 1;
         writeFile(home.path() / "web/new.tar.gz", archive);
       },
       1},
      {"cut short", [&] { writeFile(home.path() / "web/new.tar.gz", archive.substr(0, 100)); }, 1},
      {"longer than announced", [&] { length = std::to_string(archive.size() - 1); }, 1},
      {"too large", [&] { length = "99999999999"; }, 1},
      {"older", [&] { version = "1.2.4"; }, 0},
      {"the same", [&] { version = "1.2.5"; }, 0},
      {"for a later system", [&] { minimumSystem = "9999"; }, 0},
      {"of another version than it says", [&] { version = "1.2.7"; }, 1},
      {"leading elsewhere", [&] { url = "folder"; }, 1},
      {"not there", [&] { url = "none.tar.gz"; }, 1},
      {"from another machine without HTTPS", [&] { url = "http://192.0.2.1/new.tar.gz"; }, 1},
      {"another bundle",
       [&] {
         makeBundle(home.path() / "new/TarvelHelper.app", "1.2.6", "", "org.other");
         pack();
       },
       1},
      {"holding a link",
       [&] {
         fs::create_symlink("/etc/passwd", home.path() / "new/TarvelHelper.app/link");
         pack();
         fs::remove(home.path() / "new/TarvelHelper.app/link");
       },
       1},
      {"no bundle at all",
       [&] {
         fs::remove_all(home.path() / "new/TarvelHelper.app");
         pack();
       },
       1},
  };
  for (const auto& row : rows) {
    makeBundle(home.path() / "new/TarvelHelper.app", "1.2.6", "#!/bin/sh\n");
    makeBundle(home.path() / "TarvelHelper.app", "1.2.5", "#!/bin/sh\n");
    version = "1.2.6";
    minimumSystem.clear();
    url = "new.tar.gz";
    pack();
    row.spoil();
    writeFeed();
    EXPECT_EQ(run(), row.status) << row.what;
    EXPECT_EQ(installedVersion(), "1.2.5") << row.what;
  }
  writeFile(home.path() / "web/feed.xml", "no feed");
  EXPECT_EQ(run(), 1);
}

}  // namespace
}  // namespace tarvel::update

#include <algorithm>

#include "tests/replay_fixture.h"

namespace tarvel {
namespace {

using Json = nlohmann::json;
using HelperMaintenance = ReplayTest;

std::vector<std::string> removalOf(const std::vector<Json>& trace) {
  std::vector<std::string> deeds;
  for (const auto& line : trace) {
    const std::string call = line["call"];
    if (call.starts_with("Authorization") || call == "terminate") {
      deeds.push_back(line["thread"].get<std::string>() + " " + call);
    }
    if (call == "dispatchAfter" && line["seconds"] == 0.1) deeds.push_back("dispatch");
  }
  return deeds;
}

TEST_F(HelperMaintenance, TheOutcomeOfThePrivilegedCallDecides) {
  const std::vector<std::string> asked = {"background-1 AuthorizationCreate",
                                          "background-1 AuthorizationCopyRights",
                                          "background-1 AuthorizationExecuteWithPrivileges"};
  const auto with = [&](std::vector<std::string> rest) {
    rest.insert(rest.begin(), asked.begin(), asked.end());
    return rest;
  };
  const struct {
    std::int64_t status;
    std::vector<std::string> deeds;
    int lastCycle;
  } rows[] = {
      {0, with({"dispatch", "background-1 AuthorizationFree", "main terminate"}), 1},
      {-60006, with({"background-1 AuthorizationFree"}), 3},
  };
  for (const auto& row : rows) {
    reset();
    store("UninstallHelper", true);
    storeArray("TempValues", {Array{"Ambient", "30", "1"}});
    const auto trace = replay({{"running", {"com.Tarvel"}}, {"authorization", row.status}}, 3);
    EXPECT_EQ(removalOf(trace), row.deeds);
    EXPECT_EQ(trace.back()["cycle"], row.lastCycle);
    EXPECT_EQ(trace.back()["call"], "removeItemAtPath");
    EXPECT_FALSE(stored("UninstallHelper"));
    EXPECT_TRUE(stored("TempValues"));
  }
}

TEST_F(HelperMaintenance, NothingButTheBundleIsRemovedWithFullRights) {
  store("UninstallHelper", "1");
  const auto trace = replay(Json::object());  // no viewer: the first cycle answers all the same
  const auto find = [&](const char* call) {
    return *std::find_if(trace.begin(), trace.end(),
                         [&](const Json& line) { return line["call"] == call; });
  };
  EXPECT_EQ(find("AuthorizationCopyRights")["right"], "system.privilege.admin");
  EXPECT_EQ(find("AuthorizationCopyRights")["flags"], 19);
  EXPECT_EQ(find("AuthorizationExecuteWithPrivileges")["tool"], "/bin/rm");
  EXPECT_EQ(find("AuthorizationExecuteWithPrivileges")["arguments"],
            Json({"-rf", "/Applications/TarvelHelper.app"}));
  EXPECT_EQ(find("AuthorizationFree")["flags"], 8);
}

TEST_F(HelperMaintenance, EveryRequestIsARemovalOfItsOwn) {
  store("UninstallHelper", true);
  const Json refused = {{"running", {"com.Tarvel"}}, {"authorization", -60005}};
  EXPECT_EQ(removalOf(replay(refused, 2)).size(), 4U);
  EXPECT_TRUE(removalOf(replay(refused, 2)).empty());
  store("UninstallHelper", true);
  EXPECT_EQ(removalOf(replay(refused, 2)).size(), 4U);
}

}  // namespace
}  // namespace tarvel

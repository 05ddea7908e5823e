#include <chrono>

#include "app/app_delegate.h"
#include "platform/authorization.h"
#include "platform/bundle.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kAdministratorRight = "system.privilege.admin";
constexpr std::uint32_t kRightsFlags = kAuthorizationFlagInteractionAllowed |
                                       kAuthorizationFlagExtendRights |
                                       kAuthorizationFlagPreAuthorize;

}  // namespace

// Only the privileged call decides: a user who refuses the rights makes that call fail as well.
void AppDelegate::UninstallHelper() {
  const auto authorization = platform_.authorization.AuthorizationCreate();
  authorization->AuthorizationCopyRights(kAdministratorRight, kRightsFlags);
  const auto status = authorization->AuthorizationExecuteWithPrivileges(
      "/bin/rm", {"-rf", platform_.mainBundle.bundlePath()});
  if (status == 0) {
    platform_.runLoop.dispatchAfter(100ms, [this] { platform_.runLoop.terminate(); });
  }
  authorization->AuthorizationFree(kAuthorizationFlagDestroyRights);
}

// Part of the delegate's published operations; a requested check goes through the updater itself.
void AppDelegate::CheckForUpdates() {}

}  // namespace tarvel

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Authorization Services: running one tool with an administrator's rights. Status 0 is success.
// Callable from any thread; a call blocks for as long as the user is being asked.

namespace tarvel {

inline constexpr std::uint32_t kAuthorizationFlagInteractionAllowed = 1;
inline constexpr std::uint32_t kAuthorizationFlagExtendRights = 2;
inline constexpr std::uint32_t kAuthorizationFlagDestroyRights = 8;
inline constexpr std::uint32_t kAuthorizationFlagPreAuthorize = 16;

class AuthorizationReference {
 public:
  virtual ~AuthorizationReference() = default;

  virtual std::int32_t AuthorizationCopyRights(std::string_view right, std::uint32_t flags) = 0;

  // Starts the tool with administrator rights. Whether it succeeds at its work is not waited for
  // where the platform can tell earlier that it has started.
  virtual std::int32_t AuthorizationExecuteWithPrivileges(
      const std::string& tool, const std::vector<std::string>& arguments) = 0;

  virtual void AuthorizationFree(std::uint32_t flags) = 0;
};

class Authorization {
 public:
  virtual ~Authorization() = default;

  virtual std::unique_ptr<AuthorizationReference> AuthorizationCreate() = 0;  // never null
};

}  // namespace tarvel

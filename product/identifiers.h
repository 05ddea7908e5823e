#pragma once

#include <string_view>

// The names under which the programs of the product find one another and their files. No other
// file spells them.

namespace tarvel {

// The suite of the shared store, and the application group whose container holds it and the icons.
inline constexpr std::string_view kSuiteName = "QX8JD3LW6H.com.Tarvel";

// Bundle identifiers, as they stand in the registry of running applications.
inline constexpr std::string_view kHelperIdentifier = "com.Tarvel.Helper";
inline constexpr std::string_view kViewerIdentifier = "com.Tarvel";
inline constexpr std::string_view kWidgetIdentifier = "com.Tarvel.Widget";

// The window in the same registry, hidden or not: there is one of them. While somebody looks it is
// a viewer as well.
inline constexpr std::string_view kWindowIdentifier = "com.Tarvel.Window";

// The folder of the registry, in $XDG_RUNTIME_DIR or its fallback.
inline constexpr std::string_view kRuntimeFolder = "com.Tarvel";

// The folder of the application icons, inside the group container.
inline constexpr std::string_view kIconDirectory = "/Library/Caches/Icons/";

}  // namespace tarvel

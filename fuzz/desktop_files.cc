#include <filesystem>

#include "fuzz/fuzz_input.h"
#include "platform/linux/desktop/desktop_entry.h"
#include "platform/linux/desktop/icon_theme.h"
#include "platform/linux/desktop/unit_application.h"
#include "tests/temporary_tree.h"

// Desktop entries, control groups, and the index of an icon theme beside a folder that it may name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarvel;
  static const TemporaryTree tree;
  if (!std::filesystem::exists(tree.path("theme"))) tree.write("theme/48x48/apps/icon.png", "");
  const auto text = textOf(data, size);
  if (const auto entry = parseDesktopEntry(text)) programWord(entry->words);
  unitIdentifiers(controlGroupPath(text));
  unitIdentifiers(text);
  desktopFileIdentifier(text);
  tree.write("theme/index.theme", text);
  iconFiles("icon", {{tree.path()}, {}, "theme"});
  return 0;
}

#pragma once

#include <array>
#include <functional>

#include "product/store_keys.h"
#include "programs/window/page.h"
#include "programs/window/process_actions.h"

class QCheckBox;
class QLabel;

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

// The panels to switch, and what the helper can be asked for.
class PanelPage : public Page {
 public:
  using Tell = std::function<void(const QString& message)>;

  // The store outlives the page.
  PanelPage(DefaultsStore& store, Questions questions, Tell tell);

  void refresh(Watching& watching) override;
  void leave() override { watching_ = nullptr; }

 private:
  QWidget* makePanels();
  QWidget* makeRequests();
  void request(std::string_view key, const QString& told);
  void toggle(std::size_t panel, bool isOn);

  DefaultsStore& store_;
  Questions questions_;
  Tell tell_;
  Watching* watching_ = nullptr;
  std::array<QCheckBox*, kPanelTable.size()> boxes_{};
  std::array<QLabel*, kPanelTable.size()> notes_{};
  QLabel* helper_ = nullptr;
};

}  // namespace tarvel::viewer

#pragma once

#include <QApplication>
#include <cstdlib>
#include <memory>

#include "tests/viewer_fixture.h"

namespace tarvel {

// Qt without a screen, and a home of the test's own.
class WindowTest : public ViewerTest {
 protected:
  static void SetUpTestSuite() {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    static int count = 1;
    static char name[] = "window_test";
    static char* words[] = {name, nullptr};
    application = std::make_unique<QApplication>(count, words);
  }
  // Before the end of what Qt itself keeps until the process ends.
  static void TearDownTestSuite() { application.reset(); }

 private:
  static inline std::unique_ptr<QApplication> application;
};

}  // namespace tarvel

#include <gtest/gtest.h>

#include <QApplication>
#include <memory>

namespace {

/// Widgets need an application; the tests' own main knows nothing of Qt.
class QtEnvironment final : public testing::Environment {
 public:
  void SetUp() override {
    static int count = 1;
    static char name[] = "screen-tests";
    static char* arguments[] = {name, nullptr};
    QApplication::setQuitOnLastWindowClosed(false);
    application_ = std::make_unique<QApplication>(count, arguments);
  }
  void TearDown() override { application_.reset(); }

 private:
  std::unique_ptr<QApplication> application_;
};

const auto* const kEnvironment = testing::AddGlobalTestEnvironment(new QtEnvironment);

}  // namespace

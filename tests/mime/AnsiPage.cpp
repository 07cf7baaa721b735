#include <gtest/gtest.h>

#include "platform/NarrowText.h"

namespace {

// What the tests of mail expect of text without a charset, wherever they run.
class AnsiPage : public testing::Environment {
 public:
  void SetUp() override { platform::SetAnsiCodePage(1252); }
};
const auto* const g_ansiPage = testing::AddGlobalTestEnvironment(new AnsiPage);

}  // namespace

#pragma once

#include <string>
#include <string_view>

#include "platform/Unicode.h"
#include "tests/support/TemporaryFolder.h"

namespace client_test {

// UTF-16LE, as the files of prepared items and the engine's trace are.
inline std::string Wide(std::string_view utf8) {
  return test_support::WideBytes(platform::Utf8ToUtf16(utf8));
}

}  // namespace client_test

#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "base/LogNull.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailWriter.h"
#include "mime/tree/MimeMessage2.h"
#include "tests/support/Texts.h"

// What the tests of mail share.
namespace test_support {

inline mail::LogNull silent;

inline std::string Utf16(std::string_view ascii, bool big = false) {
  std::string bytes;
  for (const char c : ascii) bytes.append(big ? std::string{'\0', c} : std::string{c, '\0'});
  return bytes;
}

// A tree of a text that loads.
struct LoadedMime : mail::MimeMessage2 {
  explicit LoadedMime(std::string_view mail, const LoadOptions& options = {}) {
    EXPECT_TRUE(loadMimeComplete(mail, options, silent));
  }
};

inline std::string BytesOf(const mail::MimeMessage2& root) {
  mail::DataBuffer out;
  root.getMimeBytes(out, silent);
  return std::string(out.view());
}

inline mail::OwnedPtr<mail::Email2> LoadEmail(std::string_view mime, bool utf8 = false) {
  return mail::buildEmail(mime, utf8, silent);
}

// Takes so many writes, and fails then.
struct EmailText : mail::EmailOutput {
  bool write(std::string_view bytes) override {
    if (writesLeft == 0) return false;
    --writesLeft;
    largest = std::max(largest, bytes.size());
    text.append(bytes);
    return true;
  }
  std::string text;
  std::size_t largest = 0;
  int writesLeft = 1'000'000;
};

using Transport = mail::EmailWriter::Transport;

inline std::string Written(mail::Email2& email, Transport transport = Transport::k8bit,
                           mail::LogBase& log = silent) {
  EmailText output;
  EXPECT_TRUE(mail::EmailWriter(output, transport, log).write(email)) << output.text;
  return output.text;
}

}  // namespace test_support

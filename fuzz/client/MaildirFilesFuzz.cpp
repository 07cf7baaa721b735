#include <cstdint>
#include <cstdlib>
#include <string>

#include "client/sources/MaildirSource.h"
#include "tests/support/TemporaryFolder.h"

// What servers keep beside the mails of a Maildir: Dovecot's and Courier's keywords, the uses of
// folders. Whatever stands there, the mails are those that lie there.

namespace {

constexpr std::size_t kMostCategories = 512;

void Require(bool holds) {
  if (!holds) std::abort();
}

const test_support::TemporaryFolder& Maildir() {
  static const test_support::TemporaryFolder kFolder;
  static const bool kIsMade = [] {
    for (const char* const name : {"cur/1.a:2,Sabyz", "new/2.b", ".A/cur/3.c:2,c", ".A/new/4"}) {
      kFolder.Write(name, "Subject: x\n\n");
    }
    return true;
  }();
  Require(kIsMade);
  return kFolder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  for (const char* const name :
       {"dovecot-keywords", "courierimapkeywords/:list", "courierimapkeywords/.7.2.b",
        "dovecot-attributes", ".A/dovecot-keywords", ".A/dovecot-uidlist"}) {
    Maildir().Write(name, input);
  }
  const client::Listing listing = client::MaildirSource(Maildir().Path()).List();
  Require(listing.items.size() == 4 && listing.problems.empty() && listing.marks.size() <= 1);
  for (const client::SourceItem& item : listing.items) {
    Require(item.state.categories.size() <= kMostCategories);
    for (const std::string& category : item.state.categories) Require(!category.empty());
  }
  return 0;
}

// Feeds request bodies to the mailbox's operations. Whatever comes in, the answer is well-formed
// XML with a response code, and the store stays usable.
#include <cstdint>
#include <cstdlib>
#include <pugixml.hpp>
#include <string>

#include "mailboxd/ews/Autodiscover.h"
#include "mailboxd/ews/Operations.h"

namespace {

void Require(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  static mailbox::Store store(":memory:");
  static mailbox::Faults faults;
  const mailbox::Context context{store, faults, "user@example.com", 1 << 20};
  std::string body(reinterpret_cast<const char*>(data), size);
  std::string answer;
  try {
    answer = mailbox::Answer(body, context);
  } catch (const mailbox::SoapFault& fault) {
    answer = mailbox::WriteFault(fault);
  }
  pugi::xml_document document;
  Require(static_cast<bool>(document.load_buffer(answer.data(), answer.size())));
  Require(answer.find("ResponseCode") != std::string::npos);

  std::string discover(reinterpret_cast<const char*>(data), size);
  answer = mailbox::AnswerAutodiscover(discover, "https://127.0.0.1/EWS/Exchange.asmx");
  Require(static_cast<bool>(document.load_buffer(answer.data(), answer.size())));
  return 0;
}

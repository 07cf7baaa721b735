// Feeds request bodies to the mailbox's operations. Whatever comes in, the answer is well-formed
// XML with a response code, and an item that was taken can be shown.
#include <cstdint>
#include <cstdlib>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "mailboxd/ews/Autodiscover.h"
#include "mailboxd/ews/Operations.h"

namespace {

void Require(bool ok) {
  if (!ok) std::abort();
}

std::string Answer(std::string body, const mailbox::Context& context) {
  try {
    return mailbox::Answer(body, context);
  } catch (const mailbox::SoapFault& fault) {
    return mailbox::WriteFault(fault);
  }
}

std::string InEnvelope(const std::string& operation) {
  return "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\""
         " xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\""
         " xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"><s:Body>" +
         operation + "</s:Body></s:Envelope>";
}

// An item of each class, so that the ids in the seeds are those of something.
void Fill(const mailbox::Context& context) {
  constexpr const char* kItems[][2] = {{"inbox", "Message"},
                                       {"calendar", "CalendarItem"},
                                       {"contacts", "Contact"},
                                       {"contacts", "DistributionList"},
                                       {"tasks", "Task"}};
  for (const auto& [folder, element] : kItems) {
    const std::string answer =
        Answer(InEnvelope("<m:CreateItem MessageDisposition=\"SaveOnly\""
                          " SendMeetingInvitations=\"SendToNone\"><m:SavedItemFolderId>"
                          "<t:DistinguishedFolderId Id=\"" +
                          std::string(folder) + "\"/></m:SavedItemFolderId><m:Items><t:" + element +
                          "/></m:Items></m:CreateItem>"),
               context);
    Require(answer.find("NoError") != std::string::npos);
  }
}

// What CreateItem has taken, GetItem gives.
void RequireShown(const std::string& answer, const mailbox::Context& context) {
  constexpr std::string_view kId = "<t:ItemId Id=\"";
  if (answer.find("<m:CreateItemResponse ") == std::string::npos) return;
  const size_t at = answer.find(kId);
  if (at == std::string::npos) return;
  const size_t begin = at + kId.size();
  const std::string id = answer.substr(begin, answer.find('"', begin) - begin);
  const std::string shown =
      Answer(InEnvelope("<m:GetItem><m:ItemShape><t:BaseShape>AllProperties</t:BaseShape>"
                        "</m:ItemShape><m:ItemIds><t:ItemId Id=\"" +
                        id + "\"/></m:ItemIds></m:GetItem>"),
             context);
  pugi::xml_document document;
  Require(static_cast<bool>(document.load_buffer(shown.data(), shown.size())));
  Require(shown.find(">NoError<") != std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  static mailbox::Store store(":memory:");
  static mailbox::Faults faults;
  const mailbox::Context context{store, faults, "user@example.com", 1 << 20};
  static const bool kFilled = (Fill(context), true);
  Require(kFilled);
  std::string answer = Answer(std::string(reinterpret_cast<const char*>(data), size), context);
  pugi::xml_document document;
  Require(static_cast<bool>(document.load_buffer(answer.data(), answer.size())));
  Require(answer.find("ResponseCode") != std::string::npos);
  RequireShown(answer, context);

  std::string discover(reinterpret_cast<const char*>(data), size);
  answer = mailbox::AnswerAutodiscover(discover, "https://127.0.0.1/EWS/Exchange.asmx");
  Require(static_cast<bool>(document.load_buffer(answer.data(), answer.size())));
  return 0;
}

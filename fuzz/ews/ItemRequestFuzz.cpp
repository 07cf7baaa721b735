#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include <pugixml.hpp>

#include "ews/Appointment.h"
#include "ews/Contact.h"
#include "ews/ExchangeService.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/SoapWriter.h"
#include "platform/Unicode.h"

// Any text may stand in an item, and any number in its series. Either the text holds a character
// that XML forbids, and nothing is sent; or what is sent is well-formed, and a parser at the other
// end reads the text as it was, in an element and in an attribute.

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

// Keeps the request, and says that it was carried out.
class KeepingTransport : public ews::EwsTransport {
 public:
  std::string sent;

 private:
  ews::HttpResponse DoSend(const ews::HttpRequest& request) override {
    sent.resize(request.pBody->Length());
    Require(request.pBody->Read(sent) == sent.size());
    return {
        200,
        {},
        "<e:Envelope xmlns:e='e'><e:Body><r><ResponseMessages><m ResponseClass='Success'><Items>"
        "<i><ItemId Id='I'/></i></Items></m></ResponseMessages></r></e:Body></e:Envelope>"};
  }
};

// The date that four bytes make, invalid ones among them.
COleDateTime DateOf(std::span<const std::uint8_t, 4> bytes) {
  return {1500 + bytes[0] * 40, bytes[1] % 14, bytes[2] % 33, bytes[3] % 25, 0, 0};
}

ews::Recurrence SeriesOf(std::span<const std::uint8_t, 8> bytes, const COleDateTime& start) {
  const int interval = static_cast<std::int8_t>(bytes[1]);
  const auto day = static_cast<ews::DayOfTheWeek>(bytes[2] % 7);
  switch (bytes[0] % 5) {
    case 0:
      return ews::Recurrence::DailyPattern(start, interval);
    case 1:
      return ews::Recurrence::WeeklyPattern(start, interval, day);
    case 2:
      return ews::Recurrence::MonthlyPattern(start, interval, bytes[3]);
    case 3:
      return ews::Recurrence::RelativeMonthlyPattern(
          start, interval, day, static_cast<ews::DayOfTheWeekIndex>(bytes[3] % 5));
    default:
      return ews::Recurrence::YearlyPattern(start, static_cast<ews::Month>(bytes[4] % 15),
                                            bytes[3]);
  }
}

// Dates and numbers that are refused cost that property alone.
void SetDates(ews::Appointment& appointment, std::span<const std::uint8_t, 16> bytes) {
  try {
    const COleDateTime start = DateOf(bytes.subspan<0, 4>());
    appointment.SetStart(start);
    appointment.SetRecurrence(SeriesOf(bytes.subspan<8, 8>(), start));
    appointment.Recurrence().SetNumberOfOccurrences(static_cast<std::int8_t>(bytes[15]));
    appointment.Recurrence().SetEndDate(DateOf(bytes.subspan<4, 4>()));
  } catch (const ews::ServiceException&) {
  }
}

// The only item of the request, parsed.
pugi::xml_node ItemIn(pugi::xml_document& document, const std::string& sent) {
  Require(
      document.load_buffer(sent.data(), sent.size(), pugi::parse_default | pugi::parse_ws_pcdata));
  return document.child("soap:Envelope")
      .child("soap:Body")
      .child("m:CreateItem")
      .child("m:Items")
      .first_child();
}

template <typename Check>
void SaveAndCheck(KeepingTransport& transport, ews::Item& item, bool allowed, Check check) {
  try {
    item.Save(ews::WellKnownFolderName::Inbox);
  } catch (const ews::ServiceException&) {
    Require(!allowed && transport.sent.empty());
    return;
  }
  Require(allowed);
  pugi::xml_document document;
  check(ItemIn(document, transport.sent));
  transport.sent.clear();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  constexpr size_t kNumbers = 16;
  if (size < kNumbers) return 0;
  std::u16string text((size - kNumbers) / 2, u'\0');
  if (!text.empty()) std::memcpy(text.data(), data + kNumbers, text.size() * 2);
  const bool allowed = ews::IsXmlText(text);
  const std::string expected = platform::Utf16ToUtf8(text);

  KeepingTransport transport;
  const ews::ScopedTransport scope(transport);
  const auto service =
      std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
  service->SetUrl(u"https://mail.example.com/");

  ews::Appointment appointment(service);
  SetDates(appointment, std::span<const std::uint8_t, kNumbers>(data, kNumbers));
  appointment.SetLocation(text);
  appointment.RequiredAttendees().Add(text);
  SaveAndCheck(transport, appointment, allowed, [&](pugi::xml_node item) {
    Require(item.child("t:Location").child_value() == expected);
  });

  ews::Contact contact(service);
  contact.EmailAddresses()[ews::EmailAddressKey::EmailAddress1] = ews::EmailAddress(text, text);
  SaveAndCheck(transport, contact, allowed, [&](pugi::xml_node item) {
    const pugi::xml_node entry = item.child("t:EmailAddresses").child("t:Entry");
    Require(entry.attribute("Name").value() == expected && entry.child_value() == expected);
  });
  return 0;
}

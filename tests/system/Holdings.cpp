#include "tests/system/Holdings.h"

#include <fmt/format.h>

namespace system_test {

using test_support::TemporaryFolder;

std::string HoldingOf(const StoredItem& item) {
  std::string all =
      fmt::format("{}|{}|{}|{}|{}|{}|{}|{}", item.mailbox, item.folder, item.info.element,
                  item.info.subject, item.info.body, item.info.starts, item.info.ends, item.mime);
  for (const auto& property : item.info.properties) {
    for (const std::string& value : property.values) all += "|" + property.key + "=" + value;
  }
  for (const auto& field : item.info.fields) all += "|" + field.xml;
  for (const auto& [name, bytes] : item.attachments) all += "|" + name + ":" + bytes;
  return all;
}

Holdings HoldingsOf(const std::string& dataFolder) {
  Holdings holdings;
  for (const StoredItem& item : ItemsOf(dataFolder)) ++holdings[HoldingOf(item)];
  return holdings;
}

void WriteOthers(const TemporaryFolder& folder, int ofEach) {
  std::string cards;
  std::string groups;
  std::string events;
  std::string series;
  for (int i = 0; i < ofEach; ++i) {
    const int hour = 10 + i % 10;
    cards += fmt::format(
        "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:p{0}\r\nFN:Person {0}\r\n"
        "EMAIL:p{0}@x.example\r\nEND:VCARD\r\n",
        i);
    groups += fmt::format(
        "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:g{0}\r\nFN:Crew {0}\r\nKIND:group\r\n"
        "MEMBER:mailto:a{0}@x.example\r\nMEMBER:mailto:b{0}@x.example\r\nEND:VCARD\r\n",
        i);
    events += fmt::format(
        "BEGIN:VEVENT\r\nUID:e{0}\r\nSUMMARY:Event {0}\r\nDTSTART:20240305T{1}0000Z\r\n"
        "DTEND:20240305T{1}3000Z\r\nEND:VEVENT\r\n",
        i, hour);
    series += fmt::format(
        "BEGIN:VEVENT\r\nUID:s{0}\r\nSUMMARY:Series {0}\r\nDTSTART:20240305T{1}0000Z\r\n"
        "DTEND:20240305T{1}3000Z\r\nRRULE:FREQ=DAILY;COUNT=6\r\nEXDATE:20240307T{1}0000Z\r\n"
        "END:VEVENT\r\n"
        "BEGIN:VEVENT\r\nUID:s{0}\r\nRECURRENCE-ID:20240306T{1}0000Z\r\nSUMMARY:Changed {0}\r\n"
        "DTSTART:20240306T200000Z\r\nDTEND:20240306T210000Z\r\nEND:VEVENT\r\n",
        i, hour);
  }
  const auto calendar = [](const std::string& all) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + all + "END:VCALENDAR\r\n";
  };
  folder.Write("source/People/people.vcf", cards);
  folder.Write("source/Rota/rota.ics", calendar(series));
  folder.Write("source/Crews/crews.vcf", groups);
  folder.Write("source/Days/days.ics", calendar(events));
}

Holdings ExpectedOthers(int ofEach) {
  const TemporaryFolder folder;
  WriteOthers(folder, ofEach);
  {
    const Mailbox mailbox(folder.Path(), {});
    const auto arguments = ServerArguments(folder, std::stoi(mailbox.Port()));
    SummaryOf(RunProgram("tarny", arguments, folder.Path()));
  }
  Holdings holdings = HoldingsOf(folder.File("mailbox"));
  EXPECT_EQ(holdings.size(), 4 * static_cast<std::size_t>(ofEach)) << "not what was written";
  return holdings;
}

}  // namespace system_test

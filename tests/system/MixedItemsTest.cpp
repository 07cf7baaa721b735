#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "client/run/Outcome.h"
#include "ews/Appointment.h"
#include "ews/Contact.h"
#include "ews/ContactGroup.h"
#include "ews/CurlTransport.h"
#include "ews/EmailMessage.h"
#include "ews/ExchangeService.h"
#include "ews/Task.h"
#include "platform/Paths.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Holdings.h"
#include "tests/system/Programs.h"

// Items of every class on their way into a mailbox that fails in every way it knows, and dies: each
// is there once and whole.
namespace system_test {
namespace {

using test_support::TemporaryFolder;
using Service = std::shared_ptr<ews::ExchangeService>;

constexpr char kOwner[] = "ann@example.com";
constexpr int kMostTries = 50;  // of one request; a fault that never ends is a defect

// In the order in which they are given out, so that each meets items of every class in time.
constexpr std::array kFaults = {
    "drop-before:1",
    "drop-in:1",
    "drop:1",
    "drop-saved:1",
    "broken:1",
    "busy:1:20",
    "429:1",
    "503:2:1",
    "500:1",
    "502:1",
    "504:1",
    "401:1",
    "expired:1",
    "soap:ErrorServerBusy:1",
    "soap:ErrorTimeoutExpired:1",
    "ErrorMailboxStoreUnavailable:1",
    "ErrorInternalServerError:1",
    "ErrorQuotaExceeded:2",
    "drop-saved:1\nbroken:1\n503:1",
    "latency:1\ndrop:2",
    "hold:1\ndrop-saved:2",
};

// A network whose waits end soon: what is waited for is on this machine.
class QuickTransport : public ews::CurlTransport {
 public:
  void Wait(std::chrono::milliseconds time) override {
    std::this_thread::sleep_for(std::min(time, std::chrono::milliseconds(3)));
  }
};

// Fills items of all classes; the files that some carry lie in a folder of its own.
class Maker {
 public:
  struct Kind {
    ews::WellKnownFolderName folder;
    std::unique_ptr<ews::Item> (Maker::*make)(const Service&, int) const;
  };
  static const Kind& KindOf(int number);

  std::unique_ptr<ews::Item> Make(const Service& service, int number) const {
    auto item = (this->*KindOf(number).make)(service, number);
    item->SetExtendedProperty(ews::ItemKeyProperty(), Key(number));
    return item;
  }
  static CString Key(int number) { return Text(fmt::format("key {} of <this> & that", number)); }

 private:
  static CString Text(const std::string& text) { return CString::FromUtf8(text); }
  static COleDateTime Day(int number, int hour) {
    return {2024, 1 + number % 12, 1 + number % 28, hour, 0, 0};
  }

  std::unique_ptr<ews::Item> Mime(const Service& service, int number) const {
    auto mail = std::make_unique<ews::EmailMessage>(service);
    const std::string text =
        fmt::format("Subject: mail {}\r\nMessage-ID: <{}@example.com>\r\n\r\n", number, number) +
        std::string(static_cast<size_t>(number) % 40 * 1000, 'x');
    auto bytes = std::make_unique<unsigned char[]>(text.size());
    std::copy(text.begin(), text.end(), bytes.get());
    mail->SetMimeContent({u"UTF-8", std::move(bytes), text.size()});
    return mail;
  }
  std::unique_ptr<ews::Item> Mail(const Service& service, int number) const {
    auto mail = std::make_unique<ews::EmailMessage>(service);
    mail->SetBody(ews::MessageBody(Text(fmt::format("<p>body {}</p>", number))));
    mail->ToRecipients().Add(u"Bob <bob@example.com>");
    mail->Attachments().AddFileAttachment(m_file);
    return mail;
  }
  std::unique_ptr<ews::Item> Single(const Service& service, int number) const {
    auto appointment = std::make_unique<ews::Appointment>(service);
    appointment->SetLocation(Text(fmt::format("Room {}", number)));
    appointment->SetStart(Day(number, 9));
    appointment->SetEnd(Day(number, 10));
    return appointment;
  }
  std::unique_ptr<ews::Item> Series(const Service& service, int number) const {
    auto appointment = std::make_unique<ews::Appointment>(service);
    appointment->SetStart(Day(number, 14));
    appointment->SetEnd(Day(number, 15));
    ews::Recurrence series =
        number % 2 == 0
            ? ews::Recurrence::WeeklyPattern(Day(number, 0), 2, ews::DayOfTheWeek::Monday)
            : ews::Recurrence::MonthlyPattern(Day(number, 0), 1, 1 + number % 28);
    if (number % 3 == 0) series.SetNumberOfOccurrences(5);
    appointment->SetRecurrence(series);
    appointment->RequiredAttendees().Add(u"bob@example.com");
    appointment->Attachments().AddFileAttachment(m_file);
    return appointment;
  }
  std::unique_ptr<ews::Item> Task(const Service& service, int number) const {
    auto task = std::make_unique<ews::Task>(service);
    task->SetStartDate(Day(number, 0));
    task->SetDueDate(Day(number + 1, 0));
    task->SetBody({ews::BodyType::Text, Text(fmt::format("do {}", number))});
    task->SetCategories(std::vector<CString>{u"Work"});
    return task;
  }
  std::unique_ptr<ews::Item> Contact(const Service& service, int number) const {
    auto contact = std::make_unique<ews::Contact>(service);
    contact->SetDisplayName(Text(fmt::format("Zo\u00EB {}", number)));
    contact->EmailAddresses()[ews::EmailAddressKey::EmailAddress1] =
        ews::EmailAddress(Text(fmt::format("zoe{}@example.com", number)));
    contact->PhoneNumbers()[ews::PhoneNumberKey::HomePhone] = u"+1 555 0100";
    contact->Attachments().AddFileAttachment(u"ContactPhoto.jpg", m_file);
    return contact;
  }
  std::unique_ptr<ews::Item> Group(const Service& service, int number) const {
    auto group = std::make_unique<ews::ContactGroup>(service);
    group->SetDisplayName(Text(fmt::format("Crew {}", number)));
    for (int i = 0; i <= number % 5; ++i) {
      group->Members().Add(ews::GroupMember(Text(fmt::format("member{}@example.com", i))));
    }
    return group;
  }

  TemporaryFolder m_folder;
  CString m_file = platform::ToWindowsPath(m_folder.Write("file.bin", std::string(5000, '\x01')));
};

const Maker::Kind& Maker::KindOf(int number) {
  using enum ews::WellKnownFolderName;
  static constexpr std::array kKinds = {
      Kind{Inbox, &Maker::Mime},      Kind{Inbox, &Maker::Mail}, Kind{Calendar, &Maker::Single},
      Kind{Calendar, &Maker::Series}, Kind{Tasks, &Maker::Task}, Kind{Contacts, &Maker::Contact},
      Kind{Contacts, &Maker::Group},
  };
  return kKinds[static_cast<size_t>(number) % kKinds.size()];
}

// Brings items into the mailbox at that address, as one who trusts no failure: where a request's
// outcome is open, the mailbox is asked by the item's key.
class Sender {
 public:
  explicit Sender(const std::string& url) {
    ews::Settings().bSafe = true;
    ews::Settings().nPatience = std::chrono::seconds(60);
    m_service->SetUrl(CString::FromUtf8(url + "/EWS/Exchange.asmx"));
    m_service->SetCredentials(ews::OAuthCredentials(u"token"));
    m_service->SetNewLogon([] { return ews::Credentials(ews::OAuthCredentials(u"new token")); });
    m_service->SetImpersonatedUserId(
        {ews::ConnectingIdType::SmtpAddress, CString::FromUtf8(kOwner)});
  }

  // False, and a failure of the test, if it cannot be brought in.
  void Send(int number) {
    for (int i = 0; i < kMostTries; ++i) {
      const auto item = m_maker.Make(m_service, number);
      try {
        return item->Save(Maker::KindOf(number).folder);
      } catch (const ews::ServiceException& failure) {
        if (client::LeavesOutcomeOpen(failure.what()) && IsThere(number)) return;
      }
      ++again;
    }
    ADD_FAILURE() << "item " << number << " never arrives";
  }

  int again = 0;   // tries behind the first
  int found = 0;   // items that were there though their request had failed
  int absent = 0;  // or not, with that left open

 private:
  bool IsThere(int number) {
    const ews::IsEqualTo byKey(ews::ItemKeyProperty(), Maker::Key(number));
    for (int i = 0; i < kMostTries; ++i) {
      try {
        const auto answer =
            m_service->FindItems(Maker::KindOf(number).folder, &byKey, ews::ItemView(10));
        ++(answer.arrItems.empty() ? absent : found);
        return !answer.arrItems.empty();
      } catch (const ews::ServiceException&) {
        // The question met a fault itself.
      }
    }
    ADD_FAILURE() << "the mailbox cannot be asked for item " << number;
    return true;
  }

  SettingsKeeper m_settings;
  QuickTransport m_transport;
  ews::ScopedTransport m_scope{m_transport};
  Maker m_maker;
  Service m_service =
      std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
};

// What a mailbox without a fault holds of the same items.
Holdings Expected(int count) {
  const TemporaryFolder folder;
  {
    const Mailbox mailbox(folder.Path(), {});
    Sender sender(mailbox.Url());
    for (int i = 0; i < count; ++i) sender.Send(i);
    EXPECT_EQ(sender.again, 0);
  }
  return HoldingsOf(folder.File("mailbox"));
}

void ExpectWhole(const TemporaryFolder& folder, int count) {
  const auto holdings = HoldingsOf(folder.File("mailbox"));
  const auto expected = Expected(count);
  EXPECT_EQ(expected.size(), static_cast<size_t>(count));
  for (const auto& [item, times] : expected) {
    const auto stored = holdings.find(item);
    EXPECT_EQ(stored == holdings.end() ? 0 : stored->second, times) << item.substr(0, 300);
  }
  EXPECT_EQ(holdings.size(), expected.size());
}

void MigrateThroughFaults(int count) {
  const TemporaryFolder folder;
  constexpr int kEvery = 3;  // so many items with one order of faults
  {
    const Mailbox mailbox(folder.Path(), {"--fault", "drop:1", "--fault", "drop-saved:1"});
    Sender sender(mailbox.Url());
    const std::string orders = mailbox.Url() + "/faults";
    for (int i = 0; i < count; ++i) {
      if (i % kEvery == kEvery - 1) {
        const size_t order = static_cast<size_t>(i / kEvery) % kFaults.size();
        ASSERT_EQ(mailbox_test::Send({.url = orders, .method = "DELETE"}).status, 204);
        ASSERT_EQ(mailbox_test::Send({orders, kFaults[order]}).status, 204);
      }
      sender.Send(i);
    }
    EXPECT_GT(sender.again, count / 10);
    EXPECT_GT(sender.found, count / 40);
    EXPECT_GT(sender.absent, count / 40);
  }
  ExpectWhole(folder, count);
}

TEST(MixedItems, ArriveOnceAndWholeThroughEveryFault) { MigrateThroughFaults(105); }

TEST(SoakMixedItems, TwoThousandArriveOnceAndWholeThroughEveryFault) { MigrateThroughFaults(2000); }

// A server that is killed again and again while items come in, and started at once on its port.
void MigrateThroughDeaths(int count, int deaths) {
  const TemporaryFolder folder;
  {
    std::optional<Mailbox> mailbox(std::in_place, folder.Path(), std::vector<std::string>{});
    const std::string port = mailbox->Port();
    Sender sender(mailbox->Url());
    std::atomic<int> sent = 0;
    std::thread killer([&] {
      std::mt19937 random(5);
      for (int i = 1; i <= deaths; ++i) {
        while (sent < count * i / (deaths + 2)) std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
        mailbox->Kill();
        mailbox.reset();
        mailbox.emplace(folder.Path(), std::vector<std::string>{"--port", port});
      }
    });
    for (; sent < count; ++sent) sender.Send(sent);
    killer.join();
  }
  ExpectWhole(folder, count);
}

TEST(MixedItems, OutliveAServerThatIsKilledWhileTheyAreSaved) { MigrateThroughDeaths(140, 10); }

TEST(SoakMixedItems, TwoThousandOutliveAHundredDeathsOfTheirServer) {
  MigrateThroughDeaths(2000, 100);
}

}  // namespace
}  // namespace system_test

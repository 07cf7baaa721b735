#include "ews/SoapReader.h"

#include <gmock/gmock.h>

#include "ews/XmlNames.h"
#include "tests/ews/Answers.h"
#include "tests/support/MemoryRise.h"
#include "tests/support/SchemaValidator.h"
#include "tests/support/Texts.h"

namespace {

using test_support::Repeated;
using test_support::SchemaValidator;

std::optional<ews::SoapResponse> Read(const std::string& sample) {
  return ews::ReadSoapResponse(SchemaValidator::Sample(sample + ".response.xml"));
}

class SoapSamples : public testing::Test {
 protected:
  void SetUp() override {
    if (!SchemaValidator::Available()) GTEST_SKIP() << "no samples here";
  }
};

TEST_F(SoapSamples, FoldersOfAllKindsAreReadInOrder) {
  const auto response = Read("77-findfolder-all-kinds-more-pages");
  ASSERT_TRUE(response && response->arrMessages.size() == 1);
  const auto& message = response->arrMessages.front();
  EXPECT_EQ(message.nTotalItemsInView, 12);
  ASSERT_EQ(message.arrFolders.size(), 4u);
  EXPECT_EQ(message.arrFolders[0].strElement, "CalendarFolder");
  EXPECT_EQ(message.arrFolders[2].strId, "AAMkFolder3=");
  EXPECT_EQ(message.arrFolders[3].strDisplayName, "Tasks");
  EXPECT_TRUE(Read("76-findfolder-none")->arrMessages.front().arrFolders.empty());
}

TEST_F(SoapSamples, ItemsAndTheirAttachmentsAreRead) {
  const auto bound = Read("16-getitem-bind");
  const auto& item = bound->arrMessages.front().arrItems.front();
  EXPECT_EQ(item.strId, "AAMkItemBound=");
  EXPECT_EQ(item.objFrom.strAddress, "ann@example.com");
  EXPECT_EQ(item.bRead, true);
  EXPECT_FALSE(item.bAttachments);
  const auto more = Read("19-createitem-more-attachments-than-sent");
  EXPECT_EQ(more->arrMessages.front().arrItems.front().arrAttachmentIds.size(), 2u);
  const auto apart = Read("15-createattachment");
  EXPECT_EQ(apart->arrMessages.size(), 2u);
}

TEST_F(SoapSamples, FailuresKeepTheServersWords) {
  const auto busy = Read("80-fault-ErrorServerBusy");
  ASSERT_TRUE(busy && busy->objFault);
  EXPECT_EQ(busy->objFault->strCode, "ErrorServerBusy");
  EXPECT_EQ(busy->objFault->nBackOff, std::chrono::milliseconds(297749));
  const auto schema = Read("81-fault-ErrorSchemaValidation-attribute");
  EXPECT_EQ(schema->objFault->strText,
            "The request failed schema validation: The required attribute 'Value' is missing.");
  const auto size = Read("90-error-createitem-ErrorMessageSizeExceeded");
  const auto& message = size->arrMessages.front();
  EXPECT_TRUE(message.bError);
  EXPECT_EQ(message.strCode, "ErrorMessageSizeExceeded");
  EXPECT_THAT(message.strText,
              testing::HasSubstr("The message exceeds the maximum supported size"));
}

TEST(SoapReader, WhatIsNoEnvelopeIsNothing) {
  for (const char* text : {"", "x", "<html><body>Sign in</body></html>", "<Envelope/>",
                           "<Envelope><Body>", "<Envelope><Header/></Envelope>", "\xFF\xFE"}) {
    EXPECT_FALSE(ews::ReadSoapResponse(text)) << text;
  }
  EXPECT_FALSE(ews::ReadSoapResponse(std::string(1 << 20, '<')));
}

TEST(SoapReader, EveryPrefixOfAnAnswerIsReadOrRefused) {
  const std::string whole = answers::Item("I=", "<t:Attachments/>");
  for (size_t n = 0; n < whole.size(); ++n) {
    EXPECT_FALSE(ews::ReadSoapResponse(std::string_view(whole).substr(0, n)));
  }
  EXPECT_TRUE(ews::ReadSoapResponse(whole)->arrMessages.front().arrItems.front().bAttachments);
}

TEST(SoapReader, DeepNestingCostsNothing) {
  const std::string deep = Repeated(100000, "<a>") + Repeated(100000, "</a>");
  const auto response = ews::ReadSoapResponse(answers::Success("CreateItem", deep));
  ASSERT_TRUE(response);
  EXPECT_TRUE(response->arrMessages.front().arrItems.empty());
}

std::string_view WhyNot(const std::string& xml) {
  std::string_view why;
  EXPECT_FALSE(ews::ReadSoapResponse(xml, &why));
  return why;
}

TEST(SoapReader, AnAnswerThatIsNotToBeTrustedIsRefusedWithAReason) {
  const std::string good = answers::Item("I=");
  EXPECT_EQ(WhyNot("<!DOCTYPE x [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]>" + good),
            "defines a document type, which none may");
  EXPECT_EQ(WhyNot("<!DOCTYPE html><html/>"), "is no answer of a mailbox service");
  const std::string foreign = answers::Error("FindFolder", "ErrorX",
                                             "Zugriff \xFC"
                                             "berschritten");
  EXPECT_EQ(WhyNot("<?xml version=\"1.0\" encoding=\"windows-1252\"?>" + foreign),
            "is in a charset that is not known here");
  const auto named = ews::ReadSoapResponse("<?xml version=\"1.0\" encoding=\"Shift_JIS\"?>" + good);
  ASSERT_TRUE(named);  // it needs no more than ASCII
  const auto latin =
      ews::ReadSoapResponse("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + foreign);
  EXPECT_EQ(latin->arrMessages.front().strText,
            "Zugriff \xC3\xBC"
            "berschritten");
}

// Each "<a/>" of an answer would take sixteen times its size, as an item a hundred times more.
TEST(SoapReader, AnAnswerThatIsAllMarkupIsRefusedOrTakesLittle) {
  using answers::Success;
  using ews::kMostTags;
  const auto items = [](std::string_view item, size_t n) {
    return Success("FindItem",
                   "<m:RootFolder><t:Items>" + Repeated(n, item) + "</t:Items></m:RootFolder>");
  };
  const size_t full = ews::kMostRecords - 1;  // besides the response message
  const struct {
    std::string xml;
    bool isRead;
  } rows[] = {
      {Success("CreateItem", Repeated(kMostTags - 20, "<a/>")), true},
      {Success("CreateItem", Repeated(kMostTags, "<a/>")), false},
      {Success("CreateItem", "<a" + Repeated(ews::kMostAttributes - 20, " b=''") + "/>"), true},
      {Success("CreateItem", "<a" + Repeated(ews::kMostAttributes, " b=''") + "/>"), false},
      {items("<a><ItemId Id='i'/></a>", full), true},
      {items("<a><ItemId Id='i'/></a>", full + 1), false},
      {items("<a/>", kMostTags - 20), false},
      {Success("FindFolder", "<m:Folders>" + Repeated(kMostTags - 20, "<a/>") + "</m:Folders>"),
       false},
      {answers::Envelope("<x><ResponseMessages>" + Repeated(kMostTags - 20, "<a/>") +
                         "</ResponseMessages></x>"),
       false},
      {answers::Item("I",
                     "<t:Categories>" + Repeated(kMostTags - 20, "<String/>") + "</t:Categories>"),
       true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.xml.substr(180, 200));
    std::string_view why;
    const long rise = test_support::MemoryRise(
        [&] { EXPECT_EQ(ews::ReadSoapResponse(row.xml, &why).has_value(), row.isRead); });
    EXPECT_EQ(why, row.isRead ? "" : "has more parts than are read");
    EXPECT_LT(rise, 64);
  }
}

TEST(SoapReader, AnAbsurdBackOffIsCut) {
  const auto read = [](const std::string& time) {
    return ews::ReadSoapResponse(answers::Busy(time))->objFault->nBackOff;
  };
  EXPECT_EQ(read("999999999999999"), ews::kMaxBackOff);
  EXPECT_FALSE(read("-1"));
  EXPECT_FALSE(read("99999999999999999999999"));
}

// Where a fault lacks its text or its code, another element has it.
TEST(SoapReader, AFaultWithoutATextTellsItsCode) {
  const auto response = ews::ReadSoapResponse(
      answers::Envelope("<s:Fault><faultcode>a:ErrorServerBusy</faultcode></s:Fault>"));
  EXPECT_EQ(response->objFault->strText, "ErrorServerBusy");
}

}  // namespace

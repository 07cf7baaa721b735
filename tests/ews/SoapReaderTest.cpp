#include "ews/SoapReader.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/ews/Answers.h"

namespace {

std::string Sample(const std::string& name) {
  const std::string path = std::string(TARNY_SOURCE) + "/../shared/ews/samples/" + name;
  std::ifstream stream(path, std::ios::binary);
  std::stringstream text;
  text << stream.rdbuf();
  return text.str();
}

class SoapSamples : public testing::Test {
 protected:
  void SetUp() override {
    if (Sample("16-getitem-bind.response.xml").empty()) GTEST_SKIP() << "no samples here";
  }
};

TEST_F(SoapSamples, FoldersOfAllKindsAreReadInOrder) {
  const auto response =
      ews::ReadSoapResponse(Sample("77-findfolder-all-kinds-more-pages.response.xml"));
  ASSERT_TRUE(response && response->arrMessages.size() == 1);
  const auto& message = response->arrMessages.front();
  EXPECT_EQ(message.nTotalItemsInView, 12);
  ASSERT_EQ(message.arrFolders.size(), 4u);
  EXPECT_EQ(message.arrFolders[0].strElement, "CalendarFolder");
  EXPECT_EQ(message.arrFolders[2].strId, "AAMkFolder3=");
  EXPECT_EQ(message.arrFolders[3].strDisplayName, "Tasks");
  EXPECT_TRUE(ews::ReadSoapResponse(Sample("76-findfolder-none.response.xml"))
                  ->arrMessages.front()
                  .arrFolders.empty());
}

TEST_F(SoapSamples, ItemsAndTheirAttachmentsAreRead) {
  const auto bound = ews::ReadSoapResponse(Sample("16-getitem-bind.response.xml"));
  const auto& item = bound->arrMessages.front().arrItems.front();
  EXPECT_EQ(item.strId, "AAMkItemBound=");
  EXPECT_EQ(item.strFromAddress, "ann@example.com");
  EXPECT_EQ(item.bRead, true);
  EXPECT_FALSE(item.bAttachments);
  const auto more =
      ews::ReadSoapResponse(Sample("19-createitem-more-attachments-than-sent.response.xml"));
  EXPECT_EQ(more->arrMessages.front().arrItems.front().arrAttachmentIds.size(), 2u);
  const auto apart = ews::ReadSoapResponse(Sample("15-createattachment.response.xml"));
  EXPECT_EQ(apart->arrMessages.size(), 2u);
}

TEST_F(SoapSamples, FailuresKeepTheServersWords) {
  const auto busy = ews::ReadSoapResponse(Sample("80-fault-ErrorServerBusy.response.xml"));
  ASSERT_TRUE(busy && busy->objFault);
  EXPECT_EQ(busy->objFault->strCode, "ErrorServerBusy");
  EXPECT_EQ(busy->objFault->nBackOff, std::chrono::milliseconds(297749));
  const auto schema =
      ews::ReadSoapResponse(Sample("81-fault-ErrorSchemaValidation-attribute.response.xml"));
  EXPECT_EQ(schema->objFault->strText,
            "The request failed schema validation: The required attribute 'Value' is missing.");
  const auto size =
      ews::ReadSoapResponse(Sample("90-error-createitem-ErrorMessageSizeExceeded.response.xml"));
  const auto& message = size->arrMessages.front();
  EXPECT_TRUE(message.bError);
  EXPECT_EQ(message.strCode, "ErrorMessageSizeExceeded");
  EXPECT_NE(message.strText.find("The message exceeds the maximum supported size"),
            std::string::npos);
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
  std::string deep;
  for (int i = 0; i < 200000; ++i) deep += "<a>";
  std::string close;
  for (int i = 0; i < 200000; ++i) close += "</a>";
  const auto response = ews::ReadSoapResponse(answers::Success("CreateItem", deep + close));
  ASSERT_TRUE(response);
  EXPECT_TRUE(response->arrMessages.front().arrItems.empty());
}

TEST(SoapReader, AnAbsurdBackOffIsCut) {
  const auto read = [](const std::string& value) {
    return ews::ReadSoapResponse(answers::Envelope(
        "<s:Fault><faultcode>a:ErrorServerBusy</faultcode><detail><MessageXml><Value "
        "Name=\"BackOffMilliseconds\">" +
        value + "</Value></MessageXml></detail></s:Fault>"));
  };
  EXPECT_EQ(read("999999999999999")->objFault->nBackOff, ews::kMaxBackOff);
  EXPECT_FALSE(read("-1")->objFault->nBackOff);
  EXPECT_FALSE(read("99999999999999999999999")->objFault->nBackOff);
  EXPECT_EQ(read("5")->objFault->strText, "ErrorServerBusy");
}

}  // namespace

#include "tests/mailboxd/LocalMailbox.h"
#include "tests/support/WorkTime.h"

using namespace mailbox_test;

namespace {

class EwsSchema : public LocalMailbox {
 protected:
  std::string Violation(const std::string& request) {
    const std::string answer = Ask(request);
    EXPECT_EQ(Code(answer), "ErrorSchemaValidation") << answer;
    return Find(answer, "<faultstring[^>]*>([^<]*)<");
  }
};

constexpr char kTypes[] = "http://schemas.microsoft.com/exchange/services/2006/types";

TEST_F(EwsSchema, ViolationsAreNamedInTheWordsThatClientsKnow) {
  const std::string begin = "The request failed schema validation: ";
  EXPECT_EQ(Violation(FindFolder(WellKnown("inbox"),
                                 "<t:Contains><t:FieldURI FieldURI=\"folder:DisplayName\"/>"
                                 "<t:Constant/></t:Contains>")),
            begin + "The required attribute 'Value' is missing.");
  EXPECT_EQ(Violation(CreateMessage(WellKnown("inbox"),
                                    "<t:ToRecipients><t:Mailbox><t:EmailAddress/></t:Mailbox>"
                                    "</t:ToRecipients>")),
            begin + "The '" + kTypes +
                ":EmailAddress' element is invalid - The value '' is invalid according to its "
                "datatype '" +
                kTypes +
                ":NonEmptyStringType' - The actual length is less than the MinLength value.");
}

TEST_F(EwsSchema, UnknownAndMisplacedElementsAndBadValuesAreRefused) {
  for (const char* fields :
       {"<t:Colour>red</t:Colour>", "<t:IsRead>true</t:IsRead><t:Subject>late</t:Subject>",
        "<t:Subject>a</t:Subject><t:Subject>b</t:Subject>", "<t:Subject><t:b/></t:Subject>",
        "<m:Subject>other namespace</m:Subject>", "<x:Subject>no namespace</x:Subject>", "text",
        "<t:Attachments/>", "<t:From/>"}) {
    EXPECT_TRUE(Holds(Violation(CreateMessage(WellKnown("inbox"), fields)), {"The element '"}))
        << fields;
  }
  for (const char* fields :
       {"<t:Importance>Urgent</t:Importance>", "<t:IsRead>yes</t:IsRead>",
        "<t:Body BodyType=\"RTF\">x</t:Body>", "<t:Body>x</t:Body>",
        "<t:Subject Colour=\"red\">x</t:Subject>",
        "<t:DateTimeSent>2023-02-29T10:00:00Z</t:DateTimeSent>", "<t:Subject>&#1;</t:Subject>",
        "<t:Subject>\xFF</t:Subject>",
        "<t:ExtendedProperty><t:ExtendedFieldURI PropertyTag=\"65536\" PropertyType=\"String\"/>"
        "<t:Value/></t:ExtendedProperty>",
        "<t:ExtendedProperty><t:ExtendedFieldURI PropertySetId=\"{00062008}\" PropertyId=\"1\" "
        "PropertyType=\"String\"/><t:Value/></t:ExtendedProperty>"}) {
    Violation(CreateMessage(WellKnown("inbox"), fields));
  }
}

TEST_F(EwsSchema, WhatIsNoSoapIsRefused) {
  for (const char* body : {"", " ", "<", "<a>", "<a></b>", "<a/>", "\xFF\xFE", "{}",
                           "<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>"}) {
    Violation(body);
  }
  Violation(Envelope(""));
  Violation(Envelope("<m:SendItem/>"));
}

TEST_F(EwsSchema, EveryPrefixOfARequestIsRefusedWithAFault) {
  const std::string request = CreateMessage(WellKnown("inbox"), MimeField("Subject: x\r\n\r\n"));
  for (size_t size = 0; size < request.size(); ++size) Violation(request.substr(0, size));
  EXPECT_EQ(Code(Ask(request)), "NoError");
}

TEST_F(EwsSchema, DeepNestingAndWideDeclarationsAreRefusedInLinearTime) {
  const auto deep = [this](size_t levels) {
    Violation(FindFolder(
        WellKnown("inbox"),
        test_support::Repeated(levels, "<t:Not>") + test_support::Repeated(levels, "</t:Not>"),
        "Deep"));
  };
  EXPECT_TRUE(test_support::GrowsLinearly(deep, 200000));
  const auto wide = [this](size_t count) {
    std::string declarations;
    for (size_t i = 0; i < count; ++i) {
      declarations += " xmlns:a" + std::to_string(i) + "=\"x\"";
    }
    const std::string ids = test_support::Repeated(count, "<t:ItemId Id=\"x\"/>");
    Violation(Envelope(
        Tag("m:GetItem", Tag("m:ItemShape", kIdOnly) + Tag("m:ItemIds", ids), declarations)));
  };
  EXPECT_TRUE(test_support::GrowsLinearly(wide, 100000));
}

TEST_F(EwsSchema, AZoneIsKnownOrComesWithItsRules) {
  const std::string rules =
      "<t:Periods><t:Period Bias=\"PT0S\" Name=\"Standard\" Id=\"s\"/></t:Periods>";
  const struct {
    std::string zone;
    const char* code;
  } rows[] = {{" Id=\"UTC\"", "NoError"},
              {" Id=\"Middle Earth Standard Time\"", "ErrorTimeZone"},
              {" Id=\"\"", "ErrorTimeZone"},
              {"", "ErrorTimeZone"}};
  for (const auto& row : rows) {
    for (const std::string& content : {std::string(), rules}) {
      const std::string header =
          Tag("t:TimeZoneContext", Tag("t:TimeZoneDefinition", content, row.zone));
      EXPECT_EQ(Code(Ask(GetFolder(WellKnown("inbox"), kIdOnly, header))),
                content.empty() ? row.code : "NoError")
          << header;
    }
  }
}

TEST_F(EwsSchema, PrefixesAreTheClientsOwn) {
  EXPECT_EQ(Code(Ask("<Envelope xmlns=\"http://schemas.xmlsoap.org/soap/envelope/\"><Body>"
                     "<GetFolder "
                     "xmlns=\"http://schemas.microsoft.com/exchange/services/2006/messages\" "
                     "xmlns:q=\"http://schemas.microsoft.com/exchange/services/2006/types\">"
                     "<FolderShape><q:BaseShape>IdOnly</q:BaseShape></FolderShape><FolderIds>"
                     "<q:DistinguishedFolderId Id=\"inbox\"/></FolderIds></GetFolder></Body>"
                     "</Envelope>")),
            "NoError");
}

}  // namespace

#include "pipeline/ItemProps.h"

#include <filesystem>
#include <string>

#include "target/CTarnyOutlookHandler.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/pipeline/TempRunFolder.h"

namespace {

using testing::HasSubstr;
using testing::Not;

ItemProps Parse(std::string_view json, size_t notes = 0) {
  std::vector<CString> told;
  ItemProps props = ParseItemProps(json, told);
  EXPECT_EQ(told.size(), notes) << json;
  return props;
}

// A mail that is saved with the properties, as it goes out.
class ItemPropsOfAMail : public ScriptedService {
 protected:
  std::string Saved(std::string_view json) {
    ews::EmailMessage mail(m_service);
    ApplyItemProps(Parse(json), mail);
    m_transport.Push(answers::Item("I="));
    mail.Save(ews::WellKnownFolderName::Inbox);
    return LastBody();
  }
};

std::string Tag(int tag, const std::string& type, const std::string& value) {
  return "PropertyTag=\"" + std::to_string(tag) + "\" PropertyType=\"" + type + "\"/><t:Value>" +
         value + "<";
}

TEST_F(ItemPropsOfAMail, EachMemberSetsItsProperty) {
  const std::string body = Saved(
      R"({"key": "<1@x>", "received": "2019-03-05T09:00:01Z", "sent": "1601-01-01T00:00:00Z",
          "flags": ["flagged", "draft"], "categories": ["Red", "\u00dc"], "later": 1})");
  EXPECT_THAT(body,
              HasSubstr("<t:ExtendedFieldURI DistinguishedPropertySetId=\"PublicStrings\" "
                        "PropertyName=\"TarnyKey\" PropertyType=\"String\"/><t:Value>&lt;1@x"));
  EXPECT_THAT(body, HasSubstr(Tag(0x0E06, "SystemTime", "2019-03-05T09:00:01Z")));
  EXPECT_THAT(body, HasSubstr(Tag(0x0039, "SystemTime", "1601-01-01T00:00:00Z")));
  EXPECT_THAT(body, HasSubstr(Tag(0x1090, "Integer", "2")));
  EXPECT_THAT(body, HasSubstr(Tag(0x0E07, "Integer", "9")));
  EXPECT_THAT(body, HasSubstr("<t:Categories><t:String>Red</t:String><t:String>\xC3\x9C<"));
  EXPECT_THAT(body, Not(HasSubstr(std::to_string(0x1081))));
}

TEST_F(ItemPropsOfAMail, AForwardIsWhatIsShownOfAMailThatWasAnsweredToo) {
  const struct {
    const char* flags;
    const char* verb;
    int icon;
  } rows[] = {{"\"answered\"", "102", 0x105},
              {"\"forwarded\"", "104", 0x106},
              {"\"forwarded\", \"answered\"", "104", 0x106}};
  for (const auto& row : rows) {
    const std::string body = Saved("{\"flags\": [" + std::string(row.flags) + "]}");
    EXPECT_THAT(body, HasSubstr(Tag(0x1081, "Integer", row.verb)));
    EXPECT_THAT(body, HasSubstr(Tag(0x1080, "Integer", std::to_string(row.icon))));
    const bool isBoth = std::string(row.flags).find(',') != std::string::npos;
    const auto earlier = HasSubstr("PropertyId=\"1\" PropertyType=\"Integer\"/><t:Value>102<");
    EXPECT_EQ(testing::Matches(earlier)(body), isBoth) << row.flags;
  }
}

TEST(ItemProps, AWrongValueCostsItsPropertyAlone) {
  const char* wrong[] = {R"("received": "2019-02-29T09:00:01Z")",
                         R"("received": "2019-03-05T24:00:00Z")",
                         R"("received": "2019-03-05T09:00:60Z")",
                         R"("received": "2019-03-05 09:00:01Z")",
                         R"("received": "2019-03-05T09:00:01+00:00")",
                         R"("received": "1600-12-31T23:59:59Z")",
                         R"("received": "-019-03-05T09:00:01Z")",
                         R"("received": 1551776401)",
                         R"("received": null)",
                         R"("flags": "draft")",
                         R"("categories": {"a": "b"})"};
  for (const char* member : wrong) {
    const ItemProps props = Parse(
        std::string("{\"key\": \"k\", ") + member + ", \"sent\": \"2020-02-29T00:00:00Z\"}", 1);
    EXPECT_EQ(props.strKey, u"k") << member;
    EXPECT_FALSE(props.objReceived.has_value()) << member;
    EXPECT_TRUE(props.objSent.has_value()) << member;
    EXPECT_TRUE(props.arrCategories.empty()) << member;
  }
  for (const char* key : {"\"\"", "7", "[\"k\"]", "\"a\\u0001\"", "\"a\\u0000b\"", "\"\\uFFFE\""}) {
    EXPECT_TRUE(Parse(std::string("{\"key\": ") + key + "}", 1).strKey.IsEmpty()) << key;
  }
  const ItemProps some =
      Parse(R"({"flags": ["draft", "pinned", 1], "categories": ["a", "", 2]})", 2);
  EXPECT_TRUE(some.bDraft);
  EXPECT_EQ(some.arrCategories, std::vector<CString>{u"a"});
}

TEST(ItemProps, WhatIsNoObjectGivesNone) {
  for (const char* json :
       {"", "[]", "{\"key\": \"k\"", "{\"key\": \"\xFF\"}", "{'key': 'k'}", "null"}) {
    EXPECT_TRUE(Parse(json, 1).strKey.IsEmpty()) << json;
  }
  const std::string open(kMaxItemPropsBytes / 2, '[');
  const std::string close(kMaxItemPropsBytes / 2, ']');
  EXPECT_TRUE(Parse(open, 1).strKey.IsEmpty());
  EXPECT_EQ(Parse("{\"deep\": " + open + close + ", \"key\": \"k\"}").strKey, u"k");
}

class ItemPropsFile : public Scripted {
 protected:
  // Fills a mail whose work files are there; what the trace says of the file, or "".
  std::string Fill(bool safe) {
    ews::Settings().bSafe = safe;
    folder.BeginTrace(handler.m_objLogManager);
    ST_EML_INFO info;
    EXPECT_EQ(handler.SaveEmailItem(mail, GetCurrPath(), &info), 1);
    const std::string trace = folder.Trace();
    const std::size_t at = trace.find("ItemProps.json");
    return at == std::string::npos ? "" : trace.substr(at, trace.find('\r', at) - at);
  }

  TempRunFolder folder;
  CTarnyOutlookHandler handler;
  ews::EmailMessage mail{nullptr};
};

TEST_F(ItemPropsFile, IsReadWithTheSafeSwitchAloneAndTheTraceSaysWhatIsLeftOut) {
  EXPECT_EQ(Fill(true), "ItemProps.json is not there");
  folder.WriteWork("ItemProps.json", R"({"categories": ["a"], "key": 1})");
  EXPECT_EQ(Fill(false), "");
  EXPECT_TRUE(mail.Categories().empty());
  EXPECT_EQ(Fill(true), "ItemProps.json holds a wrong value, left out: key");
  EXPECT_EQ(mail.Categories(), std::vector<CString>{u"a"});
  std::filesystem::resize_file(folder.Work("ItemProps.json"), kMaxItemPropsBytes + 1);
  EXPECT_EQ(Fill(true), "ItemProps.json is too large");
  std::filesystem::remove(folder.Work("ItemProps.json"));
  std::filesystem::create_directory(folder.Work("ItemProps.json"));
  EXPECT_EQ(Fill(true), "ItemProps.json cannot be read");
}

// The whole message sets the flags of a sent mail once more; what the file says stands.
TEST_F(ItemPropsFile, StandsAboveWhatTheDescriptorAndTheMessageSay) {
  folder.WriteWork("EmlFile.Eml", "Subject: 1\r\n\r\n");
  folder.WriteWork("11comtextjj.t", u"EMAIL\n\nCreation Date : 2001-01-01 00:00:00\n");
  folder.WriteWork("ItemProps.json", R"({"flags": ["draft"], "received": "2019-03-05T09:00:01Z"})");
  ews::Settings().bSafe = true;
  handler.m_objWebAccess.m_pService = ServiceAt();
  handler.m_objWebAccess.m_fldCurrent = ews::WellKnownFolderName::Inbox;
  m_transport.Push(answers::Item("I="));
  CString error;
  EXPECT_EQ(handler.ImportItem(GetCurrPath(), error, u"run.txt"), 1) << error.ToUtf8();
  EXPECT_THAT(LastBody(), HasSubstr(Tag(0x0E07, "Integer", "9")));
  EXPECT_THAT(LastBody(), HasSubstr(Tag(0x0E06, "SystemTime", "2019-03-05T09:00:01Z")));
  EXPECT_THAT(LastBody(), HasSubstr("<t:Value>200"));  // the descriptor's, in UTC
}

}  // namespace

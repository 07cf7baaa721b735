#include "ews/FindItems.h"

#include "ews/ExchangeService.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/SchemaValidator.h"

namespace {

using testing::HasSubstr;

class FindItems : public ScriptedService {
 protected:
  // Asks for a page behind the first `offset`, answered with those items, and holds the request
  // against the schema where that is present.
  ews::FindItemsResults Ask(const std::string& items, const ews::SearchFilter* filter = nullptr,
                            int offset = 0, const std::string& rootAttributes = "") {
    m_transport.Push(answers::FoundItems(items, rootAttributes));
    const auto found =
        m_service->FindItems(ews::FolderId(u"AAMkInbox="), filter, ews::ItemView(2, offset));
    EXPECT_EQ(test_support::SchemaValidator::Violation(LastBody()), "") << LastBody();
    return found;
  }
};

TEST_F(FindItems, KeyAndIdAreReadInWhateverFormAServerNamesThem) {
  const auto found =
      Ask("<t:Message><t:ItemId Id=\"I1\" ChangeKey=\"C\"/><t:ItemClass>IPM.Note</t:ItemClass>"
          "<t:Subject>A &amp; B</t:Subject><t:Size>4242</t:Size>"
          "<t:ExtendedProperty><t:ExtendedFieldURI PropertyTag=\"0x1035\" PropertyType=\"String\"/>"
          "<t:Value>&lt;a@x&gt;</t:Value></t:ExtendedProperty>"
          "<t:ExtendedProperty><t:ExtendedFieldURI DistinguishedPropertySetId=\"PublicStrings\" "
          "PropertyName=\"TarnyKey\" PropertyType=\"String\"/><t:Value>k 1</t:Value>"
          "</t:ExtendedProperty></t:Message>"
          "<t:Task><t:ItemId Id=\"I2\"/><t:Size>none</t:Size><t:ExtendedProperty>"
          "<t:ExtendedFieldURI PropertyTag=\"4149\" PropertyType=\"String\"/><t:Value>&lt;b@x&gt;"
          "</t:Value></t:ExtendedProperty></t:Task>");
  ASSERT_EQ(found.arrItems.size(), 2u);
  const ews::FoundItem& mail = found.arrItems[0];
  EXPECT_EQ(mail.strId, u"I1");
  EXPECT_EQ(mail.strClass, u"IPM.Note");
  EXPECT_EQ(mail.strSubject, u"A & B");
  EXPECT_EQ(mail.nSize, 4242);
  EXPECT_EQ(mail.strMessageId, u"<a@x>");
  EXPECT_EQ(mail.strKey, u"k 1");
  EXPECT_EQ(found.arrItems[1].strMessageId, u"<b@x>");
  EXPECT_EQ(found.arrItems[1].strKey, u"");
  EXPECT_EQ(found.arrItems[1].nSize, std::nullopt);
}

TEST_F(FindItems, ASearchByKeyOrIdAndAPageOfAllAreWhatTheSchemaAllows) {
  ews::SearchFilterCollection either(ews::LogicalOperator::Or);
  either.Add(ews::IsEqualTo(ews::ItemKeyProperty(), u"<a@x> \"&\""));
  either.Add(ews::IsEqualTo(ews::MessageIdProperty(), u"<a@x>"));
  Ask("", &either);
  EXPECT_THAT(LastBody(), HasSubstr("DistinguishedPropertySetId=\"PublicStrings\" "
                                    "PropertyName=\"TarnyKey\" PropertyType=\"String\""));
  EXPECT_THAT(LastBody(), HasSubstr("Value=\"&lt;a@x&gt; &quot;&amp;&quot;\""));
  Ask("", nullptr, 1000);
  EXPECT_THAT(LastBody(), HasSubstr("MaxEntriesReturned=\"2\" Offset=\"1000\""));
}

TEST_F(FindItems, TheLastPageIsKnownByTheServersWordOrByItsEmptiness) {
  const std::string item = "<t:Message><t:ItemId Id=\"I\"/></t:Message>";
  EXPECT_FALSE(Ask(item, nullptr, 0, " IncludesLastItemInRange=\"false\"").bLastPage);
  EXPECT_FALSE(Ask(item).bLastPage);
  EXPECT_TRUE(Ask(item, nullptr, 0, " IncludesLastItemInRange=\"true\"").bLastPage);
  EXPECT_TRUE(Ask("", nullptr, 0, " IncludesLastItemInRange=\"false\"").bLastPage);
}

TEST_F(FindItems, FoldersArePagedToo) {
  m_transport.Push(answers::Found({}));
  m_service->FindFolders(ews::WellKnownFolderName::MsgFolderRoot, ews::FolderView(7, 21));
  EXPECT_THAT(LastBody(), HasSubstr("MaxEntriesReturned=\"7\" Offset=\"21\""));
}

}  // namespace

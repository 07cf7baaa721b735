#include "ews/SoapWriter.h"

#include <pugixml.hpp>

#include "tests/ews/ScriptedTransport.h"

namespace {

using testing::EndsWith;
using testing::StartsWith;

std::string Written(std::u16string_view text, bool attribute) {
  ews::SoapWriter writer(ews::ExchangeVersion::Exchange2013_SP1, nullptr);
  writer.Start(ews::SoapWriter::kTypes, "Body");
  if (attribute) {
    writer.Attribute("Value", text);
  } else {
    writer.Text(text);
  }
  writer.End();
  ews::RequestBody body = writer.Finish();
  std::string all(body.Length(), '\0');
  EXPECT_EQ(body.Read(all), all.size());
  return all;
}

// What a parser at the other end makes of it.
std::string Arrived(std::u16string_view text, bool attribute) {
  const std::string xml = Written(text, attribute);
  pugi::xml_document document;
  EXPECT_TRUE(document.load_string(xml.c_str(), pugi::parse_default | pugi::parse_ws_pcdata));
  const auto node = document.child("soap:Envelope").child("soap:Body").child("t:Body");
  return attribute ? node.attribute("Value").value() : node.child_value();
}

TEST(SoapWriter, TextArrivesAsItStands) {
  const std::u16string text = u" a<b>&\"c\" ]]> 'd'\r\nnext\r\tlast\n é 日本 \U0001F600 ";
  const std::string expected = CString(text).ToUtf8();
  EXPECT_EQ(Arrived(text, false), expected);
  EXPECT_EQ(Arrived(text, true), expected);
}

TEST(SoapWriter, AForbiddenCharacterIsNamedWithItsElement) {
  for (const std::u16string& bad :
       {std::u16string(u"a\x01"), std::u16string(u"\0", 1), std::u16string(u"\xFFFE"),
        std::u16string(u"\xFFFF"), std::u16string(u"\xD800"), std::u16string(u"\xDC00x"),
        std::u16string(u"\x1F")}) {
    const std::string text = TextOf([&] { Written(bad, false); });
    EXPECT_THAT(text, AllOf(StartsWith("The invalid value '"),
                            EndsWith("' was specified for the 'Body' element.")));
    EXPECT_FALSE(ews::IsXmlText(bad));
  }
  EXPECT_TRUE(ews::IsXmlText(u"\t\r\n\x7F\xFFFD\U0010FFFF"));
}

TEST(SoapWriter, ALongBadValueIsNotRepeatedWhole) {
  const std::string text = TextOf([] { Written(std::u16string(100000, u'x') + u"\x01", false); });
  EXPECT_LT(text.size(), 1000u);
}

}  // namespace

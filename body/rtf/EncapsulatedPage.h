#pragma once

#include <string>
#include <string_view>

namespace rtf {

// A page that was wrapped in rich text: its tags come in groups of their own, its text around them.
class EncapsulatedPage {
 public:
  void PutText(char32_t ch);  // markup in it is escaped
  void PutMarkup(char32_t ch);

  // The page in ASCII, without what names another charset: META tags that do, and an XML
  // declaration. Other characters are numeric references, in style sheets and scripts their
  // escapes. Empties the object.
  std::string Finish();

 private:
  std::string m_strPage;  // UTF-8
};

}  // namespace rtf

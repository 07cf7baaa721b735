#pragma once

#include <string_view>

#include "base/ClsBase.h"
#include "base/OwnedPtr.h"
#include "base/XString.h"
#include "mime/email/Email2.h"

namespace mail {

// The working object behind CkEmail: one mail. Each operation says in m_log what it did.
class ClsEmail : public ClsBase {
 public:
  // A text up to that length that holds no "MIME-Version:" is a path for LoadEml.
  static constexpr std::size_t kMaxPathCharacters = 1000;

  ClsEmail();  // with a new mail

  bool LoadEml(XString& strPathOrMime);
  bool SetFromMimeText(XString& strMime);
  bool SaveEml(XString& strPath);
  bool HasHtmlBody();
  bool getHtmlBody(XString& strHtml);
  bool put_From(XString& strFrom);
  bool put_Subject(XString& strSubject);

  // Null only for want of memory, and after the mail was found damaged. The object stays the owner;
  // good until the next load.
  Email2* email() const { return m_pEmail.get(); }

  bool m_bSending = false;        // the mail may be read, not changed; saving it is a change
  bool m_bCharsetChosen = false;  // a text that was set decided the charset of the mail

 private:
  ~ClsEmail() override;

  bool hasMail() const { return m_pEmail != nullptr && m_pEmail->isValid(); }
  bool isWritable();  // says in the log why not
  bool setFromText(std::string_view strUtf8);
  bool setFromBytes(std::string_view strMime, bool bUtf8);
  void chooseCharset(XString& strText);
  bool writeFile(XString& strPath);

  OwnedPtr<Email2> m_pEmail;
};

}  // namespace mail

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/ExtPtrArray.h"
#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "base/OwnedPtr.h"
#include "base/Rare.h"
#include "base/StringBuffer.h"
#include "base/Validity.h"
#include "charset/CkCharset.h"
#include "mime/header/CkContentType.h"
#include "mime/header/CkEmailAddress.h"
#include "mime/header/MimeHeader.h"

namespace mail {

class MimeMessage2;

// A mail, or one node of it, as a writer of mail thinks of it: a tree of its own above that of MIME
// entities, in which bodies and attachments have their places (EmailBuilding.h makes it from a
// text, EmailBodies.h tells what is what, EmailWriter.h writes it).
//
// Texts are UTF-8, and so are bodies of text nodes, unless keepsBytes says that a body stayed as it
// came. Type, disposition, encoding and names follow the header; whoever changes header() by hand
// calls refresh.
//
// Nothing throws but std::bad_alloc, from what changes a node. An object whose validity word is
// wrong does nothing and answers false or empty.
class Email2 : public LibraryObject {
 public:
  static constexpr std::uint32_t kEmailValidityWord = 0xF592C107;

  Email2();  // a node without fields
  // A mail as somebody begins it: MIME-Version, the date of now, an empty plain text, normal
  // priority. Null for want of memory.
  static OwnedPtr<Email2> newMail(LogBase& log);

  bool isValid() const { return m_emailValidity.holds(); }

  // --- Reading. ---
  const MimeHeader& header() const { return m_header; }
  const _ckContentType& contentType() const { return m_contentType.get(); }
  const StringBuffer& type() const { return contentType().m_type; }              // lower case
  const StringBuffer& disposition() const { return m_words.get().disposition; }  // lower case
  const StringBuffer& encoding() const { return m_words.get().encoding; }
  const StringBuffer& fileName() const { return m_words.get().fileName; }  // of Content-Disposition
  const StringBuffer& name() const { return contentType().m_name; }
  const _ckEmailAddress& from() const { return m_from.get(); }   // the first one; of the root
  const _ckCharset& charset() const { return m_charset.get(); }  // of the message; page 0: none
  const DataBuffer& body() const { return m_body; }
  const DataBuffer& rawPart() const { return m_rawPart; }  // this node as it came, if it was signed
  std::size_t partCount() const { return m_parts.getSize(); }
  Email2* part(std::size_t nIndex) const { return m_parts.at(nIndex); }  // null behind the end
  bool isMultipart() const { return partCount() > 0 || type().beginsWith("multipart/"); }
  bool isText() const { return partCount() == 0 && type().beginsWith("text/"); }
  bool keepsBytes() const { return m_bKeepsBytes; }  // the body is no UTF-8: written as it came
  // Whether the bytes that came were turned into the UTF-8 of the body, whatever the type is.
  bool isConverted() const { return m_bConverted; }
  bool isUndivided() const { return m_bUndivided; }  // too deep for its parts to be told apart

  // --- Changing. ---
  // Takes fields and body out of an entity, which is left without them; its parts stay there.
  void takeEntity(MimeMessage2& objEntity, LogBase& log);
  bool addPart(OwnedPtr<Email2> pPart) { return m_parts.append(std::move(pPart)); }
  // The charset of the message: what its header is written in, and the body of a root that is text.
  void setCharset(const _ckCharset& objCharset, LogBase& log);
  // The same where the mail names it already: no field changes.
  void takeCharset(const _ckCharset& objCharset);
  // An empty text takes the field away.
  void setSubject(std::string_view strUtf8, LogBase& log);
  // One address or several; a text that holds none goes into the field as it is.
  void setFrom(std::string_view strUtf8, LogBase& log);
  // The charset that the node's body is written in. Other parameters of the type stay.
  void setBodyCharset(const _ckCharset& objCharset, LogBase& log);
  MimeHeader& header() { return m_header; }
  void refresh(LogBase& log);

 private:
  // What was read out of the header, but for its type.
  struct HeaderWords {
    StringBuffer disposition;
    StringBuffer encoding;
    StringBuffer fileName;
  };

  void refreshWords(LogBase& log);

  Validity<std::uint32_t, kEmailValidityWord> m_emailValidity;
  MimeHeader m_header;
  ExtPtrArrayOf<Email2> m_parts;
  Rare<_ckContentType> m_contentType;
  Rare<HeaderWords> m_words;
  Rare<_ckEmailAddress> m_from;
  Rare<_ckCharset> m_charset;
  DataBuffer m_body;
  DataBuffer m_rawPart;
  bool m_bKeepsBytes = false;
  bool m_bConverted = false;
  bool m_bUndivided = false;
};

}  // namespace mail

#pragma once

#include <string>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "mime/tree/MimeMessage2.h"
#include "mime/tree/PassingBytes.h"

namespace mail {

// Turns the bytes of a leaf into its body: the transfer encoding is undone, and text becomes UTF-8.
// What its charset is follows from the header, from a META element of HTML, and from the bytes,
// which often prove the header wrong. A body lies once in memory, in the entity: what it is made of
// goes as it comes.
class BodyDecoding {
 public:
  struct Options {
    bool bUtf8 = false;         // text without a transfer encoding is UTF-8 already
    bool bTextForSure = false;  // whatever the type says
    bool bDoubtsAscii = false;  // us-ascii text that is none: UTF-8 if it can be, else 1252
  };
  // strClue is where the name of the first charset met is left, for headers behind this body.
  BodyDecoding(MimeMessage2& objEntity, Options objOptions, std::string& strClue, LogBase& log);

  // False for want of memory.
  bool decode(const PassingBytes& objBytes);
  // Afterwards: the page that the text was in, 65001 for one that stayed as it was, 0 for a body
  // that is no text; and whether some of its bytes mean nothing in that page.
  int textPage() const { return m_nTextPage; }
  bool isLossy() const { return m_bLossy; }

 private:
  enum class Encoding { kNone, kBase64, kQuotedPrintable, kUuencode };

  // The decoded bytes: those of the message, or of a buffer that may be taken over.
  struct Decoded {
    PassingBytes objBytes;
    DataBuffer arrOwned;
    bool bOwned = false;

    std::string_view view() const { return objBytes.strBytes; }
  };

  void takeClue();
  void dropCharsetOfBinary();
  bool decideText(std::string_view strBytes) const;
  Encoding encodingOfEntity() const;
  bool undoEncoding(const PassingBytes& objBytes, Decoded& objDecoded);
  void takeCharsetOfHtml(std::string_view strHtml);
  bool toUtf8(Decoded& objDecoded);
  int pageOfText(std::string_view strBytes) const;
  void compareWithHeader();
  int pageOfBase64(std::string_view strBytes) const;
  int pageOfQuotedPrintable(std::string_view strBytes) const;
  int pageOfRaw(std::string_view strBytes) const;
  int latin1OrReally1252(std::string_view strBytes) const;
  int namedPage() const;
  bool mayBeRelabelled() const;
  bool convert(Decoded& objDecoded);
  bool makeDo(Decoded& objDecoded);
  bool keep(Decoded& objDecoded);
  bool fitsDeclaredCharset() const;
  void mendHeader();
  bool isXHtml() const;
  void nameAsHtml();

  MimeMessage2& m_objEntity;
  Options m_objOptions;
  std::string& m_strClue;
  LogBase& m_log;
  Encoding m_nEncoding = Encoding::kNone;
  bool m_bAttachment = false;
  bool m_bBinaryType = false;
  bool m_bDropped = false;  // the type took away the charset that the header names
  bool m_bText = false;
  int m_nPage = 0;  // working charset; 0: none
  int m_nTextPage = 0;
  bool m_bLossy = false;
  bool m_bReally1252 = false;
  bool m_bOverruled = false;  // the bytes showed another charset than the header names
};

}  // namespace mail

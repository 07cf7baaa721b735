#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/ExtPtrArray.h"
#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "base/Rare.h"
#include "base/StringBuffer.h"
#include "base/XString.h"
#include "charset/CkCharset.h"
#include "mime/header/MimeHeader.h"

namespace mail {

class BinaryAsBase64;
class BodyDecoding;
class LoadObserver;
class MimeLoader;
class MimeWriter;
class _ckContentType;

// One MIME entity; a message is a tree of them. Reading takes whatever comes and repairs what it
// can; there are no parse errors. Texts of the header and text bodies are UTF-8 here, whatever they
// were in the mail, and go back into the entity's charset when the tree is written.
//
// Some members are a cache of the header: type, charset, boundary, disposition and encoding. They
// follow it after a load and after setHeaderField; whoever changes header() by hand calls
// refreshCache. An entity with parts has no body.
//
// Nothing throws but std::bad_alloc, from what changes an entity by hand. An object whose validity
// word is wrong does nothing and answers false or empty.
class MimeMessage2 : public LibraryObject {
 public:
  static constexpr std::uint32_t kMimeValidityWord = 0xA4EE21FB;
  // Entities at that depth (the root has 0) keep their body undivided, and isUndivided says so.
  static constexpr std::size_t kMaxDepth = 1000;
  // A message without any end of its header is taken for a header up to this size.
  static constexpr std::size_t kMaxLoneHeader = 20'000'000;  // bytes

  MimeMessage2() = default;

  bool isValid() const { return m_mimeValidity.holds(); }

  // --- Reading. ---
  struct LoadOptions {
    bool bRepair = false;             // line ends may be made CR LF, in binary bodies too
    std::string_view strClue = {};    // name of the charset that raw header bytes may be in
    bool bUtf8 = false;               // the text was turned into UTF-8 already
    bool bHeaderOnly = false;         // no body, no parts: reads no further than it must
    std::uint64_t* pSteps = nullptr;  // grows by the bytes examined, for those who count
    LoadObserver* pObserver = nullptr;
  };
  // Replaces the entity by what the bytes hold. False, and an empty entity, only for a header that
  // is too large and for want of memory. The bytes are not needed afterwards.
  bool loadMimeComplete(std::string_view strBytes, const LoadOptions& objOptions, LogBase& log);
  bool loadMimeComplete(std::string_view strBytes, bool bRepair, std::string_view strClue,
                        bool bUtf8, LogBase& log) {
    return loadMimeComplete(strBytes, LoadOptions{bRepair, strClue, bUtf8}, log);
  }
  void clear();

  // --- Writing: header, blank line, body or parts. Appends. ---
  // Bodies go out in the encoding that the header names; what it does not name goes out raw.
  void getMimeBytes(DataBuffer& out, LogBase& log) const;
  // As text: binary bodies are written as base64 for the occasion.
  void getMimeText(XString& strOut, LogBase& log);
  // The decoded body in the entity's own charset, as a file of it would be: a view of the body
  // itself, or of arrRoom.
  std::string_view bodyForFile(DataBuffer& arrRoom, LogBase& log) const;

  // --- The cache of the header. ---
  const StringBuffer& contentType() const { return m_cache.get().contentType; }  // lower case, bare
  const _ckCharset& charset() const { return m_cache.get().charset; }            // page 0: none
  const StringBuffer& boundary() const { return m_cache.get().boundary; }
  const StringBuffer& disposition() const { return m_cache.get().disposition; }  // the same
  const StringBuffer& encoding() const { return m_cache.get().encoding; }        // as spelt
  bool isMultipart() const { return contentType().beginsWith("multipart"); }
  bool isAttachment() const { return disposition().equals("attachment"); }
  bool isPgpSigned() const;

  // --- What is read out of the header at each call. ---
  void getContentType(_ckContentType& objType, LogBase& log) const;
  void getName(StringBuffer& strName, LogBase& log) const;          // of Content-Type
  void getFileName(StringBuffer& strFileName, LogBase& log) const;  // of Content-Disposition

  // --- Header, body, parts. ---
  const MimeHeader& header() const { return m_header; }
  MimeHeader& header() { return m_header; }
  const DataBuffer& body() const { return m_body; }
  const DataBuffer& rawPart() const { return m_rawPart; }  // of the first part, if PGP signed
  std::size_t partCount() const { return m_parts.getSize(); }
  // Null behind the end.
  MimeMessage2* part(std::size_t nIndex) const { return m_parts.at(nIndex); }
  ExtPtrArrayOf<MimeMessage2>& parts() { return m_parts; }
  bool isDirty() const { return m_bDirty; }
  // Whether the body is typed as text and still the bytes that came.
  bool isUnconverted() const { return m_bUnconverted; }
  // Whether the bytes that came were turned into the UTF-8 of the body, whatever the type is.
  bool isConverted() const { return m_bConverted; }
  bool isUndivided() const { return m_bUndivided; }
  // Of the entity that was loaded: whether any below it stayed undivided.
  bool hasUndivided() const { return m_bHasUndivided; }

  // --- Changing. Each sets the dirty mark and keeps header and cache in step. ---
  // Trims both; an empty value deletes every field of that name.
  void setHeaderField(std::string_view strName, std::string_view strValueUtf8, LogBase& log);
  void setContentType(std::string_view strType, LogBase& log);  // keeps the parameters
  // Writes all of the type and its parameters anew.
  void setContentType(_ckContentType& objType, LogBase& log);
  void setCharset(std::string_view strName, LogBase& log);  // unknown names are written as they are
  void setBoundary(std::string_view strBoundary, LogBase& log);
  void setEncoding(std::string_view strEncoding, LogBase& log);
  void setBody(DataBuffer&& arrBody);  // UTF-8 for text
  void setBody(std::string_view strBytes);
  // Bytes that are in the entity's charset already, and go out as they are but for the encoding.
  void setBodyInCharset(DataBuffer&& arrBody);
  // Takes over the body of another entity, which has none then, in place of this one's.
  void takeBody(MimeMessage2& other);
  // Give body and raw part away; the entity is without them then.
  DataBuffer releaseBody();
  DataBuffer releaseRawPart();
  void setPreamble(bool bPreamble) { m_bPreamble = bPreamble; }
  void setDirty() { m_bDirty = true; }
  // After changes of header(): reads the cache again.
  void refreshCache(LogBase& log);

 private:
  friend class BinaryAsBase64;
  friend class BodyDecoding;
  friend class MimeLoader;
  friend class MimeWriter;

  // What was read out of the header; an entity without fields, of which a mail may have a million,
  // goes without one.
  struct HeaderCache {
    StringBuffer contentType;
    _ckCharset charset;
    StringBuffer boundary;
    StringBuffer disposition;
    StringBuffer encoding;
  };

  void dropCharset();
  void refreshContentType(LogBase& log);
  void refreshDisposition(LogBase& log);
  void refreshEncoding();

  Validity<std::uint32_t, kMimeValidityWord> m_mimeValidity;
  Rare<HeaderCache> m_cache;
  DataBuffer m_rawPart;  // this entity as it came, if it is the first part of a PGP signed one
  DataBuffer m_body;
  bool m_bDirty = false;
  MimeHeader m_header;
  bool m_bPreamble = false;
  ExtPtrArrayOf<MimeMessage2> m_parts;
  int m_nTempEncoding = 0;      // TempEncoding of MimeWriting.h, while text is written
  bool m_bUnconverted = false;  // typed as text, kept as bytes: goes out as it came
  bool m_bConverted = false;    // to UTF-8: goes back into the charset whatever the type says
  bool m_bUndivided = false;
  bool m_bHasUndivided = false;
};

}  // namespace mail

#pragma once

#include <cstdint>
#include <vector>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "mime/header/TemporaryField.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {

// What an entity's encoding was while its body is written as base64 for the sake of text.
enum TempEncoding : int { kNotTemporary = 0, kWasBinary = 1, kWasNone = 2 };

// Writes a tree of entities as bytes, appending to a buffer. The recursion goes as deep as the
// tree, which is MimeMessage2::kMaxDepth for one that was loaded; deeper entities that a program
// built are left out.
class MimeWriter {
 public:
  MimeWriter(DataBuffer& out, LogBase& log) : m_out(out), m_log(log) {}

  // False for want of memory.
  bool write(const MimeMessage2& objEntity) { return writeEntity(objEntity, 0); }

  // The body in the entity's charset, still without transfer encoding: a view of the body itself or
  // of arrRoom.
  static std::string_view bodyInCharset(const MimeMessage2& objEntity, DataBuffer& arrRoom,
                                        LogBase& log);

 private:
  bool writeEntity(const MimeMessage2& objEntity, std::size_t nDepth);
  bool writeBody(const MimeMessage2& objEntity, std::size_t nDepth);
  bool writeParts(const MimeMessage2& objEntity, std::size_t nDepth);
  bool writeLeaf(const MimeMessage2& objEntity);
  bool writeDelimiter(const MimeMessage2& objEntity, std::string_view strTail);

  DataBuffer& m_out;
  LogBase& m_log;
};

// Switches binary bodies below an entity to base64 for its life, so that the entity can be written
// as text. What the header said of the encoding is there again afterwards, to the letter.
class BinaryAsBase64 {
 public:
  BinaryAsBase64(MimeMessage2& objRoot, LogBase& log);
  ~BinaryAsBase64();
  BinaryAsBase64(const BinaryAsBase64&) = delete;
  BinaryAsBase64& operator=(const BinaryAsBase64&) = delete;

 private:
  friend class MimeMessage2;

  struct Switched {
    MimeMessage2* pEntity;
    TemporaryField objField;
  };

  std::vector<Switched> m_arrSwitched;
};

// Every entity of a tree, the root first, each in front of its children.
std::vector<MimeMessage2*> entitiesOf(MimeMessage2& objRoot);

// The code page that the bytes of a written tree are in: that of its first text body that goes out
// with 8-bit bytes as they are, and whose page holds ASCII; 0 when there is none.
int pageOfWrittenText(MimeMessage2& objRoot);

}  // namespace mail

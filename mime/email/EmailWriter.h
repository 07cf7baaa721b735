#pragma once

#include <cstdint>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "base/StringBuffer.h"
#include "mime/email/Email2.h"

namespace mail {

// Where a mail is written to, piece by piece.
class EmailOutput {
 public:
  virtual ~EmailOutput() = default;
  // False when the bytes cannot be written; nothing more is tried then.
  virtual bool write(std::string_view strBytes) = 0;
};

// Writes a mail as MIME. Bodies are converted and encoded in pieces, so that no more memory is
// taken than a piece needs, however large the mail.
class EmailWriter {
 public:
  // What the way of the mail can carry. Without 8-bit, text that asks for it is written as
  // quoted-printable.
  enum class Transport : std::uint8_t { k8bit, k7bit };

  EmailWriter(EmailOutput& objOutput, Transport nTransport, LogBase& log)
      : m_objOutput(objOutput), m_nTransport(nTransport), m_log(log) {}

  // False, with the reason in the log, when the output fails or memory does not suffice. Text that
  // its charset cannot hold, or that has none, becomes utf-8 in the mail too, and the transfer
  // encoding of alternatives is taken away; otherwise the mail is as it was.
  bool write(Email2& objRoot);

 private:
  bool writeLeaf(Email2& objNode);
  bool writeHeader(Email2& objNode);
  bool writeBody(const Email2& objNode, std::string_view strEncoding);
  bool writeDelimiter(const Email2& objNode, std::string_view strTail);
  bool writeLineEnd();
  bool put(std::string_view strBytes, std::string_view strFailure);

  EmailOutput& m_objOutput;
  const Transport m_nTransport;
  LogBase& m_log;
};

// The body of a node as a file of it would be, in its own charset: a view of the body itself, or of
// arrRoom. Like it, it is empty for a node with parts.
std::string_view bodyForFile(const Email2& objNode, DataBuffer& arrRoom, LogBase& log);

}  // namespace mail

#pragma once

#include <functional>
#include <string>
#include <string_view>

// Mailboxes of old Macs, whose lines end in CR alone. For who divides and reads them each such CR
// becomes an LF: nothing changes its place.
namespace client {

// Of a file or a mail, by the end of its first line. Others may hold an LF that a mail brought
// along.
bool EndsLinesByCr(std::string_view bytes);

// The CRs that stand before no LF.
void MakeLfOfCr(std::string& bytes);

// The same of what comes in pieces, which are handed on in others.
class CrPieces {
 public:
  using Take = std::function<void(std::string_view bytes)>;
  void Feed(std::string_view bytes, const Take& take);
  void Finish(const Take& take);

 private:
  std::string m_held;  // a CR that ended the last piece
};

}  // namespace client

#include "mime/tree/LineEnds.h"

#include <algorithm>
#include <cstring>

namespace mail::line_ends {
namespace {

// Whether the byte at n begins a line end that is to become CR LF; nTaken gets its length then.
bool isLineEnd(std::string_view strText, std::size_t n, Rewrite nRewrite, std::size_t& nTaken) {
  nTaken = 1;
  if (strText[n] == '\n') return nRewrite != Rewrite::kEveryCr;
  if (strText[n] != '\r') return false;
  if (nRewrite == Rewrite::kEveryCr) return true;
  if (n + 1 < strText.size() && strText[n + 1] == '\n') {
    nTaken = 2;
    return true;
  }
  return nRewrite == Rewrite::kAll;
}

// Hands out the text piece by piece, a line end as CR LF.
template <class Put>
void walk(std::string_view strText, Rewrite nRewrite, Put put) {
  std::size_t nDone = 0;
  for (std::size_t n = strText.find_first_of("\r\n"); n < strText.size();) {
    std::size_t nTaken = 1;
    if (isLineEnd(strText, n, nRewrite, nTaken)) {
      put(strText.substr(nDone, n - nDone));
      put("\r\n");
      nDone = n + nTaken;
    }
    n = strText.find_first_of("\r\n", n + nTaken);
  }
  put(strText.substr(nDone));
}

// From the left, not inside what was put in, within the buffer: the new text is the shorter one.
void shrinkAll(DataBuffer& arrText, std::string_view strPart, std::string_view strNew) {
  auto* const pData = reinterpret_cast<char*>(arrText.getData());
  const std::string_view strText = arrText.view();
  std::size_t nKept = 0;
  for (std::size_t n = 0; n < strText.size();) {
    const std::size_t nFound = std::min(strText.find(strPart, n), strText.size());
    std::memmove(pData + nKept, pData + n, nFound - n);
    nKept += nFound - n;
    n = nFound;
    if (nFound == strText.size()) break;
    std::memcpy(pData + nKept, strNew.data(), strNew.size());
    nKept += strNew.size();
    n += strPart.size();
  }
  arrText.chop(strText.size() - nKept);
}

bool fixCrCrLf(std::string_view strText, DataBuffer& out) {
  DataBuffer arrFixed;
  if (!arrFixed.append(strText)) return false;
  shrinkAll(arrFixed, "\r\r\r\n", "\r\n");
  shrinkAll(arrFixed, "\r\r\n", "\r\n");
  if (!out.isEmpty()) return out.append(arrFixed);
  out = std::move(arrFixed);
  return true;
}

}  // namespace

bool rewrite(std::string_view strText, Rewrite nRewrite, DataBuffer& out) {
  if (nRewrite == Rewrite::kCrCrLf) return fixCrCrLf(strText, out);
  std::size_t nSize = 0;
  walk(strText, nRewrite, [&](std::string_view strPiece) { nSize += strPiece.size(); });
  auto* p = reinterpret_cast<char*>(out.prepare(nSize));
  if (p == nullptr) return false;
  walk(strText, nRewrite,
       [&](std::string_view strPiece) { p = std::copy(strPiece.begin(), strPiece.end(), p); });
  out.commit(nSize);
  return true;
}

}  // namespace mail::line_ends

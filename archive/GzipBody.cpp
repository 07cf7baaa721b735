#include "archive/GzipBody.h"

#include <zlib.h>

namespace mail {

GzipBody::GzipBody() = default;

GzipBody::~GzipBody() {
  if (m_pStream) inflateEnd(m_pStream.get());
}

GzipBody::Result GzipBody::add(std::string_view strPiece, DataBuffer& arrOut,
                               std::uint64_t nMaxBytes) {
  constexpr int kGzipAlone = 16 + MAX_WBITS;
  constexpr char kMemberStart = '\x1F';
  if (strPiece.empty()) return Result::kGood;
  if (!m_pStream) {
    auto pStream = std::make_unique<z_stream_s>();
    if (inflateInit2(pStream.get(), kGzipAlone) != Z_OK) return Result::kNoMemory;
    m_pStream = std::move(pStream);
  }
  m_pStream->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(strPiece.data()));
  m_pStream->avail_in = static_cast<uInt>(strPiece.size());  // libcurl's are 16 KiB at most
  while (m_pStream->avail_in > 0) {
    if (m_nState == State::kBehind) {  // a further member, or filling
      if (static_cast<char>(*m_pStream->next_in) != kMemberStart) break;
      if (inflateReset(m_pStream.get()) != Z_OK) return Result::kBroken;
    }
    m_nState = State::kWithin;
    if (const Result eResult = unpack(arrOut, nMaxBytes); eResult != Result::kGood) return eResult;
  }
  return Result::kGood;
}

// Up to the end of the piece or of the member.
GzipBody::Result GzipBody::unpack(DataBuffer& arrOut, std::uint64_t nMaxBytes) {
  constexpr std::size_t kRoom = 64 * 1024;
  unsigned char arrRoom[kRoom];
  do {
    m_pStream->next_out = arrRoom;
    m_pStream->avail_out = kRoom;
    const int nResult = inflate(m_pStream.get(), Z_NO_FLUSH);
    if (nResult == Z_MEM_ERROR) return Result::kNoMemory;
    if (nResult == Z_BUF_ERROR) return Result::kGood;  // nothing more can be had of this piece
    if (nResult != Z_OK && nResult != Z_STREAM_END) return Result::kBroken;
    const std::size_t nBytes = kRoom - m_pStream->avail_out;
    if (nBytes > nMaxBytes - arrOut.getSize()) return Result::kTooLarge;
    if (!arrOut.append(arrRoom, nBytes)) return Result::kNoMemory;
    if (nResult == Z_STREAM_END) {
      m_nState = State::kBehind;
      return Result::kGood;
    }
  } while (m_pStream->avail_out == 0);
  return Result::kGood;
}

}  // namespace mail

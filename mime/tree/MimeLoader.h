#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/LogBase.h"
#include "mime/tree/EndOfHeader.h"
#include "mime/tree/MimeMessage2.h"
#include "mime/tree/SourceText.h"

namespace mail {

// Reads one message into a tree of entities. The recursion goes MimeMessage2::kMaxDepth deep at
// most and keeps its frames small; bodies are decoded straight out of the bytes of the message.
class MimeLoader {
 public:
  MimeLoader(const MimeMessage2::LoadOptions& objOptions, LogBase& log, bool bDoubtsAscii = false);

  bool load(MimeMessage2& objRoot, std::string_view strBytes);
  // Bytes and index entries examined so far.
  std::uint64_t steps() const { return m_nSteps; }

 private:
  struct Delimiters;

  bool loadEntity(MimeMessage2& objEntity, SourceRange objRange, std::size_t nDepth);
  bool loadParted(MimeMessage2& objEntity, SourceRange objRange, const HeaderEnd& objEnd,
                  std::size_t nDepth);
  bool loadWithoutEnd(MimeMessage2& objEntity, const SourceRange& objRange);
  void loadHeader(MimeMessage2& objEntity, std::string_view strHeader, std::string_view strMarker);
  void skipMboxLine(SourceRange& objRange);

  bool parseMimeBody(MimeMessage2& objEntity, SourceRange objRange, std::size_t nDepth);
  bool findFirst(MimeMessage2& objEntity, const SourceRange& objRange, std::size_t nDepth,
                 Delimiters& objDelimiters);
  bool loadParts(MimeMessage2& objEntity, const SourceRange& objRange, std::size_t nDepth,
                 const Delimiters& objDelimiters);
  bool loadPart(MimeMessage2& objEntity, const SourceRange& objPart, std::size_t nDepth);
  bool keepUndivided(MimeMessage2& objEntity, std::string_view strBody);
  bool decodeLeaf(MimeMessage2& objEntity, const PassingBytes& objBody, bool bTextForSure);

  bool m_bRepair;
  bool m_bUtf8;
  bool m_bDoubtsAscii;
  bool m_bHeaderOnly;
  std::string m_strClue;
  LogBase& m_log;
  LoadObserver* m_pObserver;  // may be null
  std::uint64_t m_nSteps = 0;
  bool m_bHasUndivided = false;
};

}  // namespace mail

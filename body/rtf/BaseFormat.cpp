#include "body/rtf/BaseFormat.h"

#include <algorithm>
#include <vector>

#include "body/rtf/FormatWords.h"
#include "body/rtf/Tokenizer.h"
#include "body/rtf/WordTable.h"

namespace rtf {
namespace {

constexpr std::size_t kMostGroups = 256;  // deeper ones count as these
constexpr std::size_t kMostFormats = 32;  // told apart

struct Group {
  CharacterFormat objFormat;
  bool bSkipped = false;
};

struct Counted {
  CharacterFormat objFormat;
  std::size_t nBytes = 0;
};

class Probe {
 public:
  void Take(const Token& objToken) {
    switch (objToken.eKind) {
      case TokenKind::kOpen:
        if (m_arrGroups.size() < kMostGroups) m_arrGroups.push_back(m_arrGroups.back());
        break;
      case TokenKind::kClose:
        if (m_arrGroups.size() > 1) m_arrGroups.pop_back();
        break;
      case TokenKind::kWord:
        TakeWord(objToken);
        break;
      case TokenKind::kSymbol:
        if (objToken.nByte == '*') m_arrGroups.back().bSkipped = true;
        break;
      default:
        Count(objToken.eKind == TokenKind::kByte ? 1 : objToken.strText.size());
        break;
    }
  }
  CharacterFormat Most() const {
    const auto it = std::ranges::max_element(m_arrCounted, {}, &Counted::nBytes);
    return it == m_arrCounted.end() ? CharacterFormat{} : it->objFormat;
  }

 private:
  void TakeWord(const Token& objToken) {
    const WordEntry* pWord = FindWord(objToken.strText);
    if (pWord == nullptr) return;
    Group& objGroup = m_arrGroups.back();
    if (pWord->eGroup == WordGroup::kDestination) {
      const auto eDestination = static_cast<Destination>(pWord->nArgument);
      objGroup.bSkipped = objGroup.bSkipped || (eDestination != Destination::kField &&
                                                eDestination != Destination::kResult);
    } else if (pWord->eGroup == WordGroup::kCharacter) {
      ApplyCharacterWord(objGroup.objFormat, *pWord, objToken);
    }
  }
  void Count(std::size_t nBytes) {
    const Group& objGroup = m_arrGroups.back();
    if (objGroup.bSkipped || nBytes == 0) return;
    CharacterFormat objFormat;
    objFormat.nFont = objGroup.objFormat.nFont;
    objFormat.nSize = objGroup.objFormat.nSize;
    auto it = std::ranges::find(m_arrCounted, objFormat, &Counted::objFormat);
    if (it == m_arrCounted.end()) {
      if (m_arrCounted.size() >= kMostFormats) return;
      it = m_arrCounted.insert(it, {objFormat});
    }
    it->nBytes += nBytes;
  }

  std::vector<Group> m_arrGroups{Group{}};
  std::vector<Counted> m_arrCounted;
};

}  // namespace

CharacterFormat FindBaseFormat(std::string_view strRtf) {
  Tokenizer objTokenizer(strRtf.substr(0, kMostProbed));
  Probe objProbe;
  for (Token objToken = objTokenizer.Next(); objToken.eKind != TokenKind::kEnd;
       objToken = objTokenizer.Next()) {
    objProbe.Take(objToken);
  }
  return objProbe.Most();
}

}  // namespace rtf

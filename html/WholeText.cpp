#include "html/WholeText.h"

#include <algorithm>
#include <limits>
#include <new>

#include "base/OwnedPtr.h"
#include "base/XString.h"
#include "html/ClsHtmlToText.h"

namespace mail {

std::string wholeText(std::string strHtml, LinkTargets eLinks) {
  const auto pConverter = makeOwned<ClsHtmlToText>();
  if (pConverter == nullptr) throw std::bad_alloc();
  pConverter->m_maxDepth = std::numeric_limits<std::size_t>::max();
  pConverter->m_entityDigits = _ckHtmlHelp::kLongEntity;
  pConverter->m_preApart = true;
  pConverter->m_suppressLinks = eLinks == LinkTargets::kLeftOut;
  std::ranges::replace(strHtml, '\0', ' ');  // at which it would end
  XString strIn, strOut;
  if (!strIn.setFromUtf8(strHtml) || !pConverter->ToText(strIn, strOut)) throw std::bad_alloc();
  return std::string(strOut.utf8().view());
}

}  // namespace mail

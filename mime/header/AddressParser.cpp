#include "mime/header/AddressParser.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/header/AddressText.h"
#include "mime/header/AttributeReader.h"
#include "mime/header/EncodedWordMarks.h"

namespace mail {

namespace {

using namespace address_text;

constexpr std::size_t kNone = std::string_view::npos;

constexpr auto kStops = [] {
  std::array<bool, 256> aStops{};
  for (const unsigned char ch : std::string_view("\"(<>,;:[=\\@")) aStops[ch] = true;
  for (std::size_t ch = 0; ch <= ' '; ++ch) aStops[ch] = true;
  return aStops;
}();

// Between words control characters count as blanks.
bool Separates(char ch) { return static_cast<unsigned char>(ch) <= ' '; }

bool IsStop(char ch) { return kStops[static_cast<unsigned char>(ch)]; }

// Whether a text in quotes holds what looks like the end of an address and of its mailbox,
// "…<ann@example.org>,": the first quote was forgotten then.
bool HoldsEndOfMailbox(std::string_view strInner) {
  std::size_t nAt = 0;
  for (const char ch : {'<', '@', '>'}) {
    nAt = strInner.find(ch, nAt);
    if (nAt == kNone) return false;
  }
  nAt = strInner.find_first_not_of(" \t", nAt + 1);
  return nAt != kNone && (strInner[nAt] == ',' || strInner[nAt] == ';');
}

// Behind the domain at nFrom, nFrom itself if there is none.
std::size_t EndOfDomain(std::string_view strText, std::size_t nFrom) {
  if (strText.substr(nFrom, 1) == "[") {
    const std::size_t nEnd = strText.find_first_of("],;<>[", nFrom + 1);
    return nEnd == kNone || strText[nEnd] != ']' ? nFrom : nEnd + 1;
  }
  std::size_t nEnd = nFrom;
  while (nEnd < strText.size() && !IsStop(strText[nEnd])) ++nEnd;
  return nEnd;
}

}  // namespace

void AddressParser::run() {
  while (m_nAt < m_strText.size()) {
    if (m_arrAddresses.getSize() >= _ckEmailAddress::kMaxAddresses) {
      m_log.LogError("Too many addresses in one list.");
      return;
    }
    step();
  }
  finish();
}

void AddressParser::step() {
  const char ch = m_strText[m_nAt];
  switch (ch) {
    case '"':
      return takeQuoted();
    case '(':
      return takeComment();
    case '<':
      return takeAngle();
    case '[':
      return takeSquare();
    case ':':
      return takeColon();
    case '=':
      return takeEncodedWord();
    case '\\':
      return takeEscape();
    case ',':
      finishAtComma();
      break;
    case ';':
      finish();
      break;
    case '>':
      break;  // of no bracket
    case '@':
      m_bAtSign = true;
      m_strPhrase += ch;
      break;
    default:
      if (!Separates(ch)) return takePlain();
      if (!m_strPhrase.empty() && m_strPhrase.back() != ' ') m_strPhrase += ' ';
  }
  ++m_nAt;
}

void AddressParser::takePlain() {
  std::size_t nEnd = m_nAt + 1;
  while (nEnd < m_strText.size() && !IsStop(m_strText[nEnd])) ++nEnd;
  m_strPhrase.append(m_strText, m_nAt, nEnd - m_nAt);
  m_nAt = nEnd;
}

// kNone too for a quote that was forgotten: what looks like the end of an address follows before
// the next quote.
std::size_t AddressParser::endOfQuoted() const {
  const std::string_view strQuoted = rest();
  const std::size_t nEnd = closingQuote(strQuoted);
  if (nEnd == kNone) return kNone;
  return HoldsEndOfMailbox(strQuoted.substr(1, nEnd - 1)) ? kNone : nEnd;
}

void AddressParser::takeQuoted() {
  const std::size_t nEnd = m_bQuotesEnd ? endOfQuoted() : kNone;
  if (nEnd == kNone) {
    m_bQuotesEnd = m_bQuotesEnd && closingQuote(rest()) != kNone;
    ++m_nAt;
    return;
  }
  if (takeLocalPart(nEnd)) return;
  const std::string_view strInner = rest().substr(1, nEnd - 1);
  m_bAtSign = m_bAtSign || strInner.find('@') != kNone;
  m_bQuoted = true;
  unquote(strInner, m_strPhrase);
  m_nAt += nEnd + 1;
}

// "ann bee"@example.org, whose closing quote is at nQuote: no name, but the part of an address that
// needs its quotes. False, and nothing is taken, for anything else.
bool AddressParser::takeLocalPart(std::size_t nQuote) {
  const std::string_view strRest = rest();
  const std::string_view strInner = strRest.substr(1, nQuote - 1);
  const std::size_t nDomain = nQuote + 2;
  if (strRest.substr(nQuote + 1, 1) != "@" ||
      std::none_of(strInner.begin(), strInner.end(), IsStop))
    return false;
  const std::size_t nEnd = EndOfDomain(strRest, nDomain);
  if (nEnd == nDomain) return false;
  if (m_bAtSign && (m_bBare || !m_bHasAddress)) {
    finish();
  } else if (m_bHasAddress) {
    finishInFrontOfPhrase();
  }
  setAddress(strRest.substr(0, nEnd));
  m_bBare = true;
  m_nAt += nEnd;
  return true;
}

// Behind the ")" that closes the comment at the front, or kNone.
std::size_t AddressParser::endOfComment() const {
  if (!m_bCommentsEnd) return kNone;
  if (!m_bCommentsNest) {
    const std::size_t nEnd = m_strText.find(')', m_nAt);
    return nEnd == kNone ? kNone : nEnd + 1;
  }
  std::size_t nDepth = 0;
  for (std::size_t n = m_nAt; n < m_strText.size(); ++n) {
    if (m_strText[n] == '\\')
      ++n;
    else if (m_strText[n] == '(')
      ++nDepth;
    else if (m_strText[n] == ')' && --nDepth == 0)
      return n + 1;
  }
  return kNone;
}

void AddressParser::takeComment() {
  std::size_t nEnd = endOfComment();
  if (nEnd == kNone && m_bCommentsNest) {
    m_bCommentsNest = false;
    nEnd = endOfComment();
  }
  if (nEnd == kNone) {
    m_bCommentsEnd = false;
    ++m_nAt;
    return;
  }
  if (m_strComment.empty()) {
    unquote(m_strText.substr(m_nAt + 1, nEnd - m_nAt - 2), m_strComment);
    m_nCommentAt = m_strPhrase.size();
  }
  m_nAt = nEnd;
}

void AddressParser::takeEncodedWord() {
  const std::size_t nLength = std::max<std::size_t>(encodedWordLength(rest()), 1);
  m_strPhrase.append(m_strText, m_nAt, nLength);
  m_nAt += nLength;
}

// A backslash that hides nothing stands for itself: "DOMAIN\user".
void AddressParser::takeEscape() {
  const bool bHides = m_nAt + 1 < m_strText.size() &&
                      std::string_view("\"\\,;<>()").find(m_strText[m_nAt + 1]) != kNone;
  if (bHides) ++m_nAt;
  m_strPhrase += m_strText[m_nAt++];
}

void AddressParser::takeAngle() {
  if (m_bBare) {  // "ann bee"@example.org <ann@example.org>: it was the name of this one
    m_strPhrase = m_strName + m_strAddress + m_strPhrase;
  } else if (m_bHasAddress) {
    finishInFrontOfPhrase();
  } else if (!m_bAtSign && !trimmed(m_strComment).empty() && !trimmed(m_strPhrase).empty()) {
    m_strPhrase = nameWithComment();
    m_strComment.clear();
  }
  setAddress(angleText());
}

// The separator is missing, and the phrase since the last address is the name of the next one.
void AddressParser::finishInFrontOfPhrase() {
  std::string strPhrase;
  strPhrase.swap(m_strPhrase);
  const bool bQuoted = m_bQuoted;
  finish();
  m_strPhrase.swap(strPhrase);
  m_bQuoted = bQuoted;
}

// Reads on to the ">", or to what shows that there will be none.
std::string AddressParser::angleText() {
  std::string strText;
  bool bInRoute = false;
  for (++m_nAt; m_nAt < m_strText.size(); ++m_nAt) {
    const char ch = m_strText[m_nAt];
    if (strText.empty() && (Separates(ch) || ch == '<')) continue;
    if (ch == '>') {
      ++m_nAt;
      break;
    }
    if (ch == '<' || (!bInRoute && (ch == ',' || ch == ';'))) break;
    if (strText.empty()) bInRoute = ch == '@';
    if (ch == ':') bInRoute = false;
    if (ch == '"') {
      takeQuotedInAngle(strText);
    } else if (ch == ' ' || !Separates(ch)) {
      strText += ch;
    }
  }
  return strText;
}

// With its quotes, up to the second of them; a quote that stands alone is passed over.
void AddressParser::takeQuotedInAngle(std::string& strText) {
  const std::size_t nEnd = m_bQuotesEnd ? closingQuote(rest()) : kNone;
  m_bQuotesEnd = nEnd != kNone;
  if (!m_bQuotesEnd) return;
  strText.append(m_strText, m_nAt, nEnd + 1);
  m_nAt += nEnd;
}

// "bob [mailto:bob@example.org]", as some mailers quote it.
void AddressParser::takeSquare() {
  const std::size_t nEnd = m_strText.find_first_of("],;<>[", m_nAt + 1);
  const bool bClosed = nEnd != kNone && m_strText[nEnd] == ']';
  const std::string_view strInner =
      bClosed ? m_strText.substr(m_nAt + 1, nEnd - m_nAt - 1) : std::string_view();
  if (m_bHasAddress || m_bAtSign || strInner.find('@') == kNone) {
    m_strPhrase += m_strText[m_nAt++];
    return;
  }
  m_nAt = nEnd + 1;
  setAddress(strInner);
}

// The phrase in front of a colon is the name of a group, or of a scheme.
void AddressParser::takeColon() {
  ++m_nAt;
  if (m_bAtSign || m_bHasAddress) {
    m_strPhrase += ':';
  } else {
    addHeld();
    m_strPhrase.clear();
    m_bQuoted = false;
  }
}

void AddressParser::setAddress(std::string_view strRaw) {
  const bool bMayJoin = !m_bHasAddress && !m_bAtSign && !m_bQuoted;
  m_bHasAddress = true;
  m_bBare = false;
  m_bAtSign = false;
  m_strName.swap(m_strPhrase);
  m_strPhrase.clear();
  m_strAddress = addressIn(decoded(strRaw));
  if (bMayJoin) joinHeld();
}

// What stood in front of the comma was the first half of this name.
void AddressParser::joinHeld() {
  if (m_strHeld.empty() || m_strAddress.empty() || trimmed(m_strName).empty()) return;
  m_strName = m_strHeld + ", " + std::string(trimmed(m_strName));
  m_strHeld.clear();
}

// The phrase with the comment in its place.
std::string AddressParser::nameWithComment() const {
  const std::string_view strPhrase = m_strPhrase;
  const std::size_t nAt = std::min(m_nCommentAt, strPhrase.size());
  const std::string_view strFront = trimmed(strPhrase.substr(0, nAt));
  const std::string_view strBehind = trimmed(strPhrase.substr(nAt));
  std::string strName(strFront);
  strName += strFront.empty() ? "(" : " (";
  strName += trimmed(m_strComment);
  strName += strBehind.empty() ? ")" : ") ";
  return strName += strBehind;
}

// Only what nobody put in quotes can be half a name.
void AddressParser::finishAtComma() {
  const std::string_view strPhrase = trimmed(m_strPhrase);
  const bool bHolds = !m_bHasAddress && !m_bAtSign && !m_bQuoted && m_strComment.empty() &&
                      !strPhrase.empty() && decoded(strPhrase).find('@') == std::string::npos;
  if (!bHolds) return finish();
  addHeld();
  m_strHeld = strPhrase;
  reset();
}

void AddressParser::addHeld() {
  if (m_strHeld.empty()) return;
  const bool bAddress = isLocalAddress(m_strHeld);
  add(bAddress ? "" : decoded(m_strHeld), bAddress ? bare(m_strHeld) : "");
  m_strHeld.clear();
}

void AddressParser::finish() {
  addHeld();
  if (m_bHasAddress) {
    const bool bMoreBehind = m_bBare && m_bAtSign;  // addresses with only blanks between them
    const std::string_view strName = trimmed(m_strName);
    const std::string_view strBehind = bMoreBehind ? std::string_view() : trimmed(m_strPhrase);
    add(decoded(!strName.empty()     ? strName
                : !strBehind.empty() ? strBehind
                                     : m_strComment),
        m_strAddress);
    if (bMoreBehind) finishBare();
  } else {
    finishBare();
  }
  reset();
}

// A mailbox without brackets.
void AddressParser::finishBare() {
  const std::string_view strPhrase = trimmed(m_strPhrase);
  if (strPhrase.empty()) return;
  const std::string strComment = decoded(m_strComment);
  if (m_bAtSign) {
    finishWithAt(strPhrase, strComment);
    return;
  }
  const std::string strName = decoded(strPhrase);
  if (!m_bInner && strName.find('@') != kNone) {
    readInner(strName);
  } else if (strComment.empty()) {
    const bool bAddress = !m_bQuoted && isLocalAddress(strPhrase);
    add(bAddress ? "" : strName, bAddress ? bare(strPhrase) : "");
  } else if (strPhrase.find(' ') != kNone) {
    add(decoded(nameWithComment()), "");
  } else {
    add(strComment, strName);
  }
}

// Some mailers encode the whole field.
void AddressParser::readInner(std::string_view strList) {
  AddressParser objInner(strList, m_arrAddresses, m_log);
  objInner.m_bInner = true;
  objInner.run();
}

// Words of which at least one holds an "@": all addresses, or a name and the address behind it.
void AddressParser::finishWithAt(std::string_view strPhrase, std::string_view strComment) {
  const std::string strJoined = joinAtSigns(strPhrase);
  if (!holdsAddressesAlone(strJoined)) {
    const NameAndAddress objFound = nameAndAddress(strJoined);
    add(decoded(objFound.strName), bare(objFound.strAddress));
    return;
  }
  for (std::string_view strRest = strJoined; !strRest.empty();) {
    add(strComment, bare(takeWord(strRest)));
  }
}

void AddressParser::reset() {
  m_strPhrase.clear();
  m_strName.clear();
  m_strAddress.clear();
  m_strComment.clear();
  m_bAtSign = false;
  m_bQuoted = false;
  m_bHasAddress = false;
  m_bBare = false;
}

void AddressParser::add(std::string_view strName, std::string_view strAddress) {
  while (!strName.empty() && Separates(strName.front())) strName.remove_prefix(1);
  while (!strName.empty() && Separates(strName.back())) strName.remove_suffix(1);
  if (m_arrAddresses.getSize() >= _ckEmailAddress::kMaxAddresses) return;
  auto pAddress = makeOwned<_ckEmailAddress>();
  if (pAddress == nullptr) return;
  (void)pAddress->m_friendlyName.append(strName);
  (void)pAddress->m_address.append(strAddress);
  if (pAddress->m_friendlyName.isEmpty() && pAddress->m_address.isEmpty()) return;
  (void)m_arrAddresses.append(std::move(pAddress));
}

// Encoded words to text, on one line.
std::string AddressParser::decoded(std::string_view strRaw) {
  const bool bWords = hasEncodedWords(strRaw);
  const bool bOneLine = strRaw.find('\r') == kNone && strRaw.find('\n') == kNone;
  if (!bWords && bOneLine) return std::string(strRaw);
  StringBuffer strText(strRaw);
  if (bWords) (void)ContentCoding::QB_DecodeToUtf8(strText, m_log);
  strText.removeChar('\r');
  strText.removeChar('\n');
  return std::string(strText.view());
}

}  // namespace mail

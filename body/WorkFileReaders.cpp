#include "body/WorkFileReaders.h"

#include <algorithm>
#include <array>
#include <climits>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "ews/Settings.h"
#include "ews/SoapWriter.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/NarrowText.h"
#include "target/CTarnyOutlookHandler.h"

namespace {

constexpr std::array<std::u16string_view, 8> kImageTypes{u"/bmp", u"/dib", u"/jpg", u"/jpeg",
                                                         u"/gif", u"/tif", u"/png", u"inline"};
constexpr std::array<std::u16string_view, 10> kImageExtensions{
    u".bmp", u".dib", u".jpg", u".jpeg", u".jfif", u".gif", u".tif", u".tiff", u".png", u".jpe"};
// kept: a tab is among them.
constexpr std::u16string_view kBodyStops = u"\x01\x02\x03\x04\x05\x06\x07\x08\x09\x11";
constexpr std::u16string_view kAddressJunk = u"\x10\x90\x13\x11\x01";

template <size_t N>
int HoldsAny(const CString& str, const std::array<std::u16string_view, N>& arr) {
  return std::ranges::any_of(arr,
                             [&](std::u16string_view strPart) { return str.Contains(strPart); })
             ? 1
             : 0;
}

int ToLength(std::uint64_t nBytes) {
  return static_cast<int>(std::min<std::uint64_t>(nBytes, INT_MAX));
}

// Fills the bytes from the file's beginning; false when fewer came, the rest stays zero.
bool ReadFromStart(platform::File& objFile, std::span<unsigned char> objBytes) {
  return objFile.SeekTo(0) && objFile.Read(objBytes) == objBytes.size();
}

// Reads at most nMost characters in text mode from a byte offset: CR LF counts as one.
std::string ReadTextChunk(platform::File& objFile, std::uint64_t nOffset, size_t nMost) {
  if (!objFile.SeekTo(nOffset)) return {};
  std::string strText;
  std::string strRaw;
  while (strText.size() < nMost) {
    const size_t nKept = strRaw.size();  // a CR whose next byte is not known yet
    const size_t nWant = nMost - strText.size() + 1;
    strRaw.resize(nKept + nWant);
    const size_t nRead =
        objFile.Read({reinterpret_cast<unsigned char*>(strRaw.data()) + nKept, nWant});
    strRaw.resize(nKept + nRead);
    const bool bEnd = nRead < nWant;
    const bool bHoldCr = !bEnd && strRaw.ends_with('\r');
    if (bHoldCr) strRaw.pop_back();
    strText += platform::FromTextMode(strRaw);
    strRaw = bHoldCr ? "\r" : "";
    if (bEnd) break;
  }
  if (strText.size() > nMost) strText.resize(nMost);
  return strText;
}

bool IsForbiddenControl(char16_t ch) {
  return ch < u' ' && ch != u'\t' && ch != u'\n' && ch != u'\r';
}

// What a reader of terminated strings sees of a chunk.
std::u16string ChunkText(const std::string& strChunk) {
  return platform::NarrowToWide(std::string_view(strChunk).substr(0, strChunk.find('\0')));
}

}  // namespace

void CopyTOChar(CString strDisplayNameAccount, unsigned char* pch) {
  std::fill_n(pch, kCopyBytes, static_cast<unsigned char>(0));
  for (const char16_t ch : strDisplayNameAccount.View()) {
    *pch++ = static_cast<unsigned char>(ch & 0xFF);
    *pch++ = 0;
  }
}

void CopyTOCharUNicode(CString strDisplayNameAccount, char16_t* pch) {
  std::fill_n(pch, kCopyBytes / 2, u'\0');
  std::ranges::copy(strDisplayNameAccount.View(), pch);
}

unsigned char* GetPureMime(CString strHtmlPath, int* nLen) {
  *nLen = 0;
  auto objFile = platform::File::Open(strHtmlPath, platform::OpenMode::kRead);
  if (!objFile) return nullptr;
  const std::uint64_t nBytes = objFile->Length();
  if (nBytes > INT_MAX) throw std::runtime_error("The file is too large to be read.");
  const auto nLength = static_cast<size_t>(nBytes);
  auto pBytes = std::make_unique_for_overwrite<unsigned char[]>(nLength);
  if (!ReadFromStart(*objFile, {pBytes.get(), nLength})) {
    throw std::runtime_error("The file could not be read to its end.");
  }
  *nLen = static_cast<int>(nLength);
  return pBytes.release();
}

unsigned char* GetCharFromFile(CString strFilePath, int* size) {
  auto objFile = platform::File::Open(strFilePath, platform::OpenMode::kRead);
  if (!objFile) return nullptr;
  *size = ToLength(objFile->Length());
  auto pBytes = std::make_unique<unsigned char[]>(static_cast<size_t>(*size));
  (void)ReadFromStart(*objFile, {pBytes.get(), static_cast<size_t>(*size)});  // zeros show it
  return pBytes.release();
}

CString Sendable(std::u16string_view str) {
  constexpr char16_t kSigns = u'\u2400';
  std::u16string strText;
  strText.reserve(str.size());
  for (;;) {
    const std::size_t nBad = ews::FindForbidden(str);
    strText += str.substr(0, nBad);
    if (nBad == str.npos) return CString(std::move(strText));
    str.remove_prefix(nBad);
    std::size_t nRun = 0;  // of controls: some texts have them by the million
    for (; nRun < str.size() && IsForbiddenControl(str[nRun]); ++nRun) {
      strText += static_cast<char16_t>(kSigns + str[nRun]);
    }
    if (nRun == 0) {
      strText += u'\uFFFD';
      nRun = 1;
    }
    str.remove_prefix(nRun);
  }
}

CString WithoutBodyStops(CString strLine) {
  for (const char16_t ch : kBodyStops) strLine.Replace(ch, u'\0');
  return strLine;
}

CString GetStringFromFilenonUnicode(CString strFilePath, int* nBodyLen) {
  auto objFile = platform::File::Open(strFilePath, platform::OpenMode::kRead);
  if (!objFile) return {};
  const std::uint64_t nLength = objFile->Length();
  const std::uint64_t nFull = nLength <= kReadChunk ? 0 : nLength / kReadChunk;
  const std::uint64_t nRest = nLength - nFull * kReadChunk;
  std::u16string strText;
  for (std::uint64_t k = 0; k < nFull; ++k) {
    strText += ChunkText(ReadTextChunk(*objFile, k * kReadChunk, kReadChunk));
  }
  if (nRest != 0) strText += ChunkText(ReadTextChunk(*objFile, nLength - nRest, kReadChunk));
  *nBodyLen = ToLength(nLength);
  return strText;
}

CString CTarnyOutlookHandler::GetStringFromFile(CString strFilePath, int* nBodyLen, bool) {
  auto objReader = platform::WideLineReader::Open(strFilePath);
  if (!objReader) return {};
  CString strWide;
  CString strLine;
  while (objReader->ReadLine(strLine)) {
    strWide += WithoutBodyStops(strLine);
  }
  *nBodyLen = ToLength(objReader->FileLength());
  CString strNarrow;
  int nNarrowLength = 0;
  Guarded(nullptr, [&] { strNarrow = GetStringFromFilenonUnicode(strFilePath, &nNarrowLength); });
  // Narrow text read as 16-bit units is about half as long, and 16-bit text read as narrow ends at
  // its first NUL byte: the longer reading is the right one.
  if (strNarrow.GetLength() <= strWide.GetLength()) return strWide;
  *nBodyLen = nNarrowLength;
  return strNarrow;
}

CString CTarnyOutlookHandler::GetStringFromFileTemp(CString strFilePath, int* nBodyLen, bool) {
  m_objLogManager.WriteLog(u"GetStringFromFileTemp_0");
  auto objReader = platform::WideLineReader::Open(strFilePath);
  if (!objReader) return {};
  CString strText;
  CString strLine;
  while (objReader->ReadLine(strLine)) {
    strText += strLine;
    strText += u'\n';
  }
  *nBodyLen = ToLength(objReader->FileLength());
  return strText;
}

CString CTarnyOutlookHandler::ReplaceUnicodeCharacters(CString str) {
  if (m_nFlag == 0) return str;
  for (const char16_t ch : kAddressJunk) str.Remove(ch);
  return str;
}

int CTarnyOutlookHandler::FindExtension(CString strExtension) {
  return HoldsAny(strExtension, kImageTypes);
}

int CTarnyOutlookHandler::FindDotExtensionn(CString strExtension) {
  return HoldsAny(strExtension, kImageExtensions);
}

CString CTarnyOutlookHandler::ExtractTYPEFromeFile(CStringArray& strARRFiletype, CString strFind) {
  for (const CString& str : strARRFiletype) {
    if (str.Contains(strFind)) return str;
  }
  return {};
}

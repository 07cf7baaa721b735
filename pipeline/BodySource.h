#pragma once

#include <array>
#include <span>

// Where the body of an item comes from.
enum class BodySource { kNone, kImagePage, kMime, kRichText, kText, kPage, kLastPage };

struct BodyFile {
  BodySource eSource;
  const char16_t* pszFile;  // behind the path of the item's folder
};

// Of a mail. The first that is there is taken, and the others are not looked at.
inline constexpr std::array<BodyFile, 5> kBodyFiles = {{
    {BodySource::kImagePage, u"Imagech111.html"},
    {BodySource::kMime, u"\\EmlFile.Eml"},
    {BodySource::kRichText, u"ch2111.rtf"},
    {BodySource::kText, u"\\TextFile1.txt"},
    {BodySource::kLastPage, u"GARImage.html"},
}};
// Those that stand in for rich text.
inline constexpr std::span<const BodyFile> kLastBodyFiles = std::span(kBodyFiles).subspan(3);

// Of an appointment, a task and a contact, likewise. Of the first two the last two files are marks:
// the body stands in the descriptor.
inline constexpr std::array<BodyFile, 3> kOtherBodyFiles = {{
    {BodySource::kRichText, u"ch2111.rtf"},
    {BodySource::kText, u"TextFile1.eml"},
    {BodySource::kPage, u"ch111.html"},
}};

// fnIsThere says of a row's pszFile whether something of that name is there.
template <typename ISTHERE>
BodySource FirstBodySource(std::span<const BodyFile> arrFiles, ISTHERE&& fnIsThere) {
  for (const BodyFile& objFile : arrFiles) {
    if (fnIsThere(objFile.pszFile)) return objFile.eSource;
  }
  return BodySource::kNone;
}

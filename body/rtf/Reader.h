#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "body/rtf/Document.h"
#include "body/rtf/Drawing.h"
#include "body/rtf/EncapsulatedPage.h"
#include "body/rtf/FormatWords.h"
#include "body/rtf/Formats.h"
#include "body/rtf/HtmlPage.h"
#include "body/rtf/PictureHeader.h"
#include "body/rtf/RtfToHtml.h"
#include "body/rtf/Tokenizer.h"
#include "body/rtf/WordTable.h"

namespace rtf {

// Follows the groups of rich text, and hands what stands in them to where it goes.
//
// Each group starts with the formats of the one around it and ends by giving them back; so the
// state is one copyable record, and the open groups are a stack of them on the heap. From
// kMostGroups on groups are only counted: their formats are not told apart any more, their text
// comes out all the same.
//
// Text arrives as bytes whose meaning depends on the font, and a character of two bytes may be cut
// into tokens. So bytes are gathered until anything else comes, and decoded together.
class Reader {
 public:
  static constexpr std::size_t kMostGroups = 4096;

  Reader(std::string_view strRtf, unsigned nAnsiPage, PictureSaver& objSaver);
  HtmlResult Read();

 private:
  struct State {
    CharacterFormat objCharacters;
    ParagraphFormat objParagraph;
    Destination eDestination = Destination::kBody;
    Destination eAround = Destination::kBody;  // of an alternative: where its Unicode form goes
    bool bBegins = false;                      // this group began the destination
    bool bHtmlRtf = false;  // of a wrapped page: what only readers of rich text shall see
    bool bDoubleByte = false;
    int nDoubleByteFont = kNoFont;
    int nUnicodeSkip = 1;  // characters behind a \u that stand for it
  };
  struct Picture {
    PictureHeader objHeader;
    std::string strBytes;
  };
  struct Field {
    std::u16string strInstruction{};
    std::size_t nPuts = 0;  // of the page, before the field
    bool bParsed = false;
    int nLink = kNoLink;
  };
  enum class Form { kRichText, kHtml };
  static constexpr char kPictureMark = '\x01';  // no text of a page holds it

  // Tokens and groups (Reader.cpp)
  void Take(const Token& objToken);
  void OpenGroup();
  void CloseGroup();
  void TakeText(std::string_view strText);
  void TakeByte(unsigned char nByte);
  void TakeSymbol(unsigned char nSymbol);
  void TakeWord(const Token& objToken);
  void ApplyWord(const WordEntry& objWord, const Token& objToken);
  void TakeFont(int nFont);
  void TakeStyle(int nStyle);
  void TakeDocumentWord(const WordEntry& objWord, const Token& objToken);
  void TakeUnicode(int nNumber);
  void EndPair();
  void TakeFlowWord(const WordEntry& objWord);
  void TakeHtmlFlowWord(Word eWord);
  void PutNoteMark();
  HtmlPage::Aside KindOfNextNote() const;
  bool IsSkipping() const;
  bool IsText() const;

  // Where text goes (ReaderText.cpp)
  void FlushBytes();
  void Deliver(std::u16string_view strUnits);
  void DeliverAscii(std::string_view strText);
  void DeliverCharacter(char32_t ch);
  void PutCharacter(char32_t ch);
  void PutText(char32_t ch);
  bool IsLeftOut();
  const Font* CurrentFont() const;
  std::u16string* Collector();
  void AddColorText(std::string_view strText);
  void AddFontText(std::u16string_view strUnits);
  void AddStyleText(std::u16string_view strUnits);

  // Destinations (ReaderDestinations.cpp)
  void BeginDestination(Destination eDestination);
  Destination Redirect(Destination eNow, Destination eDestination);
  void Prepare(Destination eDestination);
  bool BeginAside(HtmlPage::Aside eKind, std::string strCss = {});
  void EndDestination(const State& objEnded);
  void TakeLink();
  int AddLink(std::u16string_view strTarget);
  void EndField();
  void EndLevelText();
  void EndOldList();
  void TakeListWord(const WordEntry& objWord, const Token& objToken);
  void TakePictureWord(const WordEntry& objWord, const Token& objToken);
  void AddHex(std::string_view strText);
  void EndPicture(const CharacterFormat& objFormat);
  void EndShape();
  std::string SavePictures(std::string strWhole);
  std::string SavePicture(Picture& objPicture);

  Tokenizer m_objTokenizer;
  PictureSaver& m_objSaver;
  Document m_objDocument;
  HtmlPage m_objPage;
  EncapsulatedPage m_objHtml;
  Notes m_objNotes;
  Form m_eForm = Form::kRichText;
  std::size_t m_nSteps = 0;

  State m_objState;
  State m_objEnd;  // of the document's group, where that has ended
  std::vector<State> m_arrStack;
  std::size_t m_nUncounted = 0;  // groups beyond kMostGroups
  std::size_t m_nSkipFrom = 0;   // of them, the one whose text is dropped; 0: none
  bool m_bGroupStart = false;    // nothing but \* came since the brace
  bool m_bIgnorable = false;     // \* came
  int m_nSkip = 0;               // characters still to skip behind a \u
  char16_t m_chHigh = 0;         // the first half of a pair
  std::string m_strBytes;        // text that is not decoded yet

  std::vector<Field> m_arrFields;  // each inside the one before
  std::u16string m_strCollected;   // names, texts of levels
  int m_nFontDefined = kNoFont;
  int m_nStyleDefined = 0;
  int m_nColor = 0;
  bool m_bColorGiven = false;
  BorderWords m_objBorders;
  ListLevel m_objOldLevel;
  std::u16string m_strOldBefore, m_strOldAfter;
  PictureHeader m_objPicture;
  std::string m_strPicture;
  int m_nHexHigh = -1;  // the first digit of a byte
  std::vector<Picture> m_arrPictures;
  std::u16string m_strShapeName, m_strShapeValue;
  Drawing m_objDrawing;
  std::size_t m_nObjectPuts = 0;
};

}  // namespace rtf

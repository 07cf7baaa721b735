#pragma once

#include "body/rtf/Formats.h"
#include "body/rtf/TableBuilder.h"
#include "body/rtf/Tokenizer.h"
#include "body/rtf/WordTable.h"

namespace rtf {

// What the control words of each group change. Numbers are cut to what any page can hold, so that
// nobody further on has to fear for sums of them.
void ApplyCharacterWord(CharacterFormat& objFormat, const WordEntry& objWord,
                        const Token& objToken);
void ApplyParagraphWord(ParagraphFormat& objFormat, const WordEntry& objWord,
                        const Token& objToken);
// All but kRowDefaults.
void ApplyRowWord(RowFormat& objRow, const WordEntry& objWord, const Token& objToken);

// Words for borders come in twos: one names the sides, those behind it say how they look.
class BorderWords {
 public:
  void Apply(ParagraphFormat& objParagraph, RowFormat& objRow, const WordEntry& objWord,
             const Token& objToken);

 private:
  Word m_eTarget = Word::kParagraphBorder;
  int m_nSides = 0;  // bits
};

}  // namespace rtf

#include "body/rtf/RtfToHtml.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "tests/body/RtfSupport.h"
#include "tests/support/HtmlBalance.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using test_support::ReadAll;

std::vector<std::filesystem::path> Samples() {
  std::set<std::filesystem::path> found;
  for (const auto& entry : std::filesystem::directory_iterator(TARNY_SOURCE "/tests/data/rtf")) {
    if (entry.path().extension() == ".rtf") found.insert(entry.path());
  }
  return {found.begin(), found.end()};
}

// RTF_RECORD=1 writes the pages anew, to be looked at before they are kept.
TEST(RtfToHtml, SamplesBecomeThePagesBesideThem) {
  const auto samples = Samples();
  EXPECT_GE(samples.size(), 40u);
  for (const auto& path : samples) {
    SCOPED_TRACE(path.filename());
    const std::string page = Convert(ReadAll(path)).strHtml;
    std::filesystem::path expected = path;
    expected.replace_extension(".html");
    if (std::getenv("RTF_RECORD") != nullptr) std::ofstream(expected, std::ios::binary) << page;
    EXPECT_EQ(page, ReadAll(expected));
    EXPECT_EQ(html_balance::Fault(page), "");
    EXPECT_TRUE(html_balance::IsAscii(page));
  }
}

// A row each for what the samples do not show.
TEST(RtfToHtml, SmallTexts) {
  const struct {
    std::string rtf;
    std::string body;
  } rows[] = {
      {R"({\rtf1})", ""},
      {R"({\rtf1 \b a\plain b\b c\b0 d})", "<p style=\"margin:0\"><b>a</b>b<b>c</b>d</p>"},
      // Formats end with their group, and a paragraph has the format at its end.
      {R"({\rtf1 {\i a}b{\qc c\par}d})",
       "<p style=\"margin:0;text-align:center\"><i>a</i>bc</p>\n<p style=\"margin:0\">d</p>"},
      // Many programs leave out the end of the last paragraph, which has its formats all the same.
      {R"({\rtf1\pard a\par\pard\qc\li200 b})",
       "<p style=\"margin:0\">a</p>\n<p "
       "style=\"margin:0;text-align:center;margin-left:10pt\">b</p>"},
      {"{\\rtf1 a\r\nb\n c}", "<p style=\"margin:0\">ab c</p>"},
      {"{\n\\rtf1 a}", "<p style=\"margin:0\">a</p>"},
      // What stands behind the last brace, and braces too many.
      {R"({\rtf1 a}}} b)", "<p style=\"margin:0\">a b</p>"},
      // Words that nobody knows, with and without a star.
      {R"({\rtf1 \nosuchword12 a{\nosuch b}{\*\nosuch c}{\*\b d}{\* e}})",
       "<p style=\"margin:0\">ab e</p>"},
      // Destinations count where a group begins: a stray word loses no text.
      {R"({\rtf1 a\header b\footnote c})", "<p style=\"margin:0\">abc</p>"},
      // What stands for a character is skipped, formatting is not.
      {R"({\rtf1 \u233 e\u233\'65\u233{e}\u233\b x\u233\emdash y\uc0\u233 z})",
       "<p style=\"margin:0\">&#233;&#233;&#233;e&#233;<b>x&#233;y&#233;z</b></p>"},
      {R"({\rtf1 \'4\'zz\'41\')", "<p style=\"margin:0\">4zzA</p>"},
      // Characters that no page may hold.
      {R"({\rtf1 a\u-1?\u-2?\u1?\'01\'7fb})", "<p style=\"margin:0\">a&#65533;&#65533;b</p>"},
      // Halves of a pair: across a group, alone, at the end of what they stand in, and skipped.
      {R"({\rtf1 \u-10179?{\u-8704?}\u-10179?a\u-8704?\u-10179?\par\pard{\header\u-10179?}b})",
       "<p style=\"margin:0\">&#128512;&#65533;a&#65533;&#65533;</p>\n<p style=\"margin:0\">b</p>"},
      // The colour 0 is "none" behind text also where it is defined.
      {R"({\rtf1{\colortbl\red255\green0\blue0;}\cf0 a\highlight0\cb0 b})",
       "<p style=\"margin:0\"><span style=\"color:#ff0000\">ab</span></p>"},
      // Lines that a page does not show leave those of the paragraph alone.
      {R"({\rtf1\brdrb\brdrs\pgbrdrt\brdrdot{\chbrdr\brdrdb a}\par})",
       "<div style=\"border-bottom:solid 0.5pt #000000\">\n<p style=\"margin:0\">a</p>\n</div>"},
      // Moved text stands where it went.
      {R"({\rtf1{\mvf a}b{\mvt a}})", "<p style=\"margin:0\">ba</p>"},
      // Two bytes of a character, cut into tokens and with a raw second byte.
      {"{\\rtf1\\ansicpg932 \\'83\\'65\\'83e\\'82\n\\'a0}",
       "<p style=\"margin:0\">&#12486;&#12486;&#12354;</p>"},
      {R"({\rtf1{\fonttbl{\f0\fcharset0 A;}{\f1\fcharset204 B;}}\f0\'e9{\f1\'e9}\'e9})",
       "<p style=\"margin:0\">&#233;<span style=\"font-family:'B'\">&#1081;</span>&#233;</p>"},
      {R"({\rtf1{\fonttbl{\f0\fcharset0 A;}{\f13\fcharset128 B;}}\f0\loch\af0\dbch\af13 \'82\'a0})",
       "<p style=\"margin:0\">&#12354;</p>"},
      {R"({\rtf1{\fonttbl\f0 Arial CYR;\f1 B;}\f0\'e9})", "<p style=\"margin:0\">&#1081;</p>"},
      {R"({\rtf1\ansicpg65001 \'c3\'a9})", "<p style=\"margin:0\">&#233;</p>"},
      {R"({\rtf1 {\listtext 1.\tab}})",
       "<p style=\"margin:0\"><span style=\"display:inline-block;text-indent:0;min-width:18pt\">1."
       "&#160;</span>&#160;</p>"},
      {R"({\rtf1\trowd\cellx100{\*\bkmkstart p}\row\par})", "<p style=\"margin:0\">&#160;</p>"},
      {R"({\rtf1{\field{\*\fldinst HYPERLINK " JAVA script:x"}{\fldrslt a}}})",
       "<p style=\"margin:0\">a</p>"},
      {R"({\rtf1{\field{\*\fldinst HYPERLINK "file:\\\\srv\\x y"}{\fldrslt a}}b})",
       "<p style=\"margin:0\"><a href=\"file:\\srv\\x y\">a</a>b</p>"},
  };
  for (const auto& row : rows) {
    const std::string page = Convert(row.rtf).strHtml;
    std::string body = BodyOf(page);
    if (row.rtf.find("bkmkstart") != std::string::npos) {  // where the mark lands is open
      const std::size_t mark = body.find("<a name");
      if (mark != std::string::npos) body.erase(mark, body.find("</a>") + 4 - mark);
    }
    EXPECT_EQ(body, row.body) << row.rtf;
    EXPECT_EQ(html_balance::Fault(page), "") << row.rtf;
  }
}

TEST(RtfToHtml, TellsWhatItLeftOut) {
  const struct {
    std::string rtf;
    std::vector<std::string> lines;
  } rows[] = {
      {R"({\rtf1 a})", {}},
      {"text", {"the file is no rich text; taken as plain text"}},
      {"<HTML>text", {"the file is a page and no rich text; kept as that"}},
      {R"({\rtf1 {\b a)", {"the file ends before its groups do"}},
      {R"({\rtf1{\header a}{\footer b}{\v c}{\*\annotation d}{\deleted e}})",
       {"headers and footers left out (2)", "comments left out (1)", "hidden text left out (1)",
        "deleted text of a revision left out (1)"}},
      {R"({\rtf1\ansicpg1234 \'e9})",
       {"text in a code page that is not known, read as windows-1252 (1)"}},
      {R"({\rtf1{\object{\*\objdata 00}}{\pict\dibitmap0 1}{\pict\macpict 0011}})",
       {"embedded objects without a picture (1)", "pictures that could not be read (1)",
        "pictures in a form that browsers do not show, kept as files (1)"}},
  };
  for (const auto& row : rows) EXPECT_EQ(Convert(row.rtf).objNotes.Lines(), row.lines) << row.rtf;
}

TEST(RtfToHtml, PicturesAreNumberedAsTheyStandInThePage) {
  PictureList pictures;
  const std::string rtf =
      R"({\rtf1 a{\footnote{\pict\pngblip 01}}{\pict\jpegblip 02}\par{\pict\emfblip 03}})";
  const std::string page = rtf::RtfToHtml(rtf, 1252, pictures).strHtml;
  EXPECT_EQ(pictures.names,
            (std::vector<std::string>{"HTMLFile_1.jpg", "HTMLFile_2.emf", "HTMLFile_3.png"}));
  EXPECT_EQ(pictures.contents, (std::vector<std::string>{"\x02", "\x03", "\x01"}));
  EXPECT_LT(page.find("<img src=\"HTMLFile_1.jpg\""), page.find("<img src=\"HTMLFile_2.emf\""));
  EXPECT_LT(page.find("HTMLFile_2.emf"), page.find("HTMLFile_3.png"));
}

// Programs call files rich text that are something else.
TEST(RtfToHtml, OtherFilesKeepTheirText) {
  const struct {
    std::string file;
    std::string page;
  } rows[] = {
      {"\n<!DOCTYPE html><p>caf\xC3\xA9", "\n<!DOCTYPE html><p>caf&#233;"},
      {"<HtMl><meta charset=\"koi8-r\">\r\n\xC1", "<HtMl>\n&#1072;"},
      {"<body>\xE9", "<body>&#233;"},  // in the page of the machine
  };
  for (const auto& row : rows) EXPECT_EQ(Convert(row.file).strHtml, row.page) << row.file;
  EXPECT_EQ(BodyOf(Convert("<htm>").strHtml), "&#60;htm&#62;<br>");
  // 16-bit units with a mark, the low or the high byte first.
  const auto Wide = [](std::string_view text, bool highFirst) {
    std::string bytes = highFirst ? "\xFE\xFF" : "\xFF\xFE";
    for (const char ch : text) (bytes += highFirst ? '\0' : ch) += highFirst ? ch : '\0';
    return bytes;
  };
  for (const bool highFirst : {false, true}) {
    EXPECT_EQ(BodyOf(Convert(Wide("a\xE9", highFirst)).strHtml), "a&#233;<br>");
    EXPECT_EQ(BodyOf(Convert(Wide(R"({\rtf1 \b a})", highFirst)).strHtml),
              "<p style=\"margin:0\"><b>a</b></p>");
  }
  EXPECT_EQ(BodyOf(Convert("\xFF\xFE").strHtml), "");
}

TEST(RtfToHtml, WrappedPagesComeBackWithoutACharset) {
  const std::string start = "{\\rtf1\\ansi\\fromhtml1 ";
  EXPECT_EQ(
      Convert(start + R"({\*\htmltag <MeTa CHARSET='x>y'><?xml version="1.0" encoding="u"?>a}b})")
          .strHtml,
      "ab");
  EXPECT_EQ(Convert(start + R"({\*\htmltag <?xml:namespace ns="o" /><metal charset=x>})").strHtml,
            "<?xml:namespace ns=\"o\" /><metal charset=x>");
  EXPECT_EQ(Convert(start + R"({\*\htmltag <script>"\u233?\u-10179 ?\u-8704 ?"</script>}\u233?})")
                .strHtml,
            "<script>\"\\u00e9\\ud83d\\ude00\"</script>&#233;");
  // Controls are no part of a page, nor of its tags.
  EXPECT_EQ(Convert(start + R"({\*\htmltag <b\'7f\'01>}a\'7f)").strHtml, "<b>a");
  // Cut in the middle, a tag and a style sheet still come out.
  EXPECT_EQ(Convert(start + R"({\*\htmltag <meta charset=}x)").strHtml, "<meta charset=x");
  EXPECT_EQ(Convert(start + R"({\*\htmltag <style>\'e9})").strHtml, "<style>\\e9 ");
  // The hyphen that a page shows where a line ends.
  EXPECT_EQ(Convert(start + R"(a\_b\-c)").strHtml, "a&#173;b&#173;c");
  // Without the word at its head, tags are for others.
  EXPECT_EQ(BodyOf(Convert(R"({\rtf1{\*\htmltag <b>}a\fromhtml1{\*\htmltag </b>}})").strHtml),
            "<p style=\"margin:0\">a</p>");
}

}  // namespace

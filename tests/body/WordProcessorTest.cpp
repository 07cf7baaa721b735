// Rich text as a word processor writes it, made on the spot from the documents in tests/data/fodt:
// what the documents show must be in the pages. Skipped where LibreOffice is not installed.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/body/RtfSupport.h"
#include "tests/support/HtmlBalance.h"
#include "tests/support/TemporaryFolder.h"

namespace {

// One start of the program writes all documents; a fresh profile, so that no other one is touched.
void WriteRichText(const std::string& folder) {
  const std::string command = "timeout 200 soffice -env:UserInstallation=file://" + folder +
                              "/profile --headless --convert-to rtf --outdir " + folder +
                              " " TARNY_SOURCE "/tests/data/fodt/*.fodt > /dev/null 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0);
}

struct Document {
  const char* name;
  std::vector<std::string> parts;  // of the page, in this order
};

const Document kDocuments[] = {
    {"characters",
     {"plain <b>bold</b> <i>italic</i> <s>struck</s> ", "line-through double\">twicestruck<",
      "<sup>raised</sup> <sub>lowered</sub>", "small-caps\">smallcaps<", "uppercase\">uppercase<",
      ">outlined<", "text-shadow:", ">shadowed<", "letter-spacing:3pt\">spaced<",
      "color:#ff0000\">red<", "color:#7030a0\">violet<", "background:#ffff00\">marked<",
      "'Liberation Sans',sans-serif\">sansserif<", "'Liberation Mono',monospace\">monospaced<",
      "font-size:20pt\">large<", "font-size:7.5pt\">small<", "<u>single</u>", "double\">double<",
      "dotted\">dotted<", "dashed\">dashed<", "dashed\">longdashed<", "dashed\">dotdashed<",
      "wavy\">wavy<", "solid 0.13em\">thick<", "text-decoration-color:#00b050\">greenline<",
      "color:#0070c0\"><b><i><u>together</u></i></b></span> rest</p>",
      "Two &#160;blanks,&#9;tab,<br>new line, hard&#160;blank, soft&#173;hyphen, "
      "hard&#8209;hyphen.</p>",
      "&#8220;quoted&#8221; &#8216;single&#8217; &#8211; &#8212; &#8230; &#8226; &#8364; &#8482; "
      "&#169; &#60;tag&#62; &#38;amp; {brace} \\slash</p>",
      // Latin, Cyrillic, Greek, Hebrew, Arabic, Thai, Japanese, Korean, Chinese, beyond 16 bits.
      "na&#239;ve &#321;&#243;d&#378; &#1052;&#1086;&#1089;&#1082;&#1074;&#1072; "
      "&#913;&#952;&#942;&#957;&#945; &#1513;&#1500;&#1493;&#1501; "
      "&#1605;&#1585;&#1581;&#1576;&#1575; &#3626;&#3623;&#3633;&#3626;&#3604;&#3637; "
      "&#26085;&#26412;&#35486; &#54620;&#44397;&#50612; &#20013;&#25991; &#128512;</p>"}},
    {"paragraphs",
     {"<h1 ", "<b>Firstlevel heading</b>", "<h2 ", "<i>Secondlevel heading</i>",
      "text-align:left\">Leftbound", "text-align:center\">Centered",
      "text-align:right\">Rightbound", "text-align:justify\">Justified",
      "margin-left:36pt;margin-right:72pt;text-indent:18pt\">Ind",
      "margin-left:36pt;text-indent:-36pt\">Hanging", "margin-top:12pt;margin-bottom:18pt",
      ">Spaced", "line-height:180%\">Onehalf", "line-height:20pt\">Exact",
      "<div style=\"border-top:solid 1pt #ff0000;border-right:solid 1pt "
      "#ff0000;border-bottom:solid "
      "1pt #ff0000;border-left:solid 1pt #ff0000;padding:4pt\">",
      ">Boxed one</p>\n<p ", ">boxed two</p>\n</div>\n<div style=\"border-bottom:double ",
      "#0000ff;", ">Ruled</p>\n</div>", "background:#ddeeff\">Shaded", "<p dir=\"rtl\"",
      // Stops at 1 inch, 3 inches (in the middle) and 5 inches (right).
      "min-width:72pt\">Name&#9;</span>", "min-width:144pt\">Item&#9;</span>",
      "translateX(-50%)\">middle</span>&#9;<span style=\"float:right\">42</span></span></p>",
      "min-width:144pt\">Sum&#9;<span style=\"float:right\">12</span></span>.50"}},
    {"lists",
     {"<ul style=\"margin:0;padding-left:36pt;list-style-type:disc\">",
      ">dot one\n<ul ",
      "list-style-type:circle\">",
      ">circle one\n<ul ",
      "list-style-type:square\">",
      ">square one</li>\n</ul>\n</li>",
      ">circle two</li>\n</ul>\n</li>",
      ">dot two</li>\n</ul>",
      "list-style-type:decimal\">",
      ">first number\n<ol ",
      "list-style-type:lower-alpha\">",
      ">letter two\n<ol ",
      "list-style-type:lower-roman\">",
      ">small roman</li>",
      ">second number</li>\n</ol>",
      ">chapter\n<ol ",
      "1.1.&#160;</span>section\n<ol ",
      "1.1.1.&#160;</span>clause</li>",
      "1.2.&#160;</span>section two</li>",
      ">chapter two<",
      "(A)&#160;</span>bracket one</li>",
      "<ol start=\"4\"",
      "list-style-type:upper-roman\">",
      ">roman four</li>",
      "&#10132;&#160;</span>arrow one</li>",
      "<ol start=\"3\"",
      ">third number</li>\n</ol>"}},
    {"tables",
     {"<td colspan=\"2\" style=\"width:216pt;",
      "#c00000;background:#ffe699\"><p",
      ">wide head</p>",
      "<td style=\"width:216pt;",
      ">narrow head</p>",
      "<tr style=\"vertical-align:top;height:36pt\">",
      "<td rowspan=\"2\" style=\"width:72pt;",
      "vertical-align:middle\">",
      ">tall cell</p>",
      ">two<",
      "text-align:right\">right three</p>\n</td>\n</tr>",
      "vertical-align:bottom\">",
      ">five</p>",
      ">six<br>six again</p>",
      ">before</p>",
      "<td colspan=\"2\" style=\"width:360pt;",
      ">around</p>\n<table ",
      "margin-left:auto;margin-right:auto\">",
      ">inner one</p>",
      ">inner two</p>",
      ">inner four</p>\n</td>\n</tr>\n</table>\n</td>\n</tr>\n</table>",
      ">between tables</p>",
      "padding:0 0 0 0\"><p",
      ">bare one</p>",
      ">behind tables</p>"}},
    {"links",
     {"<a href=\"https://example.com/a?b=1&#38;c=2#d\">", "<u>the site</u></span></a> or ",
      "<a href=\"mailto:someone@example.com\">", "<a href=\"#place\">", "<u>jump</u>",
      "<a href=\"https://example.com/m&#252;ll\">", "<u>styled link</u></span></a></p>",
      ">Page 1 of", "<a name=\"place\"></a>The place.",
      "A claim<a name=\"footnote-mark-1\"></a><a href=\"#footnote-1\"><sup>1</sup></a> and another",
      "<a href=\"#endnote-1\"><sup>i</sup></a>", "<hr>",
      "<a name=\"footnote-1\"></a><a href=\"#footnote-mark-1\"><sup>1</sup></a>", ">The proof.<",
      "<sup>2</sup>", ">More proof.<", "<hr>", "<a name=\"endnote-1\"></a>", ">At the end.<"}},
    {"pictures",
     {">Own size <img src=\"HTMLFile_1.png\" alt=\"\" width=\"40\" height=\"30\"> as it is.<",
      ">Scaled <img src=\"HTMLFile_2.png\" alt=\"\" width=\"160\" height=\"60\"> up.<",
      ">Cropped <span style=\"display:inline-block;overflow:hidden;width:20px;height:30px\"><img "
      "src=\"HTMLFile_3.png\" alt=\"\" width=\"40\" height=\"30\" style=\"max-width:none;"
      "margin-left:-20px;margin-top:0px\"></span> to its right half.<",
      ">Photo <img src=\"HTMLFile_4.jpg\" alt=\"\" width=\"80\" height=\"60\"> beside.<",
      "<img src=\"HTMLFile_5.png\" alt=\"\" width=\"80\" height=\"60\">Floating beside its text.<",
      ">Around the box.<", "<div style=\"max-width:144pt;border:solid 1pt #008000;padding:3pt\">",
      ">Text in a box<"}},
    {"left-out", {">Kept one kept two.<", ">Before behind, inserted too.<", ">Remarked text.<"}},
};

TEST(WordProcessor, DocumentsKeepWhatTheyShow) {
  if (std::system("command -v soffice > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "LibreOffice is not installed";
  }
  const test_support::TemporaryFolder folder;
  WriteRichText(folder.Path());
  for (const Document& document : kDocuments) {
    SCOPED_TRACE(document.name);
    PictureList pictures;
    const std::string rtf = test_support::ReadAll(folder.File(document.name + std::string(".rtf")));
    const rtf::HtmlResult result = rtf::RtfToHtml(rtf, 1252, pictures);
    const std::string& page = result.strHtml;
    EXPECT_EQ(html_balance::Fault(page), "");
    EXPECT_EQ(page.find("SECRET"), std::string::npos);
    std::size_t at = page.find("<body");
    for (const std::string& part : document.parts) {
      const std::size_t found = page.find(part, at);
      EXPECT_NE(found, std::string::npos) << part << "\nis not behind\n" << page.substr(0, at);
      if (found != std::string::npos) at = found + part.size();
    }
    const std::size_t images = document.name == std::string("pictures") ? 5 : 0;
    EXPECT_EQ(pictures.contents.size(), images);
    if (document.name == std::string("left-out")) {
      EXPECT_EQ(result.objNotes.Lines(),
                (std::vector<std::string>{"headers and footers left out (2)",
                                          "comments left out (1)", "hidden text left out (1)",
                                          "deleted text of a revision left out (1)"}));
    } else {
      EXPECT_EQ(result.objNotes.Lines(), std::vector<std::string>{});
    }
  }
}

}  // namespace

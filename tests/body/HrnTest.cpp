#include "body/Hrn.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "charset/LibraryNarrow.h"
#include "platform/NarrowText.h"
#include "platform/Paths.h"
#include "tests/pipeline/TempRunFolder.h"
#include "tests/support/FullDisk.h"

namespace {

const std::string kStart = "\xEF\xBB\xBF\n\n\n";
const std::string kPicture = "{\\pict\\pngblip 89504e47}";

class HrnFiles : public testing::Test {
 protected:
  HrnFiles() { mail::installLibraryNarrow(); }
  ~HrnFiles() override { platform::SetAnsiCodePage(1252); }

  void Rtf(const std::string& text) { folder.WriteWork("ch2111.rtf", text); }
  void Run() {
    Hrn converter;
    converter.SetInWebServer(false);
    converter.HrsSetFlags(1, 4);
    converter.HrsConvertFile(GetCurrPath() + u"ch2111.rtf", GetCurrPath() + u"HTMLFile.html", 2);
  }
  std::string Page() { return folder.ReadWork("HTMLFile.html"); }

  TempRunFolder folder;
};

TEST_F(HrnFiles, PageAndPicturesAreLaidOutAsTheirReadersLookForThem) {
  Rtf("{\\rtf1 caf\\'e9 " + kPicture + "\\par{\\pict\\jpegblip ffd8ff}}");
  Run();
  const std::string page = Page();
  EXPECT_EQ(page.substr(0, kStart.size() + 9), kStart + "<!DOCTYPE");
  EXPECT_NE(page.find("caf&#233; "), std::string::npos);
  // What the readers take off, and the name they look for behind it.
  const std::string link = "<img src=\"file://" + GetCurrPath().ToUtf8();
  const std::size_t first = page.find(link + "HTMLFile_1.png\"");
  ASSERT_NE(first, std::string::npos) << page;
  EXPECT_GT(page.find(link + "HTMLFile_2.jpg\""), first);
  EXPECT_EQ(folder.ReadWork("HTMLFile_1.png"), "\x89PNG");
  EXPECT_EQ(folder.ReadWork("HTMLFile_2.jpg"), "\xFF\xD8\xFF");
  EXPECT_EQ(page.find("charset"), std::string::npos);
}

TEST_F(HrnFiles, FolderStandsInTheLinkInTheAnsiPage) {
  const std::string name = "\xD0\xAF & y";  // a Cyrillic letter
  std::filesystem::create_directory(folder.Work(name));
  Rtf("{\\rtf1 " + kPicture + "}");
  platform::SetAnsiCodePage(1251);
  Hrn converter;
  const CString output = GetCurrPath() + CString::FromUtf8(name) + u"\\";
  converter.HrsConvertFile(GetCurrPath() + u"ch2111.rtf", output + u"HTMLFile.html", 2);
  const std::string page = folder.ReadWork(name + "/HTMLFile.html");
  EXPECT_NE(page.find("\xDF & y\\HTMLFile_1.png\""), std::string::npos) << page;
}

TEST_F(HrnFiles, OlderFilesGoFirstAlsoWhereTheConversionFails) {
  for (const char* name :
       {"HTMLFile_1.png", "HTMLFile_12.wmf", "htmlfile_2.JPG", "HTMLFile.html"}) {
    folder.WriteWork(name, "old");
  }
  const std::string others[] = {"HTMLFil_1.png",  "HTMLFile_",  "HTMLFile_1.docx",
                                "HTMLFile_a.png", "HTMLFile_1", "HTMLFile_01.png"};
  for (const std::string& name : others) folder.WriteWork(name, "another's");
  try {
    Run();  // there is no rich text
    FAIL();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), ENOENT);
  }
  for (const char* name :
       {"HTMLFile_1.png", "HTMLFile_12.wmf", "htmlfile_2.JPG", "HTMLFile.html"}) {
    EXPECT_FALSE(folder.HasWork(name)) << name;
  }
  for (const std::string& name : others) EXPECT_TRUE(folder.HasWork(name)) << name;
}

// A page that is cut would pass for the whole one.
TEST_F(HrnFiles, APageThatCannotBeWrittenWholeIsNotThere) {
  Rtf("{\\rtf1 " + std::string(100'000, 'a') + "}");
  {
    const test_support::FullDisk full(50'000);
    EXPECT_THROW(Run(), std::system_error);
  }
  EXPECT_FALSE(folder.HasWork("HTMLFile.html"));
}

TEST_F(HrnFiles, AFolderThatIsNotThereIsTold) {
  Rtf("{\\rtf1 a}");
  Hrn converter;
  const CString output = GetCurrPath() + u"missing\\HTMLFile.html";
  EXPECT_THROW(converter.HrsConvertFile(GetCurrPath() + u"ch2111.rtf", output, 2),
               std::system_error);
}

}  // namespace

#include <map>
#include <string>

#include <gmock/gmock.h>

#include "target/CExchangeProfiles.h"
#include "target/CExchangeServerInfo.h"

// The dialogs' logic over a view that keeps what it is told.
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct View : DialogView {
  void SetText(int control, const CString& text) override { texts[control] = text.ToUtf8(); }
  CString GetText(int control) override { return CString::FromUtf8(texts[control]); }
  void AddColumn(int list, const CString& title, int width) override {
    columns[list].push_back(title.ToUtf8() + " " + std::to_string(width));
  }
  void AddRow(int list, const std::vector<CString>& cells) override {
    rows[list].emplace_back();
    for (const CString& cell : cells) rows[list].back().push_back(cell.ToUtf8());
  }
  void RemoveRows(int list) override {
    rows[list].clear();
    marks.erase(list);
  }
  CString GetCell(int list, int row, int column) override {
    return CString::FromUtf8(rows[list].at(size_t(row)).at(size_t(column)));
  }
  void Select(int list, int row) override {
    if (row < static_cast<int>(rows[list].size())) marks[list] = row;
  }
  int GetSelectionMark(int list) override { return marks.contains(list) ? marks[list] : -1; }
  int HitLabel(int) override { return hit; }
  void EndDialog() override { ++ended; }

  std::map<int, std::string> texts;
  std::map<int, std::vector<std::string>> columns;
  std::map<int, std::vector<std::vector<std::string>>> rows;
  std::map<int, int> marks;
  int hit = -1;
  int ended = 0;
};

TEST(Dialogs, AProfileAndAStoreOfItAreChosen) {
  using P = CExchangeProfiles;
  View view;
  CStringArray profiles;
  profiles.Add(u"Ann");
  profiles.Add(u"Bob");
  int result = 0;
  CString asked;
  P dialog(view, profiles, [&](CString profile, CStringArray& stores, CStringArray& paths) {
    asked = profile;
    stores.Add(u"first");
    paths.Add(u"\\1.PST");
    stores.Add(u"second");
    paths.Add(u"\\2.PST");
    return result;
  });
  dialog.m_strPrompt = u"Which?";
  dialog.OnInitDialog();
  EXPECT_THAT(view.columns[P::kProfiles], ElementsAre("Exchange Profiles 200"));
  EXPECT_THAT(view.columns[P::kStores],
              ElementsAre("Exchange Profile Folders 200", "Exchange Profile File Path 250"));
  EXPECT_THAT(view.rows[P::kProfiles], ElementsAre(ElementsAre("Ann"), ElementsAre("Bob")));
  EXPECT_EQ(view.texts[P::kPrompt], "Which?");
  EXPECT_EQ(view.marks[P::kProfiles], 0);
  EXPECT_TRUE(profiles.IsEmpty());
  dialog.OnOK();  // a profile, and no store
  dialog.OnClickProfiles();
  EXPECT_EQ(asked, u"");  // beside the labels
  view.hit = 1;
  dialog.OnClickProfiles();
  EXPECT_EQ(asked, u"Bob");
  EXPECT_THAT(view.rows[P::kStores], IsEmpty());
  EXPECT_EQ(view.texts[P::kStatus], "Please wait while Exchange Stores are enumerating");
  dialog.OnOK();
  EXPECT_EQ(view.ended, 0);
  result = 1;
  dialog.OnClickProfiles();
  dialog.OnClickProfiles();  // no row twice
  EXPECT_THAT(view.rows[P::kStores],
              ElementsAre(ElementsAre("first", "\\1.PST"), ElementsAre("second", "\\2.PST")));
  EXPECT_EQ(view.texts[P::kStatus], "Enumeration Completed, now select exchange store");
  EXPECT_EQ(view.marks[P::kStores], 0);
  view.marks[P::kProfiles] = 1;
  view.marks[P::kStores] = 1;
  dialog.OnOK();
  EXPECT_EQ(view.ended, 1);
  EXPECT_EQ(dialog.m_strProfile + dialog.m_strStore + dialog.m_strFilePath, u"Bobsecond\\2.PST");
}

TEST(Dialogs, AServerNeedsItsNameAndAUser) {
  using S = CExchangeServerInfo;
  View view;
  S dialog(view);
  view.texts = {{S::kPassword, "secret"}, {S::kSecondUser, "b"}, {S::kComputer, "c"}};
  dialog.OnOK();
  view.texts[S::kServer] = "mail";
  dialog.OnOK();
  EXPECT_EQ(view.ended, 0);
  view.texts[S::kUser] = "ann";
  dialog.OnOK();
  EXPECT_EQ(view.ended, 1);
  EXPECT_EQ(dialog.m_strServer + dialog.m_strUser + dialog.m_strSecondUser + dialog.m_strPassword +
                dialog.m_strComputer,
            u"mailannbsecretc");
}

}  // namespace

#include "engine/Records.h"

#include <gtest/gtest.h>

namespace {

const struct {
  CString ST_LOGIN_INFO::*field;
  size_t offset;
  CString text;
} kTexts[] = {
    {&ST_LOGIN_INFO::strFirst, 0x0000, u"first"},
    {&ST_LOGIN_INFO::strLoginId, 0x0208, CString(u'l', 259)},
    {&ST_LOGIN_INFO::strLoginPassword, 0x0410, CString(u'p', 499)},
    {&ST_LOGIN_INFO::strFourth, 0x07F8, u"fourth"},
    {&ST_LOGIN_INFO::strFifth, 0x0BE0, u"fifth"},
    {&ST_LOGIN_INFO::strImpersonatedUserMail, 0x0FC8, u" a@example.com "},
    {&ST_LOGIN_INFO::strTargetType, 0x11D0, u"Public Folder"},
    {&ST_LOGIN_INFO::strTenantId, 0x13D8, u"tenant"},
    {&ST_LOGIN_INFO::strClientId, 0x15E0, u"client"},
    {&ST_LOGIN_INFO::strClientSecret, 0x17E8, CString(u'\xABCD', 259)},
};
const struct {
  std::uint8_t ST_LOGIN_INFO::*field;
  size_t offset;
} kBytes[] = {
    {&ST_LOGIN_INFO::bChangeViewOfCalender, 0x19F0},
    {&ST_LOGIN_INFO::bAllowDuplicates, 0x19F1},
    {&ST_LOGIN_INFO::bLogSwitch, 0x19F2},
    {&ST_LOGIN_INFO::iConnType, 0x19F3},
};

ST_LOGIN_INFO FullLogin() {
  ST_LOGIN_INFO login;
  for (const auto& row : kTexts) login.*row.field = row.text;
  std::uint8_t value = 0;
  for (const auto& row : kBytes) login.*row.field = ++value;
  return login;
}

bool StartsWith(const CString& whole, const CString& part) {
  return whole.Left(part.GetLength()) == part;
}

TEST(Records, LoginFieldsStandAtTheirOffsetsAndComeBack) {
  const auto bytes = BuildRecord(FullLogin());
  ASSERT_EQ(bytes.size(), 6644u);
  const ST_LOGIN_INFO login = ReadLoginRecord(bytes);
  for (const auto& row : kTexts) {
    EXPECT_EQ(login.*row.field, row.text);
    EXPECT_EQ(bytes[row.offset], row.text[0] & 0xFF) << row.offset;
  }
  std::uint8_t value = 0;
  for (const auto& row : kBytes) {
    EXPECT_EQ(bytes[row.offset], ++value);
    EXPECT_EQ(login.*row.field, value);
  }
}

TEST(Records, FieldsOfTheOthersStandAtTheirOffsets) {
  const auto item = BuildRecord(ST_ITEM_INFO{u"\\w\\", u"run.txt", -2});
  EXPECT_EQ(item.size(), 0x778u);
  EXPECT_EQ(item[0x0518], 'r');
  EXPECT_EQ(item[0x0774], 0xFE);
  EXPECT_EQ(BuildRecord(ST_FOLDER_INFO{u"A\\", 7})[0x2710], 7);
  const auto group = BuildRecord(ST_GROUP_INFO{u"t", u"c", u"s", 1});
  EXPECT_EQ(group[0x2712], 'c');
  EXPECT_EQ(group[0x4E24], 's');
  EXPECT_EQ(group[0x7536], 1);
}

TEST(Records, EveryShorterRecordReadsAsIfZerosFollowed) {
  const auto whole = BuildRecord(FullLogin());
  for (size_t length = 0; length <= whole.size(); ++length) {
    // A buffer of its own, so that a read behind its end is found by the sanitizers.
    const std::vector<unsigned char> cut(whole.begin(), whole.begin() + static_cast<long>(length));
    std::vector<unsigned char> padded = cut;
    padded.resize(whole.size());
    const ST_LOGIN_INFO a = ReadLoginRecord(cut);
    const ST_LOGIN_INFO b = ReadLoginRecord(padded);
    ASSERT_EQ(a.strClientSecret, b.strClientSecret) << length;
    ASSERT_EQ(a.strLoginId, b.strLoginId) << length;
    ASSERT_EQ(a.iConnType, b.iConnType) << length;
  }
  const auto item = BuildRecord(ST_ITEM_INFO{u"\\work\\", u"run.txt", 0x01020304});
  for (size_t length = 0; length <= item.size(); ++length) {
    const ST_ITEM_INFO read = ReadItemRecord({item.data(), length});
    ASSERT_TRUE(StartsWith(u"\\work\\", read.strFilePath)) << length;
    const std::int32_t mask = length >= 0x778   ? -1
                              : length <= 0x774 ? 0
                                                : (1 << (8 * (length - 0x774))) - 1;
    ASSERT_EQ(read.nFlag, 0x01020304 & mask) << length;
  }
}

TEST(Records, StringWithoutTerminatorEndsAtItsSlot) {
  const std::vector<unsigned char> ones(kGroupRecordSize, 0x41);
  const ST_LOGIN_INFO login = ReadLoginRecord(ones);
  EXPECT_EQ(login.strLoginId.GetLength(), 260);
  EXPECT_EQ(login.strLoginPassword.GetLength(), 500);
  EXPECT_EQ(ReadFolderRecord(ones).strFolder.GetLength(), 5000);
  EXPECT_EQ(ReadItemRecord(ones).strFilePath.GetLength(), 652);
  EXPECT_EQ(ReadItemRecord(ones).strLogFilepath.GetLength(), 302);
  EXPECT_EQ(ReadGroupRecord(ones).strTenantId.GetLength(), 259);
  EXPECT_EQ(ReadImageRecord(ones).GetLength(), 5000);
}

TEST(Records, BuildingCutsToTheSlotLessItsTerminator) {
  ST_FOLDER_INFO folder{CString(u'x', 6000), -1};
  EXPECT_EQ(ReadFolderRecord(BuildRecord(folder)).strFolder.GetLength(), 4999);
  EXPECT_EQ(ReadFolderRecord(BuildRecord(folder)).nType, -1);
}

}  // namespace

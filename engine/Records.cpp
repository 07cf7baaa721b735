#include "engine/Records.h"

#include <algorithm>
#include <array>
#include <string>

namespace {

// Offsets and slots of one record; a slot of n bytes holds n/2 units with the terminator.
struct Slot {
  size_t nOffset;
  size_t nBytes;
};

struct LoginText {
  CString ST_LOGIN_INFO::*pText;
  Slot objSlot;
};
constexpr auto kLoginTexts = std::to_array<LoginText>({
    {&ST_LOGIN_INFO::strFirst, {0x0000, 520}},
    {&ST_LOGIN_INFO::strLoginId, {0x0208, 520}},
    {&ST_LOGIN_INFO::strLoginPassword, {0x0410, 1000}},
    {&ST_LOGIN_INFO::strFourth, {0x07F8, 1000}},
    {&ST_LOGIN_INFO::strFifth, {0x0BE0, 1000}},
    {&ST_LOGIN_INFO::strImpersonatedUserMail, {0x0FC8, 520}},
    {&ST_LOGIN_INFO::strTargetType, {0x11D0, 520}},
    {&ST_LOGIN_INFO::strTenantId, {0x13D8, 520}},
    {&ST_LOGIN_INFO::strClientId, {0x15E0, 520}},
    {&ST_LOGIN_INFO::strClientSecret, {0x17E8, 520}},
});

struct LoginByte {
  std::uint8_t ST_LOGIN_INFO::*pByte;
  size_t nOffset;
};
constexpr auto kLoginBytes = std::to_array<LoginByte>({
    {&ST_LOGIN_INFO::bChangeViewOfCalender, 0x19F0},
    {&ST_LOGIN_INFO::bAllowDuplicates, 0x19F1},
    {&ST_LOGIN_INFO::bLogSwitch, 0x19F2},
    {&ST_LOGIN_INFO::iConnType, 0x19F3},
});
static_assert(kLoginBytes.back().nOffset + 1 == kLoginRecordSize);

constexpr Slot kFolder{0x0000, 10000};
constexpr size_t kFolderType = 0x2710;
static_assert(kFolderType + 4 == kFolderRecordSize);

constexpr Slot kFilePath{0x0000, 1304};
constexpr Slot kLogFilepath{0x0518, 604};
constexpr size_t kFlag = 0x0774;
static_assert(kFlag + 4 == kItemRecordSize);

constexpr Slot kGroupTenantId{0x0000, 10002};
constexpr Slot kGroupClientId{0x2712, 10002};
constexpr Slot kGroupClientSecret{0x4E24, 10002};
constexpr size_t kUnifiedGroups = 0x7536;
static_assert(kUnifiedGroups + 1 == kGroupRecordSize);

constexpr Slot kImagePath{0x0000, kImageRecordSize};

using Bytes = std::span<const unsigned char>;

std::uint8_t ByteAt(Bytes objBytes, size_t nOffset) {
  return nOffset < objBytes.size() ? objBytes[nOffset] : 0;
}

std::int32_t IntAt(Bytes objBytes, size_t nOffset) {
  std::uint32_t n = 0;
  for (size_t i = 0; i < 4; ++i) n |= std::uint32_t{ByteAt(objBytes, nOffset + i)} << (8 * i);
  return static_cast<std::int32_t>(n);
}

CString StringAt(Bytes objBytes, Slot objSlot) {
  std::u16string str;
  for (size_t n = objSlot.nOffset; n + 1 < objSlot.nOffset + objSlot.nBytes; n += 2) {
    if (n >= objBytes.size()) break;
    const auto ch = static_cast<char16_t>(objBytes[n] | (unsigned{ByteAt(objBytes, n + 1)} << 8));
    if (ch == 0) break;
    str += ch;
  }
  return str;
}

void PutString(std::vector<unsigned char>& arr, Slot objSlot, const CString& str) {
  const size_t nUnits = std::min(static_cast<size_t>(str.GetLength()), objSlot.nBytes / 2 - 1);
  for (size_t i = 0; i < nUnits; ++i) {
    const unsigned ch = str.View()[i];
    arr[objSlot.nOffset + 2 * i] = static_cast<unsigned char>(ch & 0xFF);
    arr[objSlot.nOffset + 2 * i + 1] = static_cast<unsigned char>(ch >> 8);
  }
}

void PutInt(std::vector<unsigned char>& arr, size_t nOffset, std::int32_t nValue) {
  for (size_t i = 0; i < 4; ++i) {
    arr[nOffset + i] =
        static_cast<unsigned char>(static_cast<std::uint32_t>(nValue) >> (8 * i) & 0xFF);
  }
}

}  // namespace

ST_LOGIN_INFO ReadLoginRecord(Bytes objBytes) {
  ST_LOGIN_INFO objInfo;
  for (const auto& [pText, objSlot] : kLoginTexts) objInfo.*pText = StringAt(objBytes, objSlot);
  for (const auto& [pByte, nOffset] : kLoginBytes) objInfo.*pByte = ByteAt(objBytes, nOffset);
  return objInfo;
}

ST_FOLDER_INFO ReadFolderRecord(Bytes objBytes) {
  return {StringAt(objBytes, kFolder), IntAt(objBytes, kFolderType)};
}

ST_ITEM_INFO ReadItemRecord(Bytes objBytes) {
  return {StringAt(objBytes, kFilePath), StringAt(objBytes, kLogFilepath), IntAt(objBytes, kFlag)};
}

ST_GROUP_INFO ReadGroupRecord(Bytes objBytes) {
  return {StringAt(objBytes, kGroupTenantId).Left(kGroupStringUnits),
          StringAt(objBytes, kGroupClientId).Left(kGroupStringUnits),
          StringAt(objBytes, kGroupClientSecret).Left(kGroupStringUnits),
          ByteAt(objBytes, kUnifiedGroups)};
}

CString ReadImageRecord(Bytes objBytes) {
  return StringAt(objBytes, kImagePath).Left(static_cast<int>(kImageRecordSize / 2 - 1));
}

std::vector<unsigned char> BuildRecord(const ST_LOGIN_INFO& objInfo) {
  std::vector<unsigned char> arr(kLoginRecordSize);
  for (const auto& [pText, objSlot] : kLoginTexts) PutString(arr, objSlot, objInfo.*pText);
  for (const auto& [pByte, nOffset] : kLoginBytes) arr[nOffset] = objInfo.*pByte;
  return arr;
}

std::vector<unsigned char> BuildRecord(const ST_FOLDER_INFO& objInfo) {
  std::vector<unsigned char> arr(kFolderRecordSize);
  PutString(arr, kFolder, objInfo.strFolder);
  PutInt(arr, kFolderType, objInfo.nType);
  return arr;
}

std::vector<unsigned char> BuildRecord(const ST_ITEM_INFO& objInfo) {
  std::vector<unsigned char> arr(kItemRecordSize);
  PutString(arr, kFilePath, objInfo.strFilePath);
  PutString(arr, kLogFilepath, objInfo.strLogFilepath);
  PutInt(arr, kFlag, objInfo.nFlag);
  return arr;
}

std::vector<unsigned char> BuildRecord(const ST_GROUP_INFO& objInfo) {
  std::vector<unsigned char> arr(kGroupRecordSize);
  PutString(arr, kGroupTenantId, objInfo.strTenantId);
  PutString(arr, kGroupClientId, objInfo.strClientId);
  PutString(arr, kGroupClientSecret, objInfo.strClientSecret);
  arr[kUnifiedGroups] = objInfo.bUnifiedGroups;
  return arr;
}

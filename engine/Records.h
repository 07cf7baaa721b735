#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/CString.h"

// The records of the command protocol, shared by the engine and whoever drives it. On the wire they
// have fixed offsets: strings are UTF-16 little-endian in slots, ended by a zero unit, and integers
// are little-endian. There is no version field and no signature.
//
// Reading is bounded: a record shorter than its layout reads as if the missing bytes were zero, and
// a string without a terminator ends at its slot. Building cuts a string to its slot less one unit.
// docs/protocol.md has the layouts as tables.

enum : std::uint32_t {
  MSG_LOGIN_OUTLOOK = 0x0464,
  MSG_CREATE_FOLDER = 0x0465,
  MSG_INSERT_ITEM = 0x0466,
  MSG_IMAGE_OUTLOOK = 0x0467,
  MSG_CREATE_NEW_FOLDER = 0x0468,
  MSG_CHECK_ARCHIVE = 0x0469,
  MSG_CLOSE_LEDGER = 0x046E,
  MSG_ENUM_GRP_LIST = 0x05C4,
};

// From the engine to the driving program, in the middle of a logon.
enum : std::uint32_t {
  MSG_LOGIN_SUCCESS = 1,
  MSG_LOGIN_FAILURE = 2,
};

inline constexpr size_t kLoginRecordSize = 0x19F4;   // bytes
inline constexpr size_t kFolderRecordSize = 0x2714;  // bytes, exactly
inline constexpr size_t kItemRecordSize = 0x0778;    // bytes
inline constexpr size_t kGroupRecordSize = 0x7537;   // bytes
inline constexpr size_t kImageRecordSize = 10002;    // bytes: 5000 units and their terminator
inline constexpr int kGroupStringUnits = 259;        // longest string taken from ST_GROUP_INFO

inline constexpr std::uint8_t kTokenRoute = 1;  // iConnType; anything else is the password route

struct ST_LOGIN_INFO {
  CString strFirst;  // copied, never read
  CString strLoginId;
  CString strLoginPassword;
  CString strFourth;  // copied, never read
  CString strFifth;   // copied, never read
  CString strImpersonatedUserMail;
  CString strTargetType;  // "Mailbox", "Archive Mailbox", "Public Folder" or "Group"
  CString strTenantId;
  CString strClientId;
  CString strClientSecret;
  std::uint8_t bChangeViewOfCalender = 0;
  std::uint8_t bAllowDuplicates = 0;  // not 0 turns the duplicate check on
  std::uint8_t bLogSwitch = 0;        // 1 sends this logon's trace to "3LogFile.txt"
  std::uint8_t iConnType = 0;
};

struct ST_FOLDER_INFO {
  CString strFolder;  // each level ended by a backslash
  std::int32_t nType = 0;
};

struct ST_ITEM_INFO {
  CString strFilePath;     // work folder of the item, with a trailing backslash
  CString strLogFilepath;  // the run's status log, relative to the program folder
  std::int32_t nFlag = 0;
};

struct ST_GROUP_INFO {
  CString strTenantId;
  CString strClientId;
  CString strClientSecret;
  std::uint8_t bUnifiedGroups = 0;
};

ST_LOGIN_INFO ReadLoginRecord(std::span<const unsigned char> objBytes);
ST_FOLDER_INFO ReadFolderRecord(std::span<const unsigned char> objBytes);
ST_ITEM_INFO ReadItemRecord(std::span<const unsigned char> objBytes);
ST_GROUP_INFO ReadGroupRecord(std::span<const unsigned char> objBytes);
CString ReadImageRecord(std::span<const unsigned char> objBytes);  // at most 5000 units

std::vector<unsigned char> BuildRecord(const ST_LOGIN_INFO& objInfo);
std::vector<unsigned char> BuildRecord(const ST_FOLDER_INFO& objInfo);
std::vector<unsigned char> BuildRecord(const ST_ITEM_INFO& objInfo);
std::vector<unsigned char> BuildRecord(const ST_GROUP_INFO& objInfo);

#include "pipeline/ItemProps.h"

#include <array>
#include <string>

#include "ews/FindItems.h"
#include "ews/Item.h"
#include "pipeline/PropValues.h"
#include "platform/Files.h"

namespace {

using ews::ExtendedPropertyDefinition;
using ews::MapiPropertyType;
using nlohmann::json;

constexpr int kMaxDepth = 5;  // of the JSON; its own needs 4

constexpr int kMessageDeliveryTime = 0x0E06;
constexpr int kClientSubmitTime = 0x0039;
constexpr int kMessageFlags = 0x0E07;
constexpr int kFlagStatus = 0x1090;
constexpr int kLastVerb = 0x1081;
constexpr int kIconIndex = 0x1080;

constexpr std::int32_t kReadAndUnsent = 1 | 8;
constexpr std::int32_t kFlagged = 2;

// What the mailbox has of a mail that was answered or passed on; nothing of any other.
struct Reply {
  std::optional<std::int32_t> nVerb = {};
  std::optional<std::int32_t> nIcon = {};
  std::optional<std::int32_t> nEarlier = {};  // the verb before, of which the mailbox has no note
  bool operator==(const Reply&) const = default;
};
constexpr Reply kReplied{102, 0x105};
constexpr Reply kForwarded{104, 0x106};
constexpr Reply kBoth{104, 0x106, 102};

struct FlagName {
  std::string_view strName;
  bool ItemProps::*pFlag;
};
constexpr std::array<FlagName, 4> kFlags{{
    {"answered", &ItemProps::bAnswered},
    {"forwarded", &ItemProps::bForwarded},
    {"flagged", &ItemProps::bFlagged},
    {"draft", &ItemProps::bDraft},
}};

bool TakeFlag(const json& objValue, ItemProps& objProps) {
  if (!objValue.is_string()) return false;
  for (const FlagName& objFlag : kFlags) {
    if (objValue.get_ref<const std::string&>() != objFlag.strName) continue;
    objProps.*objFlag.pFlag = true;
    return true;
  }
  return false;
}

bool TakeCategory(const json& objValue, ItemProps& objProps) {
  auto strCategory = PropText(objValue);
  if (!strCategory) return false;
  objProps.arrCategories.push_back(std::move(*strCategory));
  return true;
}

bool TakeKey(const json& objValue, ItemProps& objProps) {
  objProps.strKey = PropText(objValue).value_or(CString());
  return !objProps.strKey.IsEmpty();
}

template <std::optional<ews::UtcTime> ItemProps::*pTime>
bool TakeTime(const json& objValue, ItemProps& objProps) {
  objProps.*pTime = PropMoment(objValue);
  return (objProps.*pTime).has_value();
}

// Each entry of an array by itself. False where one was left out, or for what is no array.
template <bool (*fnTakeOne)(const json&, ItemProps&)>
bool TakeEach(const json& objValue, ItemProps& objProps) {
  if (!objValue.is_array()) return false;
  bool bAll = true;
  for (const json& objEntry : objValue) bAll = fnTakeOne(objEntry, objProps) && bAll;
  return bAll;
}

bool TakeSensitivity(const json& objValue, ItemProps& objProps) {
  using enum ews::Sensitivity;
  objProps.eSensitivity = PropChoice(objValue, std::array{Normal, Personal, Private, Confidential});
  return objProps.eSensitivity.has_value();
}

constexpr std::array<PropMember<ItemProps>, 6> kMembers{{
    {"key", &TakeKey},
    {"received", &TakeTime<&ItemProps::objReceived>},
    {"sent", &TakeTime<&ItemProps::objSent>},
    {"flags", &TakeEach<&TakeFlag>},
    {"categories", &TakeEach<&TakeCategory>},
    {"sensitivity", &TakeSensitivity},
}};

void Note(std::vector<CString>& arrNotes, const char16_t* pszText) {
  arrNotes.push_back(CString(kItemPropsFile) + u" " + pszText);
}

ExtendedPropertyDefinition IntegerOf(int nTag) { return {nTag, MapiPropertyType::Integer}; }

// A property of our own, number 1 of a set of our own.
ExtendedPropertyDefinition EarlierVerb() {
  return {u"7d1f6b0c-52ae-4c8d-9a41-5e0b6c2f8a17", 1, MapiPropertyType::Integer};
}

void SetInteger(ews::Item& objItem, int nTag, std::int32_t nValue) {
  objItem.SetExtendedProperty(IntegerOf(nTag), nValue);
}

Reply ReplyOf(const ItemProps& objProps) {
  if (objProps.bForwarded) return objProps.bAnswered ? kBoth : kForwarded;
  return objProps.bAnswered ? kReplied : Reply{};
}

void SetTime(ews::Item& objItem, int nTag, const std::optional<ews::UtcTime>& objTime) {
  if (!objTime) return;
  objItem.SetExtendedProperty(ExtendedPropertyDefinition(nTag, MapiPropertyType::SystemTime),
                              *objTime);
}

}  // namespace

ItemProps ReadItemProps(const CString& strPath, std::vector<CString>& arrNotes) {
  auto objFile = platform::File::Open(strPath, platform::OpenMode::kRead);
  if (!objFile) {
    Note(arrNotes, platform::PathExists(strPath) ? u"cannot be read" : u"is not there");
    return {};
  }
  const std::uint64_t nLength = objFile->Length();
  if (nLength > kMaxItemPropsBytes) {
    Note(arrNotes, u"is too large");
    return {};
  }
  std::string strJson(static_cast<size_t>(nLength), '\0');
  auto* pBytes = reinterpret_cast<unsigned char*>(strJson.data());
  strJson.resize(objFile->Read({pBytes, strJson.size()}));
  return ParseItemProps(strJson, arrNotes);
}

ItemProps ParseItemProps(std::string_view strJson, std::vector<CString>& arrNotes) {
  const auto IsShallow = [](int nDepth, json::parse_event_t, json&) { return nDepth <= kMaxDepth; };
  json objJson = json::parse(strJson, IsShallow, /*allow_exceptions=*/false);
  ItemProps objProps;
  if (!objJson.is_object()) {
    Note(arrNotes, u"is no JSON object");
    return objProps;
  }
  TakeProps(kMembers, objJson, objProps, arrNotes);
  objProps.objJson = std::move(objJson);
  return objProps;
}

void ApplyItemProps(const ItemProps& objProps, ews::Item& objItem) {
  if (!objProps.strKey.IsEmpty()) {
    objItem.SetExtendedProperty(ews::ItemKeyProperty(), objProps.strKey);
  }
  SetTime(objItem, kMessageDeliveryTime, objProps.objReceived);
  SetTime(objItem, kClientSubmitTime, objProps.objSent);
  if (const Reply objReply = ReplyOf(objProps); objReply.nVerb) {
    SetInteger(objItem, kLastVerb, *objReply.nVerb);
    SetInteger(objItem, kIconIndex, *objReply.nIcon);
    if (objReply.nEarlier) objItem.SetExtendedProperty(EarlierVerb(), *objReply.nEarlier);
  }
  if (objProps.bFlagged) SetInteger(objItem, kFlagStatus, kFlagged);
  if (objProps.bDraft) SetInteger(objItem, kMessageFlags, kReadAndUnsent);
  if (objProps.eSensitivity) objItem.SetSensitivity(*objProps.eSensitivity);
  if (!objProps.arrCategories.empty()) objItem.SetCategories(objProps.arrCategories);
}

ews::MailChanges ChangesOfState(const ItemProps& objBefore, const ItemProps& objNow) {
  ews::MailChanges objChanges;
  const Reply objReply = ReplyOf(objNow);
  const Reply objReplyBefore = ReplyOf(objBefore);
  if (objReplyBefore != objReply) {
    objChanges.arrProperties.push_back({IntegerOf(kLastVerb), objReply.nVerb});
    objChanges.arrProperties.push_back({IntegerOf(kIconIndex), objReply.nIcon});
  }
  if (objReplyBefore.nEarlier != objReply.nEarlier) {
    objChanges.arrProperties.push_back({EarlierVerb(), objReply.nEarlier});
  }
  if (objBefore.bFlagged != objNow.bFlagged) {
    const std::optional<std::int32_t> nStatus =
        objNow.bFlagged ? std::optional(kFlagged) : std::nullopt;
    objChanges.arrProperties.push_back({IntegerOf(kFlagStatus), nStatus});
  }
  if (objBefore.arrCategories != objNow.arrCategories) {
    objChanges.arrCategories = objNow.arrCategories;
  }
  return objChanges;
}

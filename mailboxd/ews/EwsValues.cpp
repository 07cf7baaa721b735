#include "mailboxd/ews/EwsValues.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsFieldTable.h"
#include "mailboxd/store/DateTime.h"
#include "platform/Base64.h"

namespace mailbox::schema {
namespace {

bool IsInt(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  return mail::wholeNumber<int>(text).has_value();
}

bool IsTag(std::string_view text) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  const auto value = mail::wholeNumber<unsigned>(text, hex ? 16 : 10);
  return value && *value <= 0xFFFF;
}

bool IsGuid(std::string_view text) {
  if (text.size() != 36) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? text[i] != '-' : !std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  return true;
}

bool IsDouble(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

// A day without a time, in a zone or not: "2024-03-11+01:00".
bool IsDate(std::string_view text) {
  constexpr size_t kDay = 10;
  if (text.size() < kDay || text.find('.') != std::string_view::npos) return false;
  return ReadDateTime(
             std::string(text.substr(0, kDay)).append("T00:00:00").append(text.substr(kDay)))
      .has_value();
}

bool AreChoices(const Kind& kind, std::string_view text) {
  bool any = false;
  for (text = mail::trimmed(text); !text.empty(); text = mail::trimmed(text)) {
    const std::string_view word = text.substr(0, text.find_first_of(" \t\r\n"));
    if (std::ranges::find(kind.choices, word) == kind.choices.end()) return false;
    text.remove_prefix(word.size());
    any = true;
  }
  return any;
}

}  // namespace

std::string WhyNot(const Kind& kind, std::string_view text) {
  switch (kind.value) {
    case Value::kNone:
    case Value::kString:
    case Value::kBase64:
      return "";
    case Value::kNonEmpty:
      return text.empty() ? "The actual length is less than the MinLength value." : "";
    case Value::kBoolean: {
      const std::string_view word = mail::trimmed(text);
      if (word == "true" || word == "false" || word == "1" || word == "0") return "";
      return "The string '" + std::string(text) + "' is not a valid Boolean value.";
    }
    case Value::kInt:
      if (IsInt(mail::trimmed(text))) return "";
      return "The string '" + std::string(text) + "' is not a valid Int32 value.";
    case Value::kDateTime:
      if (ReadDateTime(mail::trimmed(text))) return "";
      return "The string '" + std::string(text) + "' is not a valid DateTime value.";
    case Value::kChoiceList:
      return AreChoices(kind, text) ? "" : "The Enumeration constraint failed.";
    case Value::kBinary: {
      std::string bytes;
      if (platform::Base64Decode(text, bytes)) return "";
      return "The string is not a valid Base64Binary value.";
    }
    case Value::kDate:
      if (IsDate(mail::trimmed(text))) return "";
      return "The string '" + std::string(text) + "' is not a valid Date value.";
    case Value::kDouble:
      if (IsDouble(mail::trimmed(text))) return "";
      return "The string '" + std::string(text) + "' is not a valid Double value.";
    case Value::kLong:
      if (mail::wholeNumber<long long>(mail::trimmed(text))) return "";
      return "The string '" + std::string(text) + "' is not a valid Int64 value.";
    case Value::kTag:
      return IsTag(text) ? "" : "The Pattern constraint failed.";
    case Value::kGuid:
      return IsGuid(text) ? "" : "The Pattern constraint failed.";
    case Value::kField:
      return IsFieldUri(text) ? "" : "The Enumeration constraint failed.";
    case Value::kChoices:
      if (std::find(kind.choices.begin(), kind.choices.end(), text) != kind.choices.end())
        return "";
      return "The Enumeration constraint failed.";
  }
  return "";
}

std::string DataTypeName(const Kind& kind) {
  switch (kind.value) {
    case Value::kString:
    case Value::kBoolean:
    case Value::kInt:
    case Value::kDateTime:
    case Value::kBase64:
    case Value::kBinary:
    case Value::kDate:
    case Value::kDouble:
    case Value::kLong:
      return "http://www.w3.org/2001/XMLSchema:" + std::string(kind.name);
    default:
      return std::string(kTypesSpace) + ":" + std::string(kind.name);
  }
}

}  // namespace mailbox::schema

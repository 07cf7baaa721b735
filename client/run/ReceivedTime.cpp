#include "client/run/ReceivedTime.h"

#include <string>

#include "mime/MailHeader.h"
#include "mime/header/MailDate.h"

namespace client {
namespace {

constexpr std::int64_t kFirst = 315532800;  // 1980-01-01

// Behind the last semicolon: comments in front may hold some.
std::optional<std::int64_t> DateOfReceived(const std::string& field) {
  const std::size_t semicolon = field.rfind(';');
  if (semicolon == std::string::npos) return std::nullopt;
  return mail::parseMailDate(field.substr(semicolon + 1));
}

}  // namespace

std::optional<std::int64_t> ReceivedTime(const mail::MailHeader& header,
                                         std::optional<std::int64_t> ofStore, std::int64_t now) {
  const auto counts = [now](std::optional<std::int64_t> time) {
    return time && *time >= kFirst && *time <= now;
  };
  if (const auto time = DateOfReceived(header.text("Received")); counts(time)) return time;
  if (counts(ofStore)) return ofStore;
  if (const auto time = mail::parseMailDate(header.text("Date")); counts(time)) return time;
  return std::nullopt;
}

}  // namespace client

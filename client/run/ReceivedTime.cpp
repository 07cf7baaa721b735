#include "client/run/ReceivedTime.h"

#include <algorithm>
#include <string_view>

#include "client/sources/MailState.h"
#include "mime/MailHeader.h"
#include "mime/header/MailDate.h"

namespace client {
namespace {

// Behind the last semicolon: comments in front may hold some.
std::optional<std::int64_t> DateOfReceived(std::string_view field) {
  const std::size_t semicolon = field.rfind(';');
  if (semicolon == std::string_view::npos) return std::nullopt;
  return mail::parseMailDate(field.substr(semicolon + 1));
}

// No mail goes through so many servers.
std::optional<std::int64_t> TopmostReceived(const mail::MimeHeader& header) {
  constexpr std::size_t kMostFields = 1000;
  const std::size_t count = std::min(header.getCount(), kMostFields);
  for (std::size_t i = 0; i < count; ++i) {
    const mail::MimeField& field = *header.at(i);
    if (!field.name().equalsIgnoreCase("Received")) continue;
    if (const auto time = DateOfReceived(field.value().view())) return time;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::int64_t> ReceivedTime(const mail::MailHeader& header,
                                         std::optional<std::int64_t> ofStore, std::int64_t now) {
  const auto counts = [now](std::optional<std::int64_t> time) {
    return time && *time >= kFirstTime && *time <= now;
  };
  if (const auto time = TopmostReceived(header.fields()); counts(time)) return time;
  if (counts(ofStore)) return ofStore;
  if (const auto time = mail::parseMailDate(header.text("Date")); counts(time)) return time;
  return std::nullopt;
}

}  // namespace client

#include "client/sources/MailState.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/Names.h"

namespace client {
namespace {

// What people see for the keywords of tags that come with a program.
struct Label {
  std::string_view keyword;
  std::string_view name;
};
constexpr std::array<Label, 10> kLabels{{
    {"$label1", "Important"},
    {"$label2", "Work"},
    {"$label3", "Personal"},
    {"$label4", "To Do"},
    {"$label5", "Later"},
    {"$Labelimportant", "Important"},
    {"$Labelwork", "Work"},
    {"$Labelpersonal", "Personal"},
    {"$Labeltodo", "To Do"},
    {"$Labellater", "Later"},
}};

// Keywords by which programs remember what they did.
constexpr std::array<std::string_view, 13> kOfPrograms{
    "$MDNSent",   "$NotJunk",       "NotJunk",          "NonJunk",
    "$Junk",      "Junk",           "$HasAttachment",   "$Phishing",
    "$Submitted", "$SubmitPending", "$HasNoAttachment", "$IsMailingList",
    "Old"};

constexpr std::array<std::string_view, 2> kForwarded{"$Forwarded", "Forwarded"};

template <std::size_t kCount>
bool Holds(const std::array<std::string_view, kCount>& names, std::string_view name) {
  return std::ranges::any_of(names,
                             [&](std::string_view each) { return mail::equalsNoCase(each, name); });
}

}  // namespace

void AddKeyword(std::string_view keyword, MailState& state) {
  if (keyword.empty() || Holds(kOfPrograms, keyword)) return;
  if (Holds(kForwarded, keyword)) {
    state.forwarded = true;
    return;
  }
  const auto label = std::ranges::find_if(
      kLabels, [&](const Label& each) { return mail::equalsNoCase(each.keyword, keyword); });
  std::string name = label == kLabels.end() ? WithoutForbiddenControls(FromModifiedUtf7(keyword))
                                            : std::string(label->name);
  if (name.empty() || std::ranges::find(state.categories, name) != state.categories.end()) return;
  state.categories.push_back(std::move(name));
}

}  // namespace client

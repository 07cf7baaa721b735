#include <algorithm>
#include <array>
#include <iostream>
#include <span>
#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "base/AsciiText.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/run/ItemWriter.h"
#include "client/show/JsonText.h"
#include "client/show/OutputText.h"
#include "client/sources/PreparedItem.h"
#include "client/sources/Source.h"
#include "pipeline/BodySource.h"
#include "pipeline/TaggedBody.h"

namespace client {
namespace {

// "2024-03-31T13:05:00" in local time; null for a date that is not set or could not be read.
nlohmann::json DateAsJson(const COleDateTime& date) {
  if (date.GetStatus() == COleDateTime::invalid || date.Value() == 0.0) return nullptr;
  return date.Format(u"%Y-%m-%dT%H:%M:%S").ToUtf8();
}

nlohmann::ordered_json ItemAsJson(const ST_EML_INFO& info) {
  return {{"type", ItemTypeName(info.nItemType)},
          {"importance", CString(info.strImportance).Trim().ToUtf8()},
          {"importance_counts",
           info.strImportance == u"1" || info.strImportance == u"2" || info.strImportance == u"3"},
          {"created", DateAsJson(info.dtCreationDate)},
          {"created_readable", info.dtCreationDate.GetStatus() == COleDateTime::valid},
          {"read", info.bRead},
          {"from", info.strFrom.ToUtf8()},
          {"to", info.strTo.ToUtf8()},
          {"cc", info.strCc.ToUtf8()},
          {"bcc", info.strBcc.ToUtf8()},
          {"subject", info.strSubject.ToUtf8()},
          {"message_id", info.strMessageId.ToUtf8()},
          {"start", DateAsJson(info.dtStartDate)},
          {"end", DateAsJson(info.dtEndDate)},
          {"due", DateAsJson(info.dtDueDate)},
          {"location", info.strLocation.ToUtf8()},
          {"category", info.strCategory.ToUtf8()},
          {"priority", info.strTaskPriority.ToUtf8()},
          {"recurrence", info.strRecurrence.ToUtf8()},
          {"task_extra", info.strTaskExtra.ToUtf8()},
          {"contact_folder", info.strContactFolder.ToUtf8()},
          {"contact_info", {info.strContactInfo1.ToUtf8(), info.strContactInfo2.ToUtf8()}},
          {"list_name", info.strListName.ToUtf8()},
          {"list_members", info.strGroup.ToUtf8()},
          {"list_owner", info.strListOwner.ToUtf8()},
          {"list_description", info.strListDescription.ToUtf8()},
          {"body", info.strBody.ToUtf8()}};
}

struct Route {
  BodySource source;
  const char* name;
  const char* why;
};
constexpr std::array kMailRoutes = std::to_array<Route>({
    {BodySource::kNone, "no body", "none of the files is there that a body comes from"},
    {BodySource::kImagePage, "image page", "a page around an image goes before every other body"},
    {BodySource::kMime, "whole mail", "it goes as it is, with the attachments in it"},
    {BodySource::kRichText, "rich text",
     "there is no whole mail: it becomes a page, and the page a mail with its pictures"},
    {BodySource::kText, "plain text",
     "there is neither a whole mail nor rich text; an empty one gives way to the last page"},
    {BodySource::kLastPage, "last page", "there is no other body"},
});
constexpr std::array kRecordRoutes = std::to_array<Route>({
    {BodySource::kNone, "no body",
     "none of the files is there that say in which form the descriptor's body goes"},
    {BodySource::kRichText, "rich text", "it becomes a page with its pictures attached"},
    {BodySource::kText, "plain text",
     "there is no rich text: the file says that the descriptor's body goes as text"},
    {BodySource::kPage, "page",
     "neither rich text nor the mark of a text is there: the file says that the descriptor's body "
     "goes as HTML"},
});
constexpr std::array kContactRoutes = std::to_array<Route>({
    {BodySource::kNone, "no body", "there is neither a file for it nor a tagged field Comments"},
    {BodySource::kRichText, "rich text", "it becomes a page with its pictures attached"},
    {BodySource::kText, "plain text",
     "there is no rich text: the file's text stands above the tagged field Comments"},
    {BodySource::kPage, "page",
     "there is neither rich text nor a text: the file's page stands above the tagged field "
     "Comments"},
});
constexpr Route kComments = {BodySource::kNone, "tagged field",
                             "no file is there that stands above the tagged field Comments"};

bool HasComments(const ST_EML_INFO& info) {
  return std::ranges::any_of(TaggedBody(info.strBody).Items(), [](const TaggedBody::Item& item) {
    return item.strLabel == u"Comments" && !item.strValue.empty();
  });
}

std::string FileName(const BodyFile& file) {
  std::string name = CString(file.pszFile).ToUtf8();
  return name.starts_with('\\') ? name.substr(1) : name;
}

// Where the body of an item will come from, and which other bodies stay behind; null for a list of
// people, whose description is no choice.
nlohmann::ordered_json RouteAsJson(const ST_EML_INFO& info, const PreparedFiles& files) {
  const bool isMail = info.nItemType == TYPE_EMAIL;
  const bool isContact = info.nItemType == TYPE_CONTACT;
  if (info.nItemType == TYPE_DIST_LIST) return nullptr;
  const auto isThere = [&](const std::string& name) {
    const auto is = [&](const std::string& other) { return mail::equalsNoCase(other, name); };
    return std::ranges::any_of(files.files, is) || std::ranges::any_of(files.folders, is);
  };
  const bool madePage = isMail && WantsImagePage(files);
  BodySource taken = BodySource::kNone;
  nlohmann::ordered_json file = nullptr;
  nlohmann::ordered_json others = nlohmann::ordered_json::array();
  for (const BodyFile& row : isMail ? std::span<const BodyFile>(kBodyFiles) : kOtherBodyFiles) {
    const bool made = madePage && row.eSource == BodySource::kImagePage;
    if (!made && !isThere(FileName(row))) continue;
    if (taken == BodySource::kNone) {
      taken = row.eSource;
      file = FileName(row);
    } else {
      others.push_back(FileName(row));
    }
  }
  const std::span<const Route> routes = isMail      ? std::span<const Route>(kMailRoutes)
                                        : isContact ? std::span<const Route>(kContactRoutes)
                                                    : std::span<const Route>(kRecordRoutes);
  const bool isField = isContact && taken == BodySource::kNone && HasComments(info);
  const Route& route = isField ? kComments : *std::ranges::find(routes, taken, &Route::source);
  std::string why = route.why;
  if (madePage) why += "; ImageAttchment.txt asks for it";
  return {{"route", route.name}, {"file", file}, {"why", why}, {"not_used", others}};
}

}  // namespace

int RunItem(const Arguments& arguments) {
  std::string folder;
  CLI::App app(
      "Shows what the engine reads from the descriptor of a prepared item, and where its "
      "body will come from, as JSON.",
      "tarny item");
  app.add_option("DIR", folder, "The item's folder, which holds 11comtextjj.t")->required();
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  try {
    RequireReadable(folder + "/" + std::string(kDescriptorName));
    const ST_EML_INFO info = ReadPreparedItem(folder);
    const PreparedFiles files = ListPreparedFiles(folder);
    nlohmann::ordered_json item = ItemAsJson(info);
    item["body_route"] = RouteAsJson(info, files);
    item["files"] = files.files;
    std::cout << JsonText(item);
    return kExitDone;
  } catch (const SourceError& error) {
    std::cerr << fmt::format("tarny item: {}: {}\n", OneLine(folder), error.what());
    return kExitFailed;
  }
}

}  // namespace client

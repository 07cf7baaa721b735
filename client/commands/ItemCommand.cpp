#include <algorithm>
#include <array>
#include <iostream>
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
constexpr std::array<Route, 6> kRoutes = {{
    {BodySource::kNone, "no body", "none of the files is there that a body comes from"},
    {BodySource::kImagePage, "image page", "a page around an image goes before every other body"},
    {BodySource::kMime, "whole mail", "it goes as it is, with the attachments in it"},
    {BodySource::kRichText, "rich text",
     "there is no whole mail: it becomes a page, and the page a mail with its pictures"},
    {BodySource::kText, "plain text",
     "there is neither a whole mail nor rich text; an empty one gives way to the last page"},
    {BodySource::kLastPage, "last page", "there is no other body"},
}};

std::string FileName(const BodyFile& file) {
  std::string name = CString(file.pszFile).ToUtf8();
  return name.starts_with('\\') ? name.substr(1) : name;
}

// Where the body of a mail will come from, and which other bodies stay behind.
nlohmann::ordered_json RouteAsJson(const PreparedFiles& files) {
  const auto isThere = [&](const std::string& name) {
    const auto is = [&](const std::string& other) { return mail::equalsNoCase(other, name); };
    return std::ranges::any_of(files.files, is) || std::ranges::any_of(files.folders, is);
  };
  const bool madePage = WantsImagePage(files);
  BodySource taken = BodySource::kNone;
  nlohmann::ordered_json file = nullptr;
  nlohmann::ordered_json others = nlohmann::ordered_json::array();
  for (const BodyFile& row : kBodyFiles) {
    const bool made = madePage && row.eSource == BodySource::kImagePage;
    if (!made && !isThere(FileName(row))) continue;
    if (taken == BodySource::kNone) {
      taken = row.eSource;
      file = FileName(row);
    } else {
      others.push_back(FileName(row));
    }
  }
  const Route& route = *std::ranges::find(kRoutes, taken, &Route::source);
  std::string why = route.why;
  if (madePage) why += "; ImageAttchment.txt asks for it";
  return {{"route", route.name}, {"file", file}, {"why", why}, {"not_used", others}};
}

}  // namespace

int RunItem(const Arguments& arguments) {
  std::string folder;
  CLI::App app(
      "Shows what the engine reads from the descriptor of a prepared item, and which of its files "
      "a mail's body will come from, as JSON.",
      "tarny item");
  app.add_option("DIR", folder, "The item's folder, which holds 11comtextjj.t")->required();
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  try {
    RequireReadable(folder + "/" + std::string(kDescriptorName));
    const ST_EML_INFO info = ReadPreparedItem(folder);
    const PreparedFiles files = ListPreparedFiles(folder);
    nlohmann::ordered_json item = ItemAsJson(info);
    if (info.nItemType == TYPE_EMAIL) item["body_route"] = RouteAsJson(files);
    item["files"] = files.files;
    std::cout << JsonText(item);
    return kExitDone;
  } catch (const SourceError& error) {
    std::cerr << fmt::format("tarny item: {}: {}\n", OneLine(folder), error.what());
    return kExitFailed;
  }
}

}  // namespace client

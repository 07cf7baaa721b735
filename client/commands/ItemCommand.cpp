#include <iostream>

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/run/ItemWriter.h"
#include "client/show/JsonText.h"
#include "client/show/OutputText.h"
#include "client/sources/PreparedItem.h"
#include "client/sources/Source.h"

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

}  // namespace

int RunItem(const Arguments& arguments) {
  std::string folder;
  CLI::App app("Shows what the engine reads from the descriptor of a prepared item, as JSON.",
               "tarny item");
  app.add_option("DIR", folder, "The item's folder, which holds 11comtextjj.t")->required();
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  try {
    RequireReadable(folder + "/" + std::string(kDescriptorName));
    nlohmann::ordered_json item = ItemAsJson(ReadPreparedItem(folder));
    item["files"] = ListPreparedFiles(folder).files;
    std::cout << JsonText(item);
    return kExitDone;
  } catch (const SourceError& error) {
    std::cerr << fmt::format("tarny item: {}: {}\n", OneLine(folder), error.what());
    return kExitFailed;
  }
}

}  // namespace client

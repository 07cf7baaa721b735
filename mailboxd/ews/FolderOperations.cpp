#include <algorithm>
#include <array>
#include <string>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/Operations.h"
#include "mailboxd/ews/Restriction.h"
#include "platform/Unicode.h"

namespace mailbox {
namespace {

struct FolderElement {
  std::string_view element;
  std::string_view folderClass;
  bool countsUnread;
};
// The last row is what any other class is shown as.
constexpr std::array<FolderElement, 4> kElements = {{
    {"CalendarFolder", "IPF.Appointment", false},
    {"ContactsFolder", "IPF.Contact", false},
    {"TasksFolder", "IPF.Task", true},
    {"Folder", "IPF.Note", true},
}};

const FolderElement& ElementOf(std::string_view folderClass) {
  for (const FolderElement& row : kElements) {
    if (folderClass.starts_with(row.folderClass)) return row;
  }
  return kElements.back();
}

// FolderShape: whether more than the id is asked for, and which paths by name.
struct FolderShape {
  explicit FolderShape(pugi::xml_node node) : m_full(ChildText(node, "BaseShape") != "IdOnly") {
    m_paths = Child(node, "AdditionalProperties");
    CheckLength(m_paths, kMostPaths);
  }
  bool Wants(std::string_view path) const {
    if (m_full) return true;
    for (auto field = FirstElement(m_paths); field; field = NextElement(field)) {
      if (Attribute(field, "FieldURI") == path) return true;
    }
    return false;
  }

 private:
  bool m_full;
  pugi::xml_node m_paths;
};

void WriteFolder(const FolderInfo& folder, const FolderShape& shape, EwsResponse& response) {
  const FolderElement& row = ElementOf(folder.folderClass);
  const std::string name = "t:" + std::string(row.element);
  response.Open(name);
  response.Empty("t:FolderId", IdAttributes(IdKind::kFolder, folder.id, folder.version));
  if (folder.parent != 0 && shape.Wants("folder:ParentFolderId")) {
    response.Empty("t:ParentFolderId", IdAttributes(IdKind::kFolder, folder.parent, 1));
  }
  if (!folder.folderClass.empty() && shape.Wants("folder:FolderClass")) {
    response.Element("t:FolderClass", folder.folderClass);
  }
  if (shape.Wants("folder:DisplayName")) response.Element("t:DisplayName", folder.name);
  if (shape.Wants("folder:TotalCount")) response.Number("t:TotalCount", folder.total);
  if (shape.Wants("folder:ChildFolderCount")) {
    response.Number("t:ChildFolderCount", folder.children);
  }
  if (row.countsUnread && shape.Wants("folder:UnreadCount")) {
    response.Number("t:UnreadCount", folder.unread);
  }
  response.Close(name);
}

// Only names and classes can be searched for.
std::optional<FieldValue> ReadField(const FolderInfo& folder, pugi::xml_node path) {
  const std::string_view field = Attribute(path, "FieldURI");
  if (field == "folder:DisplayName") return FieldValue::Text(folder.name);
  if (field == "folder:FolderClass") return FieldValue::Text(folder.folderClass);
  throw ErrorOf("ErrorUnsupportedPathForQuery");
}

void FindBelow(const Context& context, pugi::xml_node request, pugi::xml_node parent,
               EwsResponse& response) {
  const FolderInfo root = ResolveFolder(context, parent);
  std::vector<FolderInfo> found =
      context.store.ChildFolders(root.id, Attribute(request, "Traversal") == "Deep");
  CheckRestriction(Child(request, "Restriction"));
  if (const pugi::xml_node filter = FirstElement(Child(request, "Restriction"))) {
    std::erase_if(found, [&](const FolderInfo& folder) {
      return !Matches(filter, [&](pugi::xml_node path) { return ReadField(folder, path); });
    });
  }
  const auto total = static_cast<std::int64_t>(found.size());
  const Page page = ReadPage(Child(request, "IndexedPageFolderView"), total);
  const FolderShape shape(Child(request, "FolderShape"));
  response.BeginSuccess();
  response.Open("m:RootFolder", PageAttributes(page, total));
  response.Open("t:Folders");
  for (auto i = static_cast<size_t>(page.first); i < static_cast<size_t>(page.end); ++i) {
    WriteFolder(found[i], shape, response);
  }
  response.Close("t:Folders");
  response.Close("m:RootFolder");
  response.EndMessage();
}

std::string_view ReadName(pugi::xml_node folder) {
  constexpr size_t kLongestName = 255;  // units
  const std::string_view name = ChildText(folder, "DisplayName");
  if (!name.empty() && platform::Utf8ToUtf16(name).size() <= kLongestName) return name;
  OperationError error = ErrorOf("ErrorFolderSavePropertyError");
  error.messageXml = "<t:FieldURI FieldURI=\"folder:DisplayName\"/>";
  throw error;
}

void CreateOne(const Context& context, pugi::xml_node parentId, pugi::xml_node node,
               EwsResponse& response) {
  const FolderInfo parent = ResolveFolder(context, parentId);
  const std::string_view name = ReadName(node);
  const std::string_view element = LocalName(node);
  const auto row = std::find_if(kElements.begin(), kElements.end(),
                                [&](const FolderElement& r) { return r.element == element; });
  if (row == kElements.end()) throw ErrorOf("ErrorInvalidOperation");
  const std::string_view asked = ChildText(node, "FolderClass");
  const auto folder =
      context.store.CreateFolder(parent, name, asked.empty() ? row->folderClass : asked);
  if (!folder) throw ErrorOf("ErrorFolderExists");
  response.Success("m:Folders", [&] {
    const std::string tag = "t:" + std::string(element);
    response.Open(tag);
    response.Empty("t:FolderId", IdAttributes(IdKind::kFolder, folder->id, folder->version));
    response.Close(tag);
  });
}

}  // namespace

void FindFolder(const Context& context, pugi::xml_node request, EwsResponse& response) {
  AnswerEach(context, Child(request, "ParentFolderIds"), "", response,
             [&](pugi::xml_node parent) { FindBelow(context, request, parent, response); });
}

void GetFolder(const Context& context, pugi::xml_node request, EwsResponse& response) {
  const FolderShape shape(Child(request, "FolderShape"));
  AnswerEach(context, Child(request, "FolderIds"), "Folders", response, [&](pugi::xml_node id) {
    const FolderInfo folder = ResolveFolder(context, id);
    response.Success("m:Folders", [&] { WriteFolder(folder, shape, response); });
  });
}

void CreateFolder(const Context& context, pugi::xml_node request, EwsResponse& response) {
  const pugi::xml_node parent = FirstElement(Child(request, "ParentFolderId"));
  AnswerEach(context, Child(request, "Folders"), "Folders", response,
             [&](pugi::xml_node node) { CreateOne(context, parent, node, response); });
}

}  // namespace mailbox

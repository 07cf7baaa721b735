#pragma once

#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsResponse.h"
#include "mailboxd/ews/Faults.h"
#include "mailboxd/store/Ids.h"
#include "mailboxd/store/Store.h"

namespace mailbox {

// What an operation works with.
struct Context {
  Store& store;
  Faults& faults;
  std::string mailbox;                  // the address that the request acts for
  std::int64_t maximumMessageSize = 0;  // bytes
  std::string_view operation = {};      // "FindFolder"; ….
  std::string zone = {};                // that its dates are meant in, as Windows names it
};

// Whether there is an operation of that name.
bool IsOperation(std::string_view name);

// What a log may tell of a request.
struct RequestNote {
  std::string operation;
  std::string mailbox;
};

// Answers one SOAP request; the body is parsed in place. The note gets what is known of it, even
// when it fails. Throws SoapFault.
std::string Answer(std::string& body, const Context& base, RequestNote* note = nullptr);

// Each writes the response messages of its request.
void FindFolder(const Context& context, pugi::xml_node request, EwsResponse& response);
void GetFolder(const Context& context, pugi::xml_node request, EwsResponse& response);
void CreateFolder(const Context& context, pugi::xml_node request, EwsResponse& response);
void CreateItem(const Context& context, pugi::xml_node request, EwsResponse& response);
void GetItem(const Context& context, pugi::xml_node request, EwsResponse& response);
void FindItem(const Context& context, pugi::xml_node request, EwsResponse& response);
void UpdateItem(const Context& context, pugi::xml_node request, EwsResponse& response);
void DeleteItem(const Context& context, pugi::xml_node request, EwsResponse& response);
void MoveItem(const Context& context, pugi::xml_node request, EwsResponse& response);
void CreateAttachment(const Context& context, pugi::xml_node request, EwsResponse& response);
void GetAttachment(const Context& context, pugi::xml_node request, EwsResponse& response);

// So many elements of a request at most are answered one by one, and so many paths may be asked for
// of each. Throws SoapFault for a list of more.
inline constexpr size_t kMostElements = 100000;
inline constexpr size_t kMostPaths = 1000;
void CheckLength(pugi::xml_node list, size_t most);

// Throws OperationError where nothing is to be done: an error was ordered, or the answer has no
// room left to tell of it.
void CheckMayWork(const Context& context, const EwsResponse& response);

// Does the work for each element of a list, one response message each; one that fails gets its
// error there, beside an empty `emptyResult` (EwsResponse::Error).
template <typename Work>
void AnswerEach(const Context& context, pugi::xml_node list, std::string_view emptyResult,
                EwsResponse& response, Work work) {
  CheckLength(list, kMostElements);
  for (auto one = FirstElement(list); one; one = NextElement(one)) {
    const size_t begin = response.Size();
    try {
      CheckMayWork(context, response);
      work(one);
    } catch (const OperationError& error) {
      response.CutTo(begin);
      response.Error(error, emptyResult);
    }
  }
}

// The folder that a FolderId or DistinguishedFolderId element means. Throws OperationError.
FolderInfo ResolveFolder(const Context& context, pugi::xml_node id);
// The row of an id text; throws OperationError for a text that is none, or of another kind.
std::int64_t ResolveId(std::string_view text, IdKind kind);
// The attributes Id and ChangeKey.
std::string IdAttributes(IdKind kind, std::int64_t row, std::int64_t version);

// A page of a list of `total`: the first index and the end. It has kMostRows at most, whatever the
// view says, and so has what is asked for without a view. Throws OperationError for a page that
// cannot be.
inline constexpr std::int64_t kMostRows = 1000;
struct Page {
  std::int64_t first = 0;
  std::int64_t end = 0;
  std::int64_t Size() const { return end - first; }
};
Page ReadPage(pugi::xml_node view, std::int64_t total);
std::string PageAttributes(const Page& page, std::int64_t total);

// "t:FileAttachment", or "t:ItemAttachment" for an item.
std::string AttachmentTag(const AttachmentInfo& attachment);
// Writes a FileAttachment element, or an ItemAttachment for a mail, open for its content. Details
// that are empty are left out.
void OpenAttachment(std::string_view id, const AttachmentInfo& attachment, EwsResponse& response);
void CloseAttachment(const AttachmentInfo& attachment, EwsResponse& response);
// Reads a FileAttachment or ItemAttachment element. Throws SoapFault for content that is no base64,
// OperationError for an item that cannot be.
NewAttachment ReadAttachment(pugi::xml_node node);

}  // namespace mailbox

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mailboxd/ews/EwsFailure.h"

namespace mailbox {

// Writes the answer to one request. Texts are escaped; what XML cannot hold becomes U+FFFD. What is
// written beyond kLargest throws ErrorDataSizeLimitExceeded, but for errors, which are small.
class EwsResponse {
 public:
  static constexpr size_t kLargest = 256ull * 1024 * 1024;  // bytes

  // `operation`: "FindFolder", ….
  explicit EwsResponse(std::string_view operation);

  // One response message. `emptyResult` is the element that stands empty beside an error: "Items",
  // "Folders", "Attachments" or "".
  void BeginSuccess();
  void EndMessage();
  // A whole message of success: `write` adds what stands in its list, "m:Items" and the like.
  template <typename Write>
  void Success(std::string_view list, Write write) {
    BeginSuccess();
    Open(list);
    write();
    Close(list);
    EndMessage();
  }
  void Error(const OperationError& error, std::string_view emptyResult);
  // How far it is written, and back to there from the middle of a message.
  size_t Size() const { return m_out.size(); }
  void CutTo(size_t size) { m_out.resize(size); }

  // Qualified names: "t:Subject". Open takes attributes as they stand, already escaped.
  void Open(std::string_view name, std::string_view attributes = "");
  void Close(std::string_view name);
  void Empty(std::string_view name, std::string_view attributes = "");
  void Element(std::string_view name, std::string_view text);
  void Text(std::string_view text);
  void Boolean(std::string_view name, bool value);
  void Number(std::string_view name, std::int64_t value);
  void Raw(std::string_view xml) { Put(xml); }  // escaped already
  // Bytes as base64, written straight into the answer.
  void Base64(std::string_view bytes);

  std::string Finish();

 private:
  void MakeRoom(size_t size) const;
  void Put(std::string_view xml);

  std::string m_message;  // "m:FindFolderResponseMessage"
  std::string m_response;
  std::string m_out;
};

std::string EscapeXml(std::string_view text);
// An element of a text, which is escaped.
std::string XmlElement(std::string_view name, std::string_view text);
// ` Name="value"`, escaped.
std::string XmlAttribute(std::string_view name, std::string_view value);
// The envelope of a fault, sent with HTTP 500.
std::string WriteFault(const SoapFault& fault);

}  // namespace mailbox

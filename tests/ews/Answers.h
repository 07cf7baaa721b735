#pragma once

#include <string>
#include <utility>
#include <vector>

// Answers of a mailbox server, as small as they can be.
namespace answers {

inline std::string Envelope(const std::string& body) {
  return "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body>" + body +
         "</s:Body></s:Envelope>";
}

// name: "CreateItem" and the like.
inline std::string Success(const std::string& name, const std::string& content) {
  return Envelope(
      "<m:" + name + "Response xmlns:m=\"m\" xmlns:t=\"t\"><m:ResponseMessages><m:" + name +
      "ResponseMessage ResponseClass=\"Success\">" + "<m:ResponseCode>NoError</m:ResponseCode>" +
      content + "</m:" + name + "ResponseMessage></m:ResponseMessages></m:" + name + "Response>");
}

inline std::string Error(const std::string& name, const std::string& code,
                         const std::string& text) {
  return Envelope("<m:" + name + "Response xmlns:m=\"m\"><m:ResponseMessages><m:" + name +
                  "ResponseMessage ResponseClass=\"Error\"><m:MessageText>" + text +
                  "</m:MessageText><m:ResponseCode>" + code + "</m:ResponseCode></m:" + name +
                  "ResponseMessage></m:ResponseMessages></m:" + name + "Response>");
}

// A fault of a busy server, with the time in milliseconds that it asks for, if any.
inline std::string Busy(const std::string& time) {
  const std::string value = "<t:Value Name=\"BackOffMilliseconds\">" + time + "</t:Value>";
  return Envelope(
      "<s:Fault><faultcode>a:ErrorServerBusy</faultcode><faultstring>Busy.</faultstring><detail>"
      "<e:ResponseCode>ErrorServerBusy</e:ResponseCode>" +
      (time.empty() ? "" : "<t:MessageXml>" + value + "</t:MessageXml>") + "</detail></s:Fault>");
}

inline std::string Item(const std::string& id, const std::string& more = {}) {
  return Success("CreateItem", "<m:Items><t:Message><t:ItemId Id=\"" + id + "\" ChangeKey=\"C\"/>" +
                                   more + "</t:Message></m:Items>");
}

inline std::string NewFolder(const std::string& id) {
  return Success("CreateFolder",
                 "<m:Folders><t:Folder><t:FolderId Id=\"" + id + "\"/></t:Folder></m:Folders>");
}

// One found folder for each pair of id and name.
inline std::string Found(const std::vector<std::pair<std::string, std::string>>& folders) {
  std::string content =
      "<m:RootFolder TotalItemsInView=\"" + std::to_string(folders.size()) + "\"><t:Folders>";
  for (const auto& [id, name] : folders) {
    content += "<t:Folder><t:FolderId Id=\"" + id + "\"/><t:DisplayName>" + name +
               "</t:DisplayName></t:Folder>";
  }
  return Success("FindFolder", content + "</t:Folders></m:RootFolder>");
}

// Found items as they stand, with more attributes of their root.
inline std::string FoundItems(const std::string& items, const std::string& attributes = {}) {
  return Success("FindItem", "<m:RootFolder TotalItemsInView=\"9\"" + attributes + "><t:Items>" +
                                 items + "</t:Items></m:RootFolder>");
}

inline std::string Updated(const std::string& id) {
  return Success("UpdateItem", "<m:Items><t:CalendarItem><t:ItemId Id=\"" + id +
                                   "\" ChangeKey=\"C2\"/></t:CalendarItem></m:Items>");
}

inline std::string Token(const std::string& token, const std::string& seconds = "3600") {
  return R"({"token_type":"Bearer","access_token":")" + token + R"(","expires_in":)" + seconds +
         "}";
}

// Autodiscovery: an account of that content, and one whose endpoint it is.
inline std::string Account(const std::string& content) {
  return "<Autodiscover><Response><Account>" + content + "</Account></Response></Autodiscover>";
}
inline std::string Endpoint(const std::string& url) {
  return Account("<Action>settings</Action><Protocol><Type>EXPR</Type><EwsUrl>" + url +
                 "</EwsUrl></Protocol>");
}

}  // namespace answers

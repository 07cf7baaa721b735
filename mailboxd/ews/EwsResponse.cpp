#include "mailboxd/ews/EwsResponse.h"

#include <algorithm>

#include "platform/Base64.h"
#include "platform/Unicode.h"

namespace mailbox {
namespace {

constexpr std::string_view kBegin =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
    "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\">";
constexpr std::string_view kHeader =
    "<s:Header><h:ServerVersionInfo"
    " xmlns:h=\"http://schemas.microsoft.com/exchange/services/2006/types\""
    " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" MajorVersion=\"15\" MinorVersion=\"1\""
    " MajorBuildNumber=\"2507\" MinorBuildNumber=\"6\" Version=\"V2017_07_11\"/></s:Header>";
constexpr std::string_view kBody =
    "<s:Body xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\">";
constexpr std::string_view kSpaces =
    " xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\""
    " xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

void Escape(std::string_view text, std::string& out) {
  for (const char c : text) {
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '&':
        out += "&amp;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\r':
        out += "&#xD;";
        break;
      case '\t':
      case '\n':
        out += c;
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          out += kReplacement;
        } else {
          out += c;
        }
    }
  }
}

}  // namespace

std::string EscapeXml(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  if (platform::IsValidUtf8(text)) {
    Escape(text, out);
  } else {
    Escape(platform::Utf16ToUtf8(platform::Utf8ToUtf16(text)), out);
  }
  return out;
}

std::string XmlElement(std::string_view name, std::string_view text) {
  const std::string tag(name);
  return "<" + tag + ">" + EscapeXml(text) + "</" + tag + ">";
}

std::string XmlAttribute(std::string_view name, std::string_view value) {
  return " " + std::string(name) + "=\"" + EscapeXml(value) + "\"";
}

EwsResponse::EwsResponse(std::string_view operation)
    : m_message("m:" + std::string(operation) + "ResponseMessage"),
      m_response("m:" + std::string(operation) + "Response") {
  m_out.append(kBegin).append(kHeader).append(kBody);
  Open(m_response, kSpaces);
  Open("m:ResponseMessages");
}

void EwsResponse::BeginSuccess() {
  Open(m_message, " ResponseClass=\"Success\"");
  Element("m:ResponseCode", "NoError");
}

void EwsResponse::EndMessage() { Close(m_message); }

void EwsResponse::Error(const OperationError& error, std::string_view emptyResult) {
  m_out += "<" + m_message + " ResponseClass=\"Error\">";
  m_out += XmlElement("m:MessageText", error.text) + XmlElement("m:ResponseCode", error.code) +
           XmlElement("m:DescriptiveLinkKey", "0");
  // What the client wrote, and knows.
  constexpr size_t kLongestDetail = 1000;
  if (!error.messageXml.empty() && error.messageXml.size() <= kLongestDetail) {
    m_out += "<m:MessageXml>" + error.messageXml + "</m:MessageXml>";
  }
  if (!emptyResult.empty()) m_out += "<m:" + std::string(emptyResult) + "/>";
  m_out += "</" + m_message + ">";
}

void EwsResponse::MakeRoom(size_t size) const {
  if (size > kLargest - std::min(m_out.size(), kLargest)) {
    throw ErrorOf("ErrorDataSizeLimitExceeded");
  }
}
void EwsResponse::Put(std::string_view xml) {
  MakeRoom(xml.size());
  m_out += xml;
}

void EwsResponse::Open(std::string_view name, std::string_view attributes) {
  Put("<");
  Put(name);
  Put(attributes);
  Put(">");
}
void EwsResponse::Close(std::string_view name) {
  Put("</");
  Put(name);
  Put(">");
}
void EwsResponse::Empty(std::string_view name, std::string_view attributes) {
  Put("<");
  Put(name);
  Put(attributes);
  Put("/>");
}
void EwsResponse::Element(std::string_view name, std::string_view text) {
  Open(name);
  Text(text);
  Close(name);
}
void EwsResponse::Text(std::string_view text) {
  MakeRoom(text.size());
  if (!platform::IsValidUtf8(text)) {
    return Text(platform::Utf16ToUtf8(platform::Utf8ToUtf16(text)));
  }
  // Escaped it may be several times as long, which must not be found out at its end.
  constexpr size_t kPiece = 64 * 1024;
  for (; !text.empty(); text.remove_prefix(std::min(kPiece, text.size()))) {
    MakeRoom(0);
    Escape(text.substr(0, kPiece), m_out);
  }
}
void EwsResponse::Boolean(std::string_view name, bool value) {
  Element(name, value ? "true" : "false");
}
void EwsResponse::Number(std::string_view name, std::int64_t value) {
  Element(name, std::to_string(value));
}

void EwsResponse::Base64(std::string_view bytes) {
  const size_t before = m_out.size();
  MakeRoom(platform::Base64Length(bytes.size()));
  m_out.resize(before + platform::Base64Length(bytes.size()));
  platform::Base64Encode({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()},
                         m_out.data() + before);
}

std::string EwsResponse::Finish() {
  m_out += "</m:ResponseMessages></" + m_response + "></s:Body></s:Envelope>";
  return std::move(m_out);
}

std::string WriteFault(const SoapFault& fault) {
  const std::string errors =
      " xmlns:e=\"http://schemas.microsoft.com/exchange/services/2006/errors\"";
  std::string out(kBegin);
  out +=
      "<s:Body><s:Fault><faultcode"
      " xmlns:a=\"http://schemas.microsoft.com/exchange/services/2006/types\">a:";
  out += EscapeXml(fault.code) + "</faultcode><faultstring xml:lang=\"en-US\">";
  out += EscapeXml(fault.faultText) + "</faultstring><detail><e:ResponseCode" + errors + ">";
  out += EscapeXml(fault.code) + "</e:ResponseCode><e:Message" + errors + ">";
  out += EscapeXml(fault.message) + "</e:Message>";
  if (!fault.messageXml.empty()) {
    out += "<t:MessageXml xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\">";
    out += fault.messageXml + "</t:MessageXml>";
  }
  return out + "</detail></s:Fault></s:Body></s:Envelope>";
}

}  // namespace mailbox

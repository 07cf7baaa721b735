#include "client/show/MimeJson.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/LogNull.h"
#include "client/show/MimePlace.h"
#include "mime/header/CkContentType.h"
#include "mime/header/ParameterList.h"
#include "platform/Sha256.h"

namespace client {
namespace {

using nlohmann::ordered_json;

std::string Text(const mail::StringBuffer& buffer) { return std::string(buffer.view()); }

ordered_json Parameters(const mail::MimeHeader& header) {
  mail::LogNull log;
  ordered_json result = ordered_json::object();
  const mail::MimeField* const field = header.find("content-type");
  if (field == nullptr) return result;
  for (mail::MimeParameter& parameter : mail::parametersOf(field->value().view(), log)) {
    result[parameter.strName] = std::move(parameter.strValue);
  }
  return result;
}

ordered_json Headers(const mail::MimeHeader& header) {
  ordered_json result = ordered_json::array();
  for (std::size_t n = 0; n < header.getCount(); ++n) {
    result.push_back({Text(header.at(n)->name()), Text(header.at(n)->value())});
  }
  return result;
}

}  // namespace

// The depth of a tree, and of this recursion, is bounded by MimeMessage2::kMaxDepth.
ordered_json MimeJson(const mail::MimeMessage2& entity, const std::string& place,
                      const MimeNotes* notes) {
  mail::LogNull log;
  mail::_ckContentType type;
  entity.getContentType(type, log);
  mail::StringBuffer fileName;
  entity.getFileName(fileName, log);

  ordered_json result;
  result["path"] = place;
  result["type"] = Text(entity.contentType());
  result["params"] = Parameters(entity.header());
  result["charset"] = Text(entity.charset().getName());
  result["code_page"] = entity.charset().getCodePage();
  result["encoding"] = Text(entity.encoding());
  result["disposition"] = Text(entity.disposition());
  result["filename"] = Text(fileName);
  result["name"] = Text(type.m_name);
  result["size"] = entity.body().getSize();
  result["sha256"] = platform::Sha256Hex(entity.body().view());
  result["headers"] = Headers(entity.header());
  if (entity.isUndivided()) result["undivided"] = true;
  if (notes != nullptr) {
    const std::vector<std::string> texts = notes->Of(entity);
    if (!texts.empty()) result["notes"] = texts;
  }
  result["parts"] = ordered_json::array();
  for (std::size_t n = 0; n < entity.partCount(); ++n) {
    result["parts"].push_back(MimeJson(*entity.part(n), ChildPlace(place, n), notes));
  }
  return result;
}

}  // namespace client

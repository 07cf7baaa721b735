#include "client/run/Utf16Mail.h"

#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/CodePages.h"
#include "mime/header/CkContentType.h"
#include "mime/tree/MimeInput.h"
#include "mime/tree/MimeWriting.h"

namespace client {
namespace {

bool IsEncoded(const mail::MimeMessage2& entity) {
  return entity.encoding().equalsIgnoreCase("base64") ||
         entity.encoding().equalsIgnoreCase("quoted-printable");
}

bool NeedsLabel(const mail::MimeMessage2& entity) {
  const mail::StringBuffer& type = entity.contentType();
  const bool text = type.isEmpty() || type.beginsWith("text/");
  if (!text || entity.partCount() > 0 || IsEncoded(entity)) return false;
  mail::LogNull log;
  mail::_ckContentType named;  // a file has no charset otherwise
  entity.getContentType(named, log);
  const int page = named.m_charset.getCodePage();
  return mail::code_page::isWide(static_cast<unsigned>(page)) ||  // as no mail can be
         !mail::byte_search::is7bit(entity.body().view());
}

}  // namespace

std::string LabelledUtf8Mail(std::string text) {
  mail::LogNull log;
  mail::MimeMessage2 root;
  if (!mail::loadMimeInput(root, text, log, {.bUtf8 = true})) return text;
  for (mail::MimeMessage2* entity : mail::entitiesOf(root)) {
    if (!NeedsLabel(*entity)) continue;
    entity->setCharset("utf-8", log);
    entity->setEncoding("8bit", log);
  }
  mail::DataBuffer bytes;
  root.getMimeBytes(bytes, log);
  return std::string(bytes.view());
}

}  // namespace client

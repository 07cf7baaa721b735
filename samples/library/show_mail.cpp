#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/AsciiText.h"
#include "charset/LibraryNarrow.h"
#include "mime/CkMime.h"
#include "mime/MailHeader.h"

// Shows a mail by the library alone: its subject, its plain text, and what else it carries.
//
//   show_mail FILE [FOLDER]
//
// With a folder, what is no text is saved there, named by its number in the mail. CkMime is the
// tree of a mail, MailHeader reads the header of any entity of it.
namespace {

using Entity = std::unique_ptr<CkMime>;

// The entity with its header, as it would travel.
std::string BytesOf(CkMime& entity) {
  CkByteData bytes;
  if (!entity.GetMimeBytes(bytes) || bytes.getSize() == 0) return {};
  return {reinterpret_cast<const char*>(bytes.getData()), bytes.getSize()};
}

// The entities without parts, in the order of the mail. No function calls itself here: how deep a
// mail is nested is its writer's choice.
std::vector<Entity> LeavesOf(Entity root) {
  std::vector<Entity> leaves;
  std::vector<Entity> waiting;
  waiting.push_back(std::move(root));
  while (!waiting.empty()) {
    Entity entity = std::move(waiting.back());
    waiting.pop_back();
    std::vector<Entity> parts;
    while (Entity part{entity->GetPart(static_cast<int>(parts.size()))}) {
      parts.push_back(std::move(part));
    }
    if (parts.empty()) leaves.push_back(std::move(entity));
    for (; !parts.empty(); parts.pop_back()) waiting.push_back(std::move(parts.back()));
  }
  return leaves;
}

// What a field says before its parameters, in lower case.
std::string FirstWord(const std::string& value) {
  std::string word(mail::trimmed(value.substr(0, value.find(';'))));
  for (char& c : word) c = mail::toLowerAscii(c);
  return word;
}

// An entity without a type is plain text, too.
bool IsPlainText(const mail::MailHeader& header) {
  const std::string type = FirstWord(header.text("Content-Type"));
  return (type.empty() || type == "text/plain") &&
         FirstWord(header.text("Content-Disposition")) != "attachment";
}

// The tree writes its text in the charset and the encoding that the header asks for; so the text
// comes out as UTF-8 when its header is made to ask for that.
std::string TextOf(CkMime& entity) {
  entity.SetHeaderField("Content-Type", "text/plain; charset=utf-8");
  entity.SetHeaderField("Content-Transfer-Encoding", "8bit");
  const std::string bytes = BytesOf(entity);
  const std::size_t end = bytes.find("\r\n\r\n");
  return end == std::string::npos ? std::string() : bytes.substr(end + 4);
}

// For people: its type, and what its header says of its use and name.
std::string Description(const mail::MailHeader& header) {
  const std::string disposition = header.text("Content-Disposition");
  return header.text("Content-Type") + (disposition.empty() ? "" : " (" + disposition + ")");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::cerr << "usage: show_mail FILE [FOLDER]\n";
    return 2;
  }
  mail::installLibraryNarrow();
  auto mail = std::make_unique<CkMime>();
  mail->put_Utf8(true);  // paths and texts, in and out
  if (!mail->LoadMimeFile(argv[1])) {
    std::cerr << mail->lastErrorText();
    return 1;
  }
  std::cout << "Subject: " << mail::MailHeader(BytesOf(*mail)).text("Subject") << "\n\n";
  int number = 0;
  for (const Entity& entity : LeavesOf(std::move(mail))) {
    ++number;
    const mail::MailHeader header(BytesOf(*entity));
    if (IsPlainText(header)) {
      std::cout << TextOf(*entity) << "\n";
      continue;
    }
    std::cout << "[" << number << "] " << Description(header);
    if (argc == 3) {
      const std::string path = std::string(argv[2]) + "/" + std::to_string(number);
      if (!entity->SaveBody(path.c_str())) {
        std::cerr << entity->lastErrorText();
        return 1;
      }
      std::cout << ", saved as " << path;
    }
    std::cout << "\n";
  }
  return 0;
}

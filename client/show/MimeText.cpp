#include "client/show/MimeText.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "base/LogNull.h"
#include "client/show/Columns.h"
#include "client/show/MimePlace.h"
#include "client/show/OutputText.h"
#include "mime/header/CkContentType.h"

namespace client {
namespace {

constexpr std::size_t kMaxIndent = 10;   // levels; deeper entities stand below each other
constexpr std::size_t kWidestPath = 20;  // columns; longer texts stand out
constexpr std::size_t kWidestType = 40;
constexpr std::size_t kMostNotes = 50;  // lines

void AddItem(const std::string& text, std::string& items) {
  if (!text.empty()) items.append(items.empty() ? "" : ", ").append(OneLine(text));
}

// What stands behind the type: size, charset, encoding, disposition and name.
std::string DetailsOf(const mail::MimeMessage2& entity) {
  mail::LogNull log;
  mail::_ckContentType type;
  entity.getContentType(type, log);
  mail::StringBuffer fileName;
  entity.getFileName(fileName, log);
  std::string items;
  if (entity.partCount() == 0) AddItem(SizeText(entity.body().getSize()), items);
  const mail::StringBuffer& unknown = type.m_unknownCharset;
  AddItem(std::string(entity.charset().getName().view()), items);
  if (!unknown.isEmpty()) AddItem(fmt::format("unknown charset '{}'", unknown.view()), items);
  AddItem(std::string(entity.encoding().view()), items);
  AddItem(std::string(entity.disposition().view()), items);
  const std::string_view name = fileName.isEmpty() ? type.m_name.view() : fileName.view();
  if (!name.empty()) AddItem(fmt::format("\"{}\"", name), items);
  return items;
}

struct Line {
  std::string path;
  std::string type;
  std::string details;
  std::vector<std::string> notes;
};

// One line for each entity, a parent in front of its children.
std::vector<Line> LinesOf(const mail::MimeMessage2& root, const std::string& rootPath,
                          const MimeNotes& notes) {
  struct Open {
    const mail::MimeMessage2* entity;
    std::string path;
    std::size_t depth;
  };
  std::vector<Line> lines;
  std::vector<Open> open = {{&root, rootPath, 0}};
  while (!open.empty()) {
    const Open now = std::move(open.back());
    open.pop_back();
    const mail::StringBuffer& type = now.entity->contentType();
    lines.push_back({now.path,
                     std::string(2 * std::min(now.depth, kMaxIndent), ' ') +
                         (type.isEmpty() ? "(no type)" : OneLine(type.view())),
                     DetailsOf(*now.entity), notes.Of(*now.entity)});
    for (std::size_t n = now.entity->partCount(); n-- > 0;) {
      open.push_back({now.entity->part(n), ChildPlace(now.path, n), now.depth + 1});
    }
  }
  return lines;
}

std::string TreeText(const std::vector<Line>& lines, std::size_t pathWidth) {
  std::size_t typeWidth = 0;
  for (const Line& line : lines) {
    typeWidth = std::max(typeWidth, std::min(WidthOf(line.type), kWidestType));
  }
  std::string out;
  for (const Line& line : lines) {
    std::string text = line.path;
    PadTo(pathWidth, text);
    text += "  " + line.type;
    if (!line.details.empty()) {
      PadTo(pathWidth + 2 + typeWidth, text);
      text += "  ";
      AppendWrapped(line.details, pathWidth + 4 + typeWidth, text);
    }
    out += text + "\n";
  }
  return out;
}

std::string NotesText(const std::vector<Line>& lines, std::size_t pathWidth) {
  std::string out;
  std::size_t count = 0;
  for (const Line& line : lines) {
    for (const std::string& note : line.notes) {
      if (++count > kMostNotes) continue;
      std::string text = line.path;
      PadTo(pathWidth, text);
      text += "  ";
      AppendWrapped(OneLine(note), pathWidth + 4, text);
      out += text + "\n";
    }
  }
  if (count > kMostNotes) out += fmt::format("and {} more\n", count - kMostNotes);
  return out.empty() ? out : "\nNotes:\n" + out;
}

}  // namespace

std::string MimeText(const mail::MimeMessage2& entity, const std::string& place,
                     const MimeNotes& notes) {
  const std::vector<Line> lines = LinesOf(entity, place, notes);
  std::size_t pathWidth = 0;
  for (const Line& line : lines) {
    pathWidth = std::max(pathWidth, std::min(line.path.size(), kWidestPath));
  }
  return TreeText(lines, pathWidth) + NotesText(lines, pathWidth);
}

}  // namespace client

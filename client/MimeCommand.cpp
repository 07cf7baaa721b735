#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "client/CommandFiles.h"
#include "client/Commands.h"
#include "client/MimeJson.h"
#include "client/MimeNotes.h"
#include "client/Names.h"
#include "client/Source.h"
#include "mime/base/LogNull.h"
#include "mime/header/CkContentType.h"
#include "mime/tree/MimeInput.h"

namespace client {
namespace {

constexpr std::size_t kMaxIndent = 20;  // levels; deeper entities stand below each other

struct Options {
  std::string path;
  std::string part = ".";
  bool json = false;
  bool rewrite = false;
  bool bytes = false;
  bool body = false;
};

// The entity that a path such as "0.1" leads to, "." being the root. Throws SourceError.
mail::MimeMessage2& EntityAt(mail::MimeMessage2& root, const std::string& path) {
  mail::MimeMessage2* entity = &root;
  if (path == ".") return *entity;
  const char* text = path.data();
  const char* const end = text + path.size();
  while (entity != nullptr) {
    std::size_t index = 0;
    const auto [next, error] = std::from_chars(text, end, index);
    if (error != std::errc()) break;
    entity = entity->part(index);
    if (next == end && entity != nullptr) return *entity;
    if (next == end || *next != '.') break;
    text = next + 1;
  }
  throw SourceError(fmt::format("there is no part '{}'", path));
}

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
  if (entity.isUndivided()) AddItem("too deep: left undivided", items);
  return items;
}

struct Line {
  std::string path;
  std::string type;
  std::string details;
};

// One line for each entity, a parent in front of its children.
std::vector<Line> LinesOf(const mail::MimeMessage2& root, const std::string& rootPath) {
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
                     DetailsOf(*now.entity)});
    for (std::size_t n = now.entity->partCount(); n-- > 0;) {
      const std::string place = (now.path == "." ? "" : now.path + ".") + std::to_string(n);
      open.push_back({now.entity->part(n), place, now.depth + 1});
    }
  }
  return lines;
}

std::string Readable(const mail::MimeMessage2& root, const std::string& rootPath,
                     const MimeNotes& notes) {
  constexpr std::size_t kWidest = 60;  // characters; longer columns stand out
  const std::vector<Line> lines = LinesOf(root, rootPath);
  std::size_t pathWidth = 0;
  std::size_t typeWidth = 0;
  for (const Line& line : lines) {
    pathWidth = std::max(pathWidth, std::min(line.path.size(), kWidest));
    typeWidth = std::max(typeWidth, std::min(line.type.size(), kWidest));
  }
  std::string out;
  for (const Line& line : lines) {
    std::string text =
        fmt::format("{:<{}}  {:<{}}  {}", line.path, pathWidth, line.type, typeWidth, line.details);
    text.erase(text.find_last_not_of(' ') + 1);
    out += text + "\n";
  }
  if (!notes.Notes().empty()) out += "\nNotes:\n";
  for (const auto& [text, count] : notes.Notes()) {
    out += fmt::format("  {}{}\n", OneLine(text), count > 1 ? fmt::format(" ({}x)", count) : "");
  }
  return out;
}

std::string Shown(const Options& options) {
  mail::MimeMessage2 root;
  MimeNotes notes;
  mail::LogNull log;
  if (!mail::loadMimeInput(root, ReadMailFile(options.path), notes)) {
    throw SourceError("this is no MIME");
  }
  mail::MimeMessage2& entity = EntityAt(root, options.part);
  if (options.body) return std::string(entity.body().view());
  if (options.bytes) {
    mail::DataBuffer bytes;
    entity.getMimeBytes(bytes, log);
    return std::string(bytes.view());
  }
  if (options.rewrite) {
    mail::XString text;
    entity.getMimeText(text, log);
    return std::string(text.utf8().view());
  }
  if (!options.json) return Readable(entity, options.part, notes);
  constexpr auto kReplace = nlohmann::ordered_json::error_handler_t::replace;
  return MimeJson(entity, options.part).dump(2, ' ', false, kReplace) + "\n";
}

}  // namespace

int RunMime(const Arguments& arguments) {
  Options options;
  CLI::App app("Shows the tree of a MIME message, or writes it, or one part of it, out again.",
               "tarny mime");
  app.add_option("FILE", options.path, "The message (.eml)")->required();
  app.add_option("--part", options.part,
                 "The part to show, as the tree counts them: 0.1 is the second child of the first")
      ->capture_default_str();
  app.add_flag("--json", options.json, "All of the tree, headers and hashes too, as JSON");
  app.add_flag("--rewrite", options.rewrite,
               "Written out again as text in UTF-8, binary bodies as base64");
  app.add_flag("--bytes", options.bytes, "Written out again as bytes, in the charsets it names");
  app.add_flag("--body", options.body, "The decoded body alone, in UTF-8 if it is text");
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  if (options.json + options.body + options.rewrite + options.bytes > 1) {
    fmt::print(stderr, "tarny mime: --json, --body, --rewrite and --bytes exclude each other\n");
    return kExitUsage;
  }
  try {
    WriteOutput(Shown(options));
    return kExitDone;
  } catch (const SourceError& error) {
    fmt::print(stderr, "tarny mime: {}: {}\n", OneLine(options.path), error.what());
    return kExitFailed;
  }
}

}  // namespace client

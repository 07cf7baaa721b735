#include <charconv>
#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "base/LogNull.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/show/JsonText.h"
#include "client/show/MimeJson.h"
#include "client/show/MimeNotes.h"
#include "client/show/MimeText.h"
#include "client/show/OutputText.h"
#include "client/sources/Source.h"

namespace client {
namespace {

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

void Show(const Options& options) {
  mail::MimeMessage2 root;
  MimeNotes notes;
  mail::LogNull log;
  // The file's bytes are not kept.
  if (!notes.Load(ReadMailFile(options.path), root)) throw SourceError("this is no MIME");
  mail::MimeMessage2& entity = EntityAt(root, options.part);
  if (options.body && entity.partCount() > 0) {
    throw SourceError("a multipart has no body of its own; --part names one of its parts");
  }
  if (options.body) return WriteOutput(entity.body().view());
  if (options.bytes) {
    mail::DataBuffer bytes;
    entity.getMimeBytes(bytes, log);
    return WriteOutput(bytes.view());
  }
  if (options.rewrite) {
    mail::XString text;
    entity.getMimeText(text, log);
    return WriteOutput(text.utf8().view());
  }
  if (!options.json) return WriteOutput(MimeText(entity, options.part, notes));
  WriteOutput(JsonText(MimeJson(entity, options.part, &notes)));
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
    Show(options);
    return kExitDone;
  } catch (const SourceError& error) {
    fmt::print(stderr, "tarny mime: {}: {}\n", OneLine(options.path), error.what());
    return kExitFailed;
  }
}

}  // namespace client

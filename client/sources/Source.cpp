#include "client/sources/Source.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "client/sources/EmlSource.h"
#include "client/sources/MboxBegin.h"
#include "client/sources/MboxSource.h"
#include "client/sources/SourceFiles.h"

namespace client {

std::unique_ptr<Source> OpenSource(const std::string& path, const SourceOptions& options) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) throw SourceError(std::strerror(errno));
  if (S_ISDIR(status.st_mode)) return std::make_unique<EmlSource>(path, options.mbox);
  if (!S_ISREG(status.st_mode)) throw SourceError("neither a file nor a folder");
  if (EmlSource::IsOne(path)) return std::make_unique<EmlSource>(path, options.mbox);
  constexpr std::uint64_t kLook = 64;  // bytes
  if (status.st_size == 0 || MboxSource::IsMbox(ReadFileRange(path, 0, kLook))) {
    return std::make_unique<MboxSource>(path, options.mbox);
  }
  if (const auto begin =
          BeginOfMails(path, ReadFileRange(path, 0, kFileHead), /*isPlaceOfMbox=*/true)) {
    return std::make_unique<MboxSource>(path, options.mbox, *begin);
  }
  throw SourceError(
      "neither a mail (its name ends in .eml), a calendar (.ics), cards (.vcf) nor an mbox file");
}

}  // namespace client

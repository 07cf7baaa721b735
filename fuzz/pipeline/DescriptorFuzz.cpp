#include <unistd.h>

#include <cstdlib>
#include <string>

#include "pipeline/ItemDescriptor.h"
#include "platform/Files.h"
#include "platform/Paths.h"

// Whatever the file holds, a descriptor reads to texts that are no longer than it, and a type that
// its keyword table knows.
namespace {

const std::string& FilePath() {
  static const std::string path = "/tmp/descriptor-fuzz-" + std::to_string(getpid());
  static const bool removed = std::atexit([] { unlink(FilePath().c_str()); }) == 0;
  (void)removed;  // a file that stays behind is small
  return path;
}

void Check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  const CString path = platform::ToWindowsPath(FilePath());
  {
    auto file = platform::File::Open(path, platform::OpenMode::kCreate);
    if (!file || !file->Write(std::span<const unsigned char>(data, size))) return 0;
  }
  ST_EML_INFO info;
  ReadDescriptor(path, &info);
  Check(info.nItemType >= TYPE_UNKNOWN && info.nItemType <= TYPE_DIST_LIST);
  int units = 0;
  for (const CString* text :
       {&info.strImportance, &info.strFrom, &info.strTo, &info.strCc, &info.strBcc,
        &info.strSubject, &info.strBody, &info.strCategory, &info.strLocation, &info.strRecurrence,
        &info.strTaskPriority, &info.strTaskExtra, &info.strContactFolder}) {
    units += text->GetLength();
  }
  Check(static_cast<size_t>(units) <= size / 2);
  Check(info.strMessageId.GetLength() <= static_cast<int>(size / 2));
  return 0;
}

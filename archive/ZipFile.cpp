#include "archive/ZipFile.h"

#include <memory>
#include <string>

#include <zip.h>

namespace mail {
namespace {

struct SourceDeleter {
  void operator()(zip_source_t* pSource) const { zip_source_free(pSource); }
};
struct ArchiveDeleter {
  void operator()(zip_t* pArchive) const { zip_discard(pArchive); }
};

// Writes the entry into the source, which grows in memory.
bool fill(zip_source_t* pSource, const std::string& strName, std::string_view strBytes) {
  zip_source_keep(pSource);  // the archive takes one reference
  std::unique_ptr<zip_t, ArchiveDeleter> pArchive(
      zip_open_from_source(pSource, ZIP_TRUNCATE, nullptr));
  if (pArchive == nullptr) {
    zip_source_free(pSource);
    return false;
  }
  zip_source_t* const pBytes =
      zip_source_buffer(pArchive.get(), strBytes.data(), strBytes.size(), 0);
  if (pBytes == nullptr) return false;
  if (zip_file_add(pArchive.get(), strName.c_str(), pBytes, ZIP_FL_ENC_UTF_8) < 0) {
    zip_source_free(pBytes);
    return false;
  }
  if (zip_close(pArchive.get()) != 0) return false;
  (void)pArchive.release();
  return true;
}

bool read(zip_source_t* pSource, DataBuffer& arrOut) {
  zip_stat_t objStat;
  zip_stat_init(&objStat);
  if (zip_source_stat(pSource, &objStat) != 0 || zip_source_open(pSource) != 0) return false;
  unsigned char* const pRoom = arrOut.prepare(objStat.size);
  const zip_int64_t nRead = pRoom != nullptr ? zip_source_read(pSource, pRoom, objStat.size) : -1;
  zip_source_close(pSource);
  if (nRead < 0 || static_cast<zip_uint64_t>(nRead) != objStat.size) return false;
  arrOut.commit(objStat.size);
  return true;
}

}  // namespace

bool zipOneFile(std::string_view strName, std::string_view strBytes, DataBuffer& arrZip) {
  const std::unique_ptr<zip_source_t, SourceDeleter> pSource(
      zip_source_buffer_create(nullptr, 0, 0, nullptr));
  return pSource != nullptr && fill(pSource.get(), std::string(strName), strBytes) &&
         read(pSource.get(), arrZip);
}

}  // namespace mail

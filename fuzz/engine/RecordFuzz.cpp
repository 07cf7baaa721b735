#include <cstdlib>
#include <span>

#include "engine/Records.h"

// Reading never reaches behind the record, and what was built from a reading reads the same again
// (a string that filled its slot without a terminator loses its last unit in the first building).
namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

void CheckLogin(std::span<const unsigned char> bytes) {
  const ST_LOGIN_INFO once = ReadLoginRecord(BuildRecord(ReadLoginRecord(bytes)));
  const ST_LOGIN_INFO twice = ReadLoginRecord(BuildRecord(once));
  Check(once.strLoginId == twice.strLoginId && once.strLoginPassword == twice.strLoginPassword);
  Check(once.strTargetType == twice.strTargetType && once.iConnType == twice.iConnType);
  Check(once.strClientSecret == twice.strClientSecret);
  Check(once.strLoginId.GetLength() < 260 && once.strLoginPassword.GetLength() < 500);
}

void CheckItem(std::span<const unsigned char> bytes) {
  const ST_ITEM_INFO read = ReadItemRecord(bytes);
  const ST_ITEM_INFO once = ReadItemRecord(BuildRecord(read));
  Check(read.nFlag == once.nFlag);
  Check(read.strFilePath.Left(651) == once.strFilePath);
  Check(read.strLogFilepath.Left(301) == once.strLogFilepath);
}

void CheckFolderAndGroup(std::span<const unsigned char> bytes) {
  const ST_FOLDER_INFO folder = ReadFolderRecord(bytes);
  Check(ReadFolderRecord(BuildRecord(folder)).strFolder == folder.strFolder.Left(4999));
  Check(ReadFolderRecord(BuildRecord(folder)).nType == folder.nType);
  const ST_GROUP_INFO group = ReadGroupRecord(bytes);
  const ST_GROUP_INFO again = ReadGroupRecord(BuildRecord(group));
  Check(group.strTenantId == again.strTenantId && group.strClientId == again.strClientId);
  Check(group.strClientSecret == again.strClientSecret);
  Check(group.strTenantId.GetLength() <= kGroupStringUnits);
  Check(ReadImageRecord(bytes).GetLength() <= 5000);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
  const std::span<const unsigned char> bytes(data, size);
  CheckLogin(bytes);
  CheckItem(bytes);
  CheckFolderAndGroup(bytes);
  return 0;
}

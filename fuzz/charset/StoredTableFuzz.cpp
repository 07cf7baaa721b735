// The unpacking of a stored table: as a text, as packed bytes, and as a table by itself. A table
// that is read answers for every key within bounds.

#include <string>
#include <string_view>

#include "charset/HashConvert.h"
#include "charset/StoredTable.h"
#include "charset/UnicodeLookup.h"
#include "platform/Base64.h"

namespace {

void Load(std::string_view table) {
  const auto contents = mail::stored_table::parse(table);
  if (!contents) return;
  for (const auto direction :
       {mail::HashConvert::Direction::kToUnicode, mail::HashConvert::Direction::kFromUnicode}) {
    mail::HashConvert converter(1, direction);
    if (!converter.load(*contents)) continue;
    const mail::UnicodeLookup flat(converter);
    unsigned sum = 0;
    for (unsigned key = 0; key <= 0xFFFF; key += 0x55) {
      sum += converter.lookup(static_cast<std::uint16_t>(key));
    }
    for (unsigned byte = 0; byte < 256; ++byte) sum += flat.unit(static_cast<unsigned char>(byte));
    if (sum == 0xFFFFFFFF) __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (const auto table = mail::stored_table::unpack(bytes)) Load(*table);
  const std::string stored = "c" + platform::Base64Encode(bytes);
  if (const auto table = mail::stored_table::unpack(stored)) Load(*table);
  Load(bytes);
  return 0;
}

#include "mime/encoding/CleanConversion.h"

#include "charset/EncodingConvert.h"

namespace mail {

bool convertsCleanly(unsigned nFrom, unsigned nTo, std::string_view strBytes, DataBuffer& out,
                     LogBase& log) {
  EncodingConvert objConvert;
  return objConvert.EncConvert(nFrom, nTo, strBytes.data(), strBytes.size(), out, log) &&
         !objConvert.m_hadErrors;
}

bool convertsCleanly(unsigned nFrom, unsigned nTo, std::string_view strBytes, LogBase& log) {
  DataBuffer out;
  return convertsCleanly(nFrom, nTo, strBytes, out, log);
}

}  // namespace mail

#include "mime/header/ParameterList.h"

#include <algorithm>
#include <map>
#include <utility>

#include "base/AsciiText.h"
#include "base/StringBuffer.h"
#include "mime/encoding/ParameterPieces.h"
#include "mime/header/AttributeReader.h"

namespace mail {
namespace {

struct Collected {
  std::string strPlain;
  NumberedPieces objPieces;
};

std::string lowerCase(std::string_view strText) {
  std::string strLower(strText);
  std::transform(strLower.begin(), strLower.end(), strLower.begin(), toLowerAscii);
  return strLower;
}

std::string joined(NumberedPieces& objPieces, LogBase& log) {
  StringBuffer strValue;
  (void)objPieces.decode(strValue, log);
  return std::string(strValue.view());
}

}  // namespace

std::vector<MimeParameter> parametersOf(std::string_view strValueUtf8, LogBase& log) {
  std::map<std::string, std::size_t> arrPlaces;
  std::vector<std::pair<std::string, Collected>> arrFound;
  for (AttributeReader objReader(strValueUtf8); objReader.next();) {
    const std::string_view strGiven = objReader.name();
    const std::string strName = lowerCase(strGiven.substr(0, strGiven.find('*')));
    if (strName.empty()) continue;
    const auto [place, bNew] = arrPlaces.try_emplace(strName, arrFound.size());
    if (bNew) arrFound.push_back({strName, {}});
    Collected& objFound = arrFound[place->second].second;
    if (isPieceOf(strGiven, strName)) {
      objFound.objPieces.add(strGiven, objReader.value());
    } else if (objFound.strPlain.empty()) {
      objFound.strPlain = objReader.value();
    }
  }
  std::vector<MimeParameter> arrParameters;
  arrParameters.reserve(arrFound.size());
  for (auto& [strName, objFound] : arrFound) {
    arrParameters.push_back({strName, objFound.objPieces.isEmpty()
                                          ? std::move(objFound.strPlain)
                                          : joined(objFound.objPieces, log)});
  }
  return arrParameters;
}

}  // namespace mail

#include "body/rtf/PictureFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "body/rtf/DibImage.h"
#include "body/rtf/HtmlText.h"
#include "body/rtf/Metafile.h"

namespace rtf {
namespace {

constexpr int kTwipsPerPixel = 15;
constexpr int kMostPixels = 20000;
constexpr int kWhole = 1 << 16;  // of a picture's size, in the numbers of drawings

struct Signature {
  std::string_view strStart;
  std::string_view strExtension;
};
constexpr std::array kSignatures = {Signature{"\x89PNG", ".png"}, Signature{"\xFF\xD8\xFF", ".jpg"},
                                    Signature{"GIF8", ".gif"}};

std::string_view KnownExtension(std::string_view strBytes) {
  for (const Signature& objSignature : kSignatures) {
    if (strBytes.starts_with(objSignature.strStart)) return objSignature.strExtension;
  }
  return {};
}

std::string BitmapOf(const PictureHeader& objHeader, std::string_view strBytes) {
  switch (objHeader.eKind) {
    case PictureKind::kDib:
      return DibToImage(strBytes);
    case PictureKind::kWmf:
      return DibToImage(BitmapOfWmf(strBytes));
    case PictureKind::kEmf:
      return DibToImage(BitmapOfEmf(strBytes));
    case PictureKind::kBitmap:
      return BitmapToImage(strBytes, objHeader.nWidth, objHeader.nHeight,
                           objHeader.nBitsPerPixel * objHeader.nPlanes, objHeader.nRowBytes);
    default:
      return {};
  }
}

int ToPixels(std::int64_t nTwips) {
  const std::int64_t nPixels = (nTwips + kTwipsPerPixel / 2) / kTwipsPerPixel;
  return static_cast<int>(std::clamp<std::int64_t>(nPixels, 0, kMostPixels));
}

struct Size {
  std::int64_t nWidth;  // twips
  std::int64_t nHeight;
};

// Before cropping. A bitmap has its own size in pixels, a metafile in hundredths of a millimetre.
Size FullSize(const PictureHeader& objHeader) {
  const bool bMetafile =
      objHeader.eKind == PictureKind::kWmf || objHeader.eKind == PictureKind::kEmf;
  const auto OwnSize = [&](std::int64_t n) {
    return bMetafile ? n * 1440 / 2540 : n * kTwipsPerPixel;
  };
  Size objSize{objHeader.nGoalWidth, objHeader.nGoalHeight};
  if (objSize.nWidth <= 0) objSize.nWidth = OwnSize(objHeader.nWidth);
  if (objSize.nHeight <= 0) objSize.nHeight = OwnSize(objHeader.nHeight);
  const int nScaleX = objHeader.nScaleX > 0 ? objHeader.nScaleX : 100;
  const int nScaleY = objHeader.nScaleY > 0 ? objHeader.nScaleY : 100;
  return {objSize.nWidth * nScaleX / 100, objSize.nHeight * nScaleY / 100};
}

void AppendPixels(std::string& str, std::string_view strBefore, int n, std::string_view strBehind) {
  str.append(strBefore).append(std::to_string(n)).append(strBehind);
}

}  // namespace

PictureFile MakePictureFile(const PictureHeader& objHeader, std::string strBytes) {
  std::string strBitmap = BitmapOf(objHeader, strBytes);
  if (!strBitmap.empty()) strBytes = std::move(strBitmap);
  if (const std::string_view strKnown = KnownExtension(strBytes); !strKnown.empty()) {
    return {std::string(strKnown), std::move(strBytes)};
  }
  switch (objHeader.eKind) {
    case PictureKind::kWmf:
      return {".wmf", PlaceableWmf(strBytes, objHeader.nWidth, objHeader.nHeight), false};
    case PictureKind::kEmf:
      return {".emf", std::move(strBytes), false};
    case PictureKind::kMacPicture:
      return {".pct", std::move(strBytes), false};
    case PictureKind::kPng:
      return {".png", std::move(strBytes)};
    case PictureKind::kJpeg:
      return {".jpg", std::move(strBytes)};
    default:
      return {};
  }
}

void PlaceInFrame(PictureHeader& objHeader, const Drawing& objDrawing) {
  const auto Place = [&](BorderSide eNear, BorderSide eFar, int* pnGoal, int* pnScale) {
    const int nShown = objDrawing.arrEdges[eFar] - objDrawing.arrEdges[eNear];
    int nNear = std::clamp(objDrawing.Crop(eNear), -kWhole, kWhole);
    int nFar = std::clamp(objDrawing.Crop(eFar), -kWhole, kWhole);
    if (kWhole - nNear - nFar < kWhole / 100) nNear = nFar = 0;  // nothing would be left
    if (nShown <= 0) return;
    const std::int64_t nFull = std::int64_t{nShown} * kWhole / (kWhole - nNear - nFar);
    *pnGoal = static_cast<int>(nFull);
    *pnScale = 100;
    objHeader.arrCrop[eNear] = static_cast<int>(nFull * nNear / kWhole);
    objHeader.arrCrop[eFar] = static_cast<int>(nFull * nFar / kWhole);
  };
  Place(kLeft, kRight, &objHeader.nGoalWidth, &objHeader.nScaleX);
  Place(kTop, kBottom, &objHeader.nGoalHeight, &objHeader.nScaleY);
}

// A cropped picture lies shifted in a window that hides what is cut off.
std::string PictureTag(const PictureHeader& objHeader, std::string_view strLink) {
  const Size objFull = FullSize(objHeader);
  const auto Scaled = [](std::int64_t n, int nScale) {
    return n * (nScale > 0 ? nScale : 100) / 100;
  };
  const auto nLeft = Scaled(objHeader.arrCrop[kLeft], objHeader.nScaleX);
  const auto nRight = Scaled(objHeader.arrCrop[kRight], objHeader.nScaleX);
  const auto nTop = Scaled(objHeader.arrCrop[kTop], objHeader.nScaleY);
  const auto nBottom = Scaled(objHeader.arrCrop[kBottom], objHeader.nScaleY);
  const int nWindowX = ToPixels(objFull.nWidth - nLeft - nRight);
  const int nWindowY = ToPixels(objFull.nHeight - nTop - nBottom);
  const bool bCropped =
      (nLeft > 0 || nRight > 0 || nTop > 0 || nBottom > 0) && nWindowX > 0 && nWindowY > 0;
  std::string strTag;
  if (bCropped) {
    AppendPixels(strTag, "<span style=\"display:inline-block;overflow:hidden;width:", nWindowX,
                 "px");
    AppendPixels(strTag, ";height:", nWindowY, "px\">");
  }
  strTag.append("<img src=\"").append(strLink).append("\" alt=\"\"");
  const int nWidth = ToPixels(objFull.nWidth);
  const int nHeight = ToPixels(objFull.nHeight);
  if (nWidth > 0 && nHeight > 0) {
    AppendPixels(strTag, " width=\"", nWidth, "\"");
    AppendPixels(strTag, " height=\"", nHeight, "\"");
  }
  if (bCropped) {
    AppendPixels(strTag, " style=\"max-width:none;margin-left:",
                 ToPixels(nLeft) == 0 ? 0 : -ToPixels(nLeft), "px");
    AppendPixels(strTag, ";margin-top:", -ToPixels(nTop), "px\"");
  }
  strTag += '>';
  if (bCropped) strTag += "</span>";
  return strTag;
}

}  // namespace rtf

#pragma once

#include <string>
#include <string_view>

#include "body/rtf/Drawing.h"
#include "body/rtf/PictureHeader.h"

namespace rtf {

struct PictureFile {
  std::string strExtension;  // with its dot, always four characters
  std::string strBytes;      // empty: nothing that can be shown
  bool bDrawn = true;        // by browsers; not so for metafiles and Macintosh pictures
};

// The file of a picture: what was written as a bitmap becomes a PNG, also out of a metafile that
// holds nothing else. Bytes that are a PNG, JPEG or GIF are that whatever the header says.
PictureFile MakePictureFile(const PictureHeader& objHeader, std::string strBytes);

// What a drawing says of its picture's size and cropping holds, not what the picture says itself.
void PlaceInFrame(PictureHeader& objHeader, const Drawing& objDrawing);

// The tag that shows the file; strLink is written as it is.
std::string PictureTag(const PictureHeader& objHeader, std::string_view strLink);

}  // namespace rtf

#pragma once

#include <string>
#include <string_view>

namespace rtf {

// Turns a device-independent bitmap (an information header, its colours and pixels, without a file
// header) into a PNG file; one that holds a whole PNG or JPEG gives that. Of a bitmap that was cut
// the rows that are there come out. "" for what is no bitmap. Time and memory are linear in the
// bytes: at most 256 pixels for each.
std::string DibToImage(std::string_view strDib);

// A device bitmap of 1, 24 or 32 bits: rows from the top, of nRowBytes each.
std::string BitmapToImage(std::string_view strRows, int nWidth, int nHeight, int nBits,
                          int nRowBytes);

}  // namespace rtf

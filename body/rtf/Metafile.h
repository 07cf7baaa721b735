#pragma once

#include <string>
#include <string_view>

namespace rtf {

// The device-independent bitmap that a metafile shows, if it draws nothing else: programs wrap
// pictures so. "" otherwise; records are read to the first that is damaged.
std::string BitmapOfWmf(std::string_view strWmf);
std::string BitmapOfEmf(std::string_view strEmf);

// A Windows metafile with the header that programs look for in files, where it has none. The size
// is in hundredths of a millimetre.
std::string PlaceableWmf(std::string_view strWmf, int nWidth, int nHeight);

}  // namespace rtf

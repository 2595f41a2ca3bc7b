#pragma once
#include <string>

namespace Kyr::WbmHost {

// `text` as a QR code (libqrencode, error correction level M) in an SVG of dark rectangles on a
// light ground with the standard quiet zone, named for screen readers. Colours are attributes, not
// style, so the pages' strict content security policy lets it show. Throws std::runtime_error when
// the text does not fit.
std::string QrCodeSvg(const std::string& text);

} // namespace Kyr::WbmHost

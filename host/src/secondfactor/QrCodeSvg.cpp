#include "secondfactor/QrCodeSvg.h"

#include <qrencode.h>

#include <memory>
#include <stdexcept>

namespace Kyr::WbmHost {

namespace {
constexpr int QuietZone = 4; // modules of light margin that readers need around the symbol
constexpr int PixelsPerModule = 6;

struct QrCodeDeleter {
    void operator()(QRcode* code) const { QRcode_free(code); }
};
} // namespace

std::string QrCodeSvg(const std::string& text) {
    std::unique_ptr<QRcode, QrCodeDeleter> code(QRcode_encodeString(text.c_str(), 0, QR_ECLEVEL_M, QR_MODE_8, 1));
    if (!code) throw std::runtime_error("The text does not fit a QR code");
    const int width = code->width;
    const int size = width + 2 * QuietZone;
    const std::string sizeText = std::to_string(size);
    const std::string pixels = std::to_string(size * PixelsPerModule);
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + sizeText + " " + sizeText + "\" width=\"" +
                      pixels + "\" height=\"" + pixels + "\" shape-rendering=\"crispEdges\" role=\"img\" aria-label=\"QR code for an authenticator app\">" +
                      "<rect width=\"" + sizeText + "\" height=\"" + sizeText + "\" fill=\"#fff\"/><path fill=\"#000\" d=\"";
    // One rectangle per horizontal run of dark modules (bit 0 of each module's byte).
    for (int y = 0; y < width; ++y) {
        for (int x = 0; x < width;) {
            if (!(code->data[y * width + x] & 1)) {
                ++x;
                continue;
            }
            int run = 1;
            while (x + run < width && (code->data[y * width + x + run] & 1)) ++run;
            svg += "M" + std::to_string(x + QuietZone) + " " + std::to_string(y + QuietZone) + "h" + std::to_string(run) +
                   "v1h-" + std::to_string(run) + "z";
            x += run;
        }
    }
    svg += "\"/></svg>";
    return svg;
}

} // namespace Kyr::WbmHost

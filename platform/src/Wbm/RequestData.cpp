#include "Kyr/Services/Commons/Wbm/Messages/WbmRequest.h"

namespace Kyr::Services::Commons::Wbm::Messages {

String RequestData::GetDataString(bool completeData) const {
    if (completeData) return bytes;
    const std::size_t zero = bytes.find('\0');
    return zero == String::npos ? bytes : bytes.substr(0, zero);
}

} // namespace Kyr::Services::Commons::Wbm::Messages

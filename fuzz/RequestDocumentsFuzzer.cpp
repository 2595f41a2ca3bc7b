// Feeds arbitrary bytes to the parsers of what clients and files send the module: the JSON request
// documents and the settings XML. The first byte picks the parser. A parser may refuse its input
// (false, or the platform's Exception for the settings) but must never crash, hang or throw
// anything else.
#include <cstddef>
#include <cstdint>

#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/Xml/XmlReader.h"
#include "config/PasswordRulesConfig.h"
#include "config/PasswordsBlockList.h"
#include "config/SessionPolicyConfig.h"
#include "config/UserConfigItem.h"
#include "settings/UmSettings.h"

namespace Config = Kyr::Services::Modules::Wbm::Um::Internal::Config;
namespace Settings = Kyr::Services::Modules::Wbm::Um::Internal::Settings;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Kyr::String text(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0]) {
    case 'R': Config::PasswordRulesConfig().ParseJson(text); break;
    case 'B': Config::PasswordsBlockList().ParseJson(text); break;
    case 'S': Config::SessionPolicyConfig().ParseJson(text); break;
    case 'U': Config::UserConfigItem().ParseJson(text); break;
    case 'X':
        try {
            auto reader = Kyr::System::Commons::Xml::XmlReader::FromMemory(text);
            reader->ReadDocumentElement();
            Kyr::System::Commons::Xml::XmlSerializationContext context;
            Settings::UmSettings().ReadXml(*reader, context);
        } catch (const Kyr::System::Commons::Exception&) {
            // A refused document is a normal outcome.
        }
        break;
    default: break;
    }
    return 0;
}

#include "Kyr/System/Rsc/IRscService.h"

namespace Kyr::System::Rsc {

IRscService::~IRscService() = default;
IRscServiceProxyFactory::~IRscServiceProxyFactory() = default;

} // namespace Kyr::System::Rsc

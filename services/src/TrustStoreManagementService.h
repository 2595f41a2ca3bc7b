#pragma once
#include <string>

#include "Kyr/Services/SecurityStoreManager/ITrustStoreManagementService.h"

namespace Kyr::PlatformServices {

// Trust stores are the folders under <data>/truststores; their names are listed sorted.
class TrustStoreManagementService final : public Kyr::Services::SecurityStoreManager::ITrustStoreManagementService {
public:
    explicit TrustStoreManagementService(std::string folder) : folder(std::move(folder)) {}
    std::vector<Kyr::System::Rsc::RscString<64>> GetTrustStoreNames() override;

private:
    std::string folder;
};

} // namespace Kyr::PlatformServices

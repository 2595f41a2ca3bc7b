#pragma once
#include "Kyr/Services/Commons/Wbm/Modules/WbmModules.h"
#include "Kyr/System/Commons/Logging/Loggable.h"
#include "handlers/UmWbmHandlerBase.h"

namespace Kyr::Services::Modules::Wbm::Um::Internal {

// Data provider "UserManagementInfoDp": the logged-in user's own password information and change.
class UmInfoHandler : public UmWbmHandlerBase, public Kyr::System::Commons::Logging::Loggable<UmInfoHandler> {
public:
    using WbmRequest = Kyr::Services::Commons::Wbm::Messages::WbmRequest;
    using WbmResponse = Kyr::Services::Commons::Wbm::Messages::WbmResponse;

    static constexpr const char* getPasswordInfoFunctionName = "GetPasswordInfo";
    static constexpr const char* changeCurrentUserPasswordFunctionName = "ChangeCurrentUserPassword";

    UmInfoHandler();
    ~UmInfoHandler() override;

    bool IsAvailable() const override;
    bool HasPermissions(const SecurityToken& token) const override;

    void SubscribeServices();

    // The caller's password state in the module's JSON envelope; a token without a live session
    // gives an error envelope with an empty error text and no data.
    WbmResponse GetPasswordInfo(const WbmRequest& request) const;
    // Query parameters "currentPassword", "newPassword", "confirmNewPassword"; answers the platform's
    // JsonResponse with a BooleanResult. A password of 128 bytes or more throws ArgumentException.
    WbmResponse ChangeCurrentUserPassword(const WbmRequest& request) const;
};

} // namespace Kyr::Services::Modules::Wbm::Um::Internal

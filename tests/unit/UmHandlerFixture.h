#pragma once
// A subscribed UmHandler on fresh service mocks, with the invalid-request notification sender it
// reports through, and its log lines and notifications captured.
#include <gmock/gmock.h>

#include "Kyr/System/Commons/Singleton.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/CapturingNotifications.h"
#include "fakes/ScopedServices.h"
#include "handlers/UmHandler.h"
#include "notifications/SecurityNotifications.h"

namespace Kyr::Testing {

struct UmHandlerFixture : testing::Test {
    using SecurityNotifications = Kyr::Services::Modules::Wbm::Um::Internal::SecurityNotifications;

    CapturingLogSink log;
    CapturingNotifications notifications;
    ScopedServices services;
    Kyr::Services::Modules::Wbm::Um::Internal::UmHandler handler;

    UmHandlerFixture() {
        Kyr::System::Commons::Singleton<SecurityNotifications>::CreateInstance();
        handler.SubscribeServices();
    }
    ~UmHandlerFixture() override { Kyr::System::Commons::Singleton<SecurityNotifications>::DestroyInstance(); }

    // "request|function;" of each invalid-request notification captured.
    String Notified() const {
        String text;
        for (const auto& n : notifications.GetNotifications()) text += n.InfoValue("request") + "|" + n.InfoValue("function") + ";";
        return text;
    }
};

} // namespace Kyr::Testing

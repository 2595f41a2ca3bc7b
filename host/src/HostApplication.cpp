#include "HostApplication.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "HostContext.h"
#include "HostLoggers.h"
#include "HttpServerSetup.h"
#include "Kyr/System/Commons/AppDomain.h"
#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/Nm/Notifications.h"
#include "LoadedModule.h"
#include "SecurityNotificationLog.h"
#include "StderrLogSink.h"

namespace Kyr::WbmHost {

namespace {

using Kyr::System::Commons::AppDomain;
using Kyr::System::Commons::Singleton;
using Kyr::System::Commons::Logging::LogManager;
using Kyr::System::Nm::NotificationManager;

// The host's application domain lives as long as the process: logging keeps a pointer to it.
AppDomain& HostAppDomain() {
    static AppDomain appDomain("wbm-host");
    return appDomain;
}

// The platform singletons for the life of Run().
class PlatformSingletons {
public:
    PlatformSingletons() : appDomain(HostAppDomain()) {
        LogManager::SetSink(std::make_shared<StderrLogSink>());
        if (!Singleton<AppDomain>::IsCreated()) Singleton<AppDomain>::SetInstance(appDomain);
        LogManager::AssignAppDomain(appDomain);
        notifications = &Singleton<NotificationManager>::CreateInstance();
    }
    ~PlatformSingletons() { Singleton<NotificationManager>::DestroyInstance(); }
    AppDomain& appDomain;
    NotificationManager* notifications = nullptr;
};

// Keeps the services published while alive.
class PublishedServices {
public:
    explicit PublishedServices(Kyr::PlatformServices::PlatformServices& services) : services(services) {
        services.RegisterServices();
    }
    ~PublishedServices() { services.UnregisterServices(); }

private:
    Kyr::PlatformServices::PlatformServices& services;
};

void PrintLine(const Kyr::String& text) {
    std::cout << text << std::endl; // flushed: scripts and tests wait for these lines
}

// The bound port (a free one for port 0), or 0. After a restart the old socket may still be closing,
// so a few attempts are made.
int Bind(httplib::Server& server, const Kyr::String& host, int port, int attempts) {
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (attempt > 0) std::this_thread::sleep_for(std::chrono::milliseconds(100));
        if (port == 0) {
            const int bound = server.bind_to_any_port(host);
            if (bound > 0) return bound;
        } else if (server.bind_to_port(host, port)) {
            return port;
        }
    }
    return 0;
}

} // namespace

HostApplication::HostApplication(HostOptions options) : options(std::move(options)) {}

void HostApplication::RequestStop() {
    stopRequested = true;
    StopServing();
}

void HostApplication::RequestRestart() {
    // Called inside the RestartSystem request: stopping the listener lets the answers in flight
    // (this one included) be written before listen returns.
    HostLifecycle::LogInfo("Restart requested");
    restartRequested = true;
    StopServing();
}

void HostApplication::StopServing() {
    // A server only stops once it listens: a stop that comes between binding and listening waits for
    // that (bounded, in case listening fails), or it would be lost and the host would not end.
    for (int attempt = 0; attempt < 500; ++attempt) {
        {
            std::lock_guard<std::mutex> lock(serverMutex);
            if (currentServer == nullptr) return;
            if (currentServer->is_running()) {
                currentServer->stop();
                return;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

int HostApplication::Run() {
    PlatformSingletons platform;
    try {
        std::filesystem::create_directories(options.dataDirectory);
        if (!options.initialSettingsSource.empty() && !std::filesystem::exists(options.settingsPath))
            std::filesystem::copy_file(options.initialSettingsSource, options.settingsPath);
        // Checked before the database is created: a first start that fails later would print (and
        // lose) the generated administrator password.
        for (const auto& [file, what] : {std::pair{options.settingsPath, "Module settings"},
                                         std::pair{options.modulePath, "Module library"}})
            if (!std::filesystem::is_regular_file(file)) throw std::runtime_error(Kyr::String(what) + " " + file + " not found");
        SessionStore sessions(options.idleTimeout);
        LoginThrottle throttle;

        Kyr::PlatformServices::ServicesOptions servicesOptions;
        servicesOptions.dataDirectory = options.dataDirectory;
        servicesOptions.hashOpsLimit = options.hashOpsLimit;
        servicesOptions.hashMemLimit = options.hashMemLimit;
        servicesOptions.authenticationDeactivatable = options.allowAuthenticationDeactivation;
        servicesOptions.initialAdminPassword = options.initialAdminPassword;
        servicesOptions.passwordAttempts = &throttle;
        auto services = Kyr::PlatformServices::PlatformServices::Open(servicesOptions, sessions, [this] { RequestRestart(); });
        SecurityNotificationLog securityLog(*platform.notifications, *services);
        PublishedServices published(*services);

        ModuleRegistry registry;
        HostContext context(*services, sessions, throttle, registry, options);
        const Modules::ModuleInfo moduleInfo(options.settingsPath, {{"Host", "wbm-host"}});
        int port = options.listenPort;
        bool first = true;
        while (!stopRequested) {
            auto module = LoadedModule::Load(options.modulePath, "Um", platform.appDomain, moduleInfo, registry);
            auto server = CreateHttpServer(context);
            port = Bind(*server, options.listenHost, port, first ? 1 : 50);
            if (port == 0) {
                HostLifecycle::LogError("Cannot listen on {0}:{1}", options.listenHost, options.listenPort);
                return 1;
            }
            if (first) {
                // Only once the host is ready to serve, so that a failed start cannot swallow it.
                // A block of its own, written at once, so that it does not get lost between log lines.
                const Kyr::String rule(72, '=');
                if (auto password = services->GetInitialAdminPassword()) {
                    PrintLine("\n" + rule + "\nInitial password of user \"admin\": " + *password +
                              "\nIt must be changed at the first login.\n" + rule + "\n");
                } else if (!options.initialAdminPassword.empty()) {
                    PrintLine("--admin-password was ignored: the database already exists and keeps its users and passwords.");
                }
                const bool ipv6 = options.listenHost.find(':') != Kyr::String::npos;
                PrintLine("Listening on http://" + (ipv6 ? "[" + options.listenHost + "]" : options.listenHost) + ":" +
                          std::to_string(port));
            }
            first = false;
            {
                std::lock_guard<std::mutex> lock(serverMutex);
                currentServer = server.get();
            }
            if (!stopRequested) server->listen_after_bind();
            {
                std::lock_guard<std::mutex> lock(serverMutex);
                currentServer = nullptr;
            }
            server.reset();
            module.reset();
            if (!restartRequested.exchange(false)) break;
            sessions.EndAll();
            HostLifecycle::LogInfo("Restarting: module unloaded, setting it up again");
        }
        HostLifecycle::LogInfo("Stopped");
        return 0;
    } catch (const std::exception& error) {
        HostLifecycle::LogError("Host failed: {0}", error.what());
        return 1;
    }
}

} // namespace Kyr::WbmHost

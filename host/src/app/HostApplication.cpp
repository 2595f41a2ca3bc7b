#include "app/HostApplication.h"

#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "app/DataDirectory.h"
#include "app/HostContext.h"
#include "app/HostLoggers.h"
#include "app/HostRequestHandler.h"
#include "app/StderrLogSink.h"
#include "audit/AccessRecords.h"
#include "Kyr/PlatformServices/AuditEvents.h"
#include "audit/SecurityNotificationLog.h"
#include "bridge/LoadedModule.h"
#include "Kyr/System/Commons/AppDomain.h"
#include "Kyr/System/Commons/Singleton.h"
#include "Kyr/System/Nm/Notifications.h"
#include "net/DeviceCertificate.h"
#include "net/WebServer.h"
#include "service/ServiceManagerNotify.h"

namespace Kyr::WbmHost {

namespace {

using Kyr::System::Commons::AppDomain;
using Kyr::System::Commons::Singleton;
using Kyr::System::Commons::Logging::LogManager;
using Kyr::System::Nm::NotificationManager;
namespace Events = Kyr::PlatformServices::AuditEvents;

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

ServerLimits LimitsFrom(const HostOptions& options) {
    ServerLimits limits;
    limits.maxConnections = options.maxConnections;
    limits.maxConnectionsPerAddress = options.maxConnectionsPerAddress;
    limits.logEveryAnswer = options.accessLog;
    return limits;
}

Kyr::String ShownHost(const Kyr::String& host) { return host.find(':') != Kyr::String::npos ? "[" + host + "]" : host; }

// After a restart the old listening socket may still be closing: a few attempts are made then.
int ListenWithRetries(WebServer& server, const HostOptions& options, int port, RequestHandler& handler, const TlsContext* tls,
                      int attempts) {
    for (int attempt = 1;; ++attempt) {
        try {
            return server.Listen(options.listenHost, port, handler, tls);
        } catch (const std::runtime_error&) {
            if (attempt >= attempts) throw;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
}

// What the first start tells the person who started it: the password in a block of its own, written
// at once, so that it does not get lost between log lines.
void PrintStartBanner(Kyr::PlatformServices::PlatformServices& services, const HostOptions& options) {
    const auto generated = services.GetInitialAdminPassword();
    const Kyr::String rule(72, '=');
    if (generated && options.initialAdminPassword.empty()) {
        PrintLine("\n" + rule + "\nInitial password of user \"admin\": " + *generated +
                  "\nIt must be changed at the first login.\n" + rule + "\n");
    } else if (!generated && !options.initialAdminPassword.empty()) {
        PrintLine("--admin-password was ignored: the database already exists and keeps its users and passwords.");
    }
}

void RecordHostEvent(Kyr::PlatformServices::PlatformServices& services, const char* eventId) {
    Kyr::PlatformServices::AuditRecord record;
    record.eventId = eventId;
    services.RecordAudit(record);
}

} // namespace

HostApplication::HostApplication(HostOptions options) : options(std::move(options)) {}

void HostApplication::RequestStop() {
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopRequested = true;
    }
    wake.notify_all();
}

void HostApplication::RequestRestart() {
    // Called inside the RestartSystem request: the main thread stops the server, which lets the
    // answers in flight (this one included) be written first.
    HostLifecycle::LogInfo("Restart requested");
    {
        std::lock_guard<std::mutex> lock(mutex);
        restartRequested = true;
    }
    wake.notify_all();
}

bool HostApplication::WaitForStopOrRestart() {
    std::unique_lock<std::mutex> lock(mutex);
    wake.wait(lock, [this] { return stopRequested || restartRequested; });
    const bool restart = restartRequested && !stopRequested;
    restartRequested = false;
    return restart;
}

void HostApplication::ReloadCertificate() {
    // Runs on the signal thread, which may get a SIGHUP while Run() is still starting: the context
    // is read under the lock it is set under.
    TlsContext* tls = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex);
        tls = tlsContext.get();
    }
    if (!tls) return HostLifecycle::LogInfo("SIGHUP ignored: the host serves plain HTTP (or has not started TLS yet)");
    std::string error;
    if (tls->Reload(error))
        HostLifecycle::LogInfo("TLS certificate {0} loaded again", tls->CertificateFile());
    else
        HostLifecycle::LogError("TLS certificate not reloaded, the previous one stays: {0}", error);
}

void HostApplication::StartTls() {
    CertificateFiles files{options.tlsCertificate, options.tlsKey};
    if (files.certificate.empty()) files = EnsureDeviceCertificate(options.dataDirectory, DeviceNames(options.listenHost));
    auto context = std::make_unique<TlsContext>(files.certificate, files.key);
    std::lock_guard<std::mutex> lock(mutex);
    tlsContext = std::move(context);
}

int HostApplication::Run() {
    PlatformSingletons platform;
    try {
        const HeldDataDirectory dataDirectory(options.dataDirectory);
        if (!options.initialSettingsSource.empty() && !std::filesystem::exists(options.settingsPath)) {
            std::filesystem::copy_file(options.initialSettingsSource, options.settingsPath);
            std::filesystem::permissions(options.settingsPath, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        }
        // Checked before the database is created: a first start that fails later would print (and
        // lose) the generated administrator password.
        for (const auto& [file, what] : {std::pair{options.settingsPath, "Module settings"},
                                         std::pair{options.modulePath, "Module library"}})
            if (!std::filesystem::is_regular_file(file)) throw std::runtime_error(Kyr::String(what) + " " + file + " not found");
        // Before the database is made: a first start on a taken port would lose the generated password.
        WebServer::CheckAddressFree(options.listenHost, options.listenPort);
        if (options.httpRedirectPort > 0) WebServer::CheckAddressFree(options.listenHost, options.httpRedirectPort);
        if (options.tls) StartTls();
        else HostLifecycle::LogError("TLS is off (--no-tls): passwords and session cookies cross the network in clear");

        SessionStore sessions(options.idleTimeout);
        LoginThrottle throttle;
        Kyr::PlatformServices::ServicesOptions servicesOptions;
        servicesOptions.dataDirectory = options.dataDirectory;
        servicesOptions.hashOpsLimit = options.hashOpsLimit;
        servicesOptions.hashMemLimit = options.hashMemLimit;
        servicesOptions.authenticationDeactivatable = options.allowAuthenticationDeactivation;
        servicesOptions.initialAdminPassword = options.initialAdminPassword;
        servicesOptions.passwordAttempts = &throttle;
        servicesOptions.audit = options.audit;
        auto services = Kyr::PlatformServices::PlatformServices::Open(servicesOptions, sessions, [this] { RequestRestart(); });
        RecordHostEvent(*services, Events::HostStarted);
        sessions.SetEndListener([&services = *services](const Kyr::String& user, const char* reason) {
            services.RecordAudit(Audit::SessionEndedRecord(user, reason));
        });
        SecurityNotificationLog securityLog(*platform.notifications, *services);
        PublishedServices published(*services);

        ModuleRegistry registry;
        HostContext context(*services, sessions, throttle, registry, options);
        const ServerLimits limits = LimitsFrom(options);
        HostRequestHandler handler(context, limits);
        std::unique_ptr<HttpsRedirectHandler> redirect;
        const Modules::ModuleInfo moduleInfo(options.settingsPath, {{"Host", "wbm-host"}});
        int exitCode = 0;
        int port = options.listenPort;
        int redirectPort = options.httpRedirectPort;
        for (bool first = true;; first = false) {
            auto module = LoadedModule::Load(options.modulePath, "Um", platform.appDomain, moduleInfo, registry);
            WebServer server(limits);
            port = ListenWithRetries(server, options, port, handler, tlsContext.get(), first ? 1 : 50);
            if (redirectPort >= 0) {
                if (!redirect) redirect = std::make_unique<HttpsRedirectHandler>(options.listenHost, port);
                redirectPort = ListenWithRetries(server, options, redirectPort, *redirect, nullptr, first ? 1 : 50);
            }
            server.Start();
            if (first) {
                // Only once the host is ready to serve, so that a failed start cannot swallow it.
                PrintStartBanner(*services, options);
                if (redirectPort >= 0)
                    PrintLine("Redirecting http://" + ShownHost(options.listenHost) + ":" + std::to_string(redirectPort) + " to HTTPS");
                // The address comes last: scripts and tests read up to it.
                if (tlsContext) PrintLine("Certificate SHA-256 fingerprint: " + CertificateFingerprint(tlsContext->CertificateFile()));
                PrintLine(Kyr::String("Listening on ") + (tlsContext ? "https://" : "http://") + ShownHost(options.listenHost) + ":" +
                          std::to_string(port));
            }
            if (first) NotifyServiceManager("READY=1");
            const bool restart = WaitForStopOrRestart();
            // Under a service manager a device restart is a new start of the process, which it does.
            const bool restartByServiceManager = restart && RunningUnderServiceManager();
            if (!restart || restartByServiceManager) NotifyServiceManager("STOPPING=1");
            server.Stop();
            module.reset();
            if (restartByServiceManager) {
                exitCode = RestartExitStatus;
                break;
            }
            if (!restart) break;
            sessions.EndAll(Events::EndedRestart);
            HostLifecycle::LogInfo("Restarting: module unloaded, setting it up again");
        }
        sessions.SetEndListener(nullptr);
        RecordHostEvent(*services, Events::HostStopped);
        HostLifecycle::LogInfo(exitCode == RestartExitStatus ? "Stopped for a restart by the service manager" : "Stopped");
        return exitCode;
    } catch (const std::exception& error) {
        HostLifecycle::LogError("Host failed: {0}", error.what());
        std::cerr << "wbm-host: " << error.what() << std::endl;
        return 1;
    }
}

} // namespace Kyr::WbmHost

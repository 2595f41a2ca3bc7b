// What a caller pays for one audit record, with no syslog collector, with one that refuses connections
// and with one that accepts but never reads: the three must cost about the same (the database's
// transaction), because forwarding happens on its own thread behind a bounded queue.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "Kyr/PlatformServices/AuditEvents.h"
#include "Kyr/PlatformServices/PlatformServices.h"

namespace {

namespace Ps = Kyr::PlatformServices;

struct NoSessions : Ps::SessionDirectory {
    std::optional<Kyr::String> FindUserOfSession(const Kyr::String&) const override { return std::nullopt; }
    void EndSessionsOfUser(const Kyr::String&, const char*) override {}
};

// A loopback port; `listening`: a socket that accepts into its backlog and never reads.
struct LoopbackPort {
    explicit LoopbackPort(bool listening) {
        socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
        port = ntohs(address.sin_port);
        if (listening) ::listen(socket, 16);
        else ::close(socket), socket = -1;
    }
    ~LoopbackPort() {
        if (socket >= 0) ::close(socket);
    }
    int socket = -1;
    int port = 0;
};

void RecordAudit(benchmark::State& state) {
    const int collector = static_cast<int>(state.range(0)); // 0 none, 1 refusing, 2 never reading
    std::string folder = (std::filesystem::temp_directory_path() / "kyr-bench-XXXXXX").string();
    if (!::mkdtemp(folder.data())) return state.SkipWithError("mkdtemp failed");
    LoopbackPort port(collector == 2);
    {
        NoSessions sessions;
        Ps::ServicesOptions options;
        options.dataDirectory = folder + "/data";
        options.hashOpsLimit = 1;
        options.hashMemLimit = 8192;
        options.initialAdminPassword = "Bench-Admin-1";
        if (collector != 0) options.audit.syslog = Ps::ParseSyslogTarget("tcp://127.0.0.1:" + std::to_string(port.port));
        auto services = Ps::PlatformServices::Open(options, sessions, [] {});
        Ps::AuditRecord record;
        record.eventId = Ps::AuditEvents::UserAdded;
        record.user = "admin";
        record.source = "127.0.0.1";
        record.target = "operator1";
        record.detail = "username=operator1&password=***&confirmPassword=***";
        for (auto _ : state) benchmark::DoNotOptimize(services->RecordAudit(record));
        state.counters["dropped"] = static_cast<double>(services->GetAuditStatus().forwardDrops);
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(RecordAudit)->ArgName("collector")->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();

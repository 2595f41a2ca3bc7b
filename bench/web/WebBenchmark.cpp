// The web server benchmark: starts wbm-host (HTTPS and plain HTTP) and the minimal hello server
// (same two kinds) from this build, and prints, measured side by side in one run:
//  - keep-alive throughput of GET /api/session and of a reading module function against hello,
//    at 1, 8 and 64 connections, and HTTPS against HTTP for the same route;
//  - the same with one connection, client and server on one CPU (what an answer costs, without the
//    wake-up of a sleeping CPU that a lone connection waits for at every request);
//  - the latency of a normal request while 1,000 idle and 100 slow connections are open;
//  - the host's memory: RSS idle after start, peak after the load.
// Every loop is bounded in requests and time; all traffic stays on 127.0.0.0/8.
//
//   web_benchmark [--seconds N (per run, default 1)] [--rounds N (default 3)] [--host-binary FILE] [--hello-binary FILE]
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "KeepAliveLoad.h"
#include "OneCpu.h"
#include "OneRequest.h"
#include "QuietConnections.h"
#include "ServerProcess.h"

namespace fs = std::filesystem;
using namespace Kyr::WebBench;

namespace {

constexpr const char* initialPassword = "Bench-Initial-7x";
constexpr const char* workingPassword = "Bench-Working-9y";
constexpr const char* sessionRoute = "/api/session";
constexpr const char* configRoute = "/api/UserManagementDp/GetUserManagementConfig";
constexpr unsigned hostPerAddressLimit = 32; // wbm-host's default --max-connections-per-address
constexpr unsigned idleConnections = 1000, slowConnections = 100, latencyRequests = 300;

constexpr double throughputGoal = 0.5, tlsGoal = 0.6, p99GoalMs = 50, idleGoalMiB = 10, peakGoalMiB = 24;

struct Options {
    double seconds = 1;
    unsigned rounds = 3;
    std::string hostBinary, helloBinary;
};

Options ParseOptions(int argc, char** argv) {
    fs::path self = fs::read_symlink("/proc/self/exe").parent_path();
    Options options{1, 3, (self / "wbm-host").string(), (self / "web_hello_server").string()};
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string name = argv[i];
        if (name == "--seconds")
            options.seconds = std::clamp(std::stod(argv[i + 1]), 0.2, 30.0);
        else if (name == "--rounds")
            options.rounds = static_cast<unsigned>(std::clamp(std::stoi(argv[i + 1]), 1, 10));
        else if (name == "--host-binary")
            options.hostBinary = argv[i + 1];
        else if (name == "--hello-binary")
            options.helloBinary = argv[i + 1];
        else
            throw std::invalid_argument("unknown option " + name);
    }
    if (argc % 2 == 0) throw std::invalid_argument("every option takes a value");
    return options;
}

// 1,100 quiet connections and the load need more descriptors than the usual soft limit of 1,024;
// the servers started from here inherit the raised limit.
void RaiseDescriptorLimit() {
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur < files.rlim_max) {
        files.rlim_cur = files.rlim_max;
        setrlimit(RLIMIT_NOFILE, &files);
    }
}

double MiB(std::optional<long> kib) { return kib ? static_cast<double>(*kib) / 1024.0 : -1; }

const char* Verdict(bool met) { return met ? "met" : "MISSED"; }

// Memory of one server, MiB: RSS after start (and its anonymous part: the rest are the pages of the
// program's and its libraries' files), and the peaks of the keep-alive load and of the quiet
// connections (the peak is started again from the current RSS between the two).
struct MemoryFigures {
    double idle = -1, idleAnonymous = -1, throughputPeak = -1, quietPeak = -1;
};

struct Servers {
    std::unique_ptr<ServerProcess> hostHttp, hostHttps, helloHttp, helloHttps;
    AdminSession httpSession, httpsSession;
    std::map<const ServerProcess*, MemoryFigures> memory;

    std::vector<ServerProcess*> All() const { return {hostHttp.get(), hostHttps.get(), helloHttp.get(), helloHttps.get()}; }
    bool IsHello(const ServerProcess* server) const { return server == helloHttp.get() || server == helloHttps.get(); }
    std::string Name(const ServerProcess* server) const {
        return std::string(IsHello(server) ? "hello " : "host ") + (server->Address().tls ? "HTTPS" : "HTTP");
    }
};

// Starts every server's peak again; false when the kernel refuses for one.
bool ResetPeaks(const Servers& servers) {
    bool all = true;
    for (auto* server : servers.All()) all = server->ResetPeak() && all;
    return all;
}

Servers StartServers(const Options& options, const fs::path& work) {
    Servers servers;
    auto host = [&](const std::string& name, bool tls) {
        std::vector<std::string> command{options.hostBinary,     "--listen",         "127.0.0.1:0",
                                         "--data-dir",           (work / name).string(), "--hash-cost",
                                         "min",                  "--admin-password", initialPassword};
        if (!tls) command.push_back("--no-tls");
        return std::make_unique<ServerProcess>(command, work.string(), name);
    };
    servers.hostHttps = host("host-https", true);
    servers.hostHttp = host("host-http", false);
    // The hello server uses the very certificate (ECDSA P-256) the host made for itself.
    fs::path tlsFolder = work / "host-https" / "tls";
    servers.helloHttps = std::make_unique<ServerProcess>(
        std::vector<std::string>{options.helloBinary, "--listen", "127.0.0.1:0", "--tls-cert",
                                 (tlsFolder / "device.crt").string(), "--tls-key", (tlsFolder / "device.key").string()},
        work.string(), "hello-https");
    servers.helloHttp = std::make_unique<ServerProcess>(
        std::vector<std::string>{options.helloBinary, "--listen", "127.0.0.1:0"}, work.string(), "hello-http");
    // Idle: started, nothing asked yet; a moment for the start-up's last allocations to settle.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    for (auto* server : servers.All()) {
        servers.memory[server].idle = MiB(server->StatusKiB("VmRSS"));
        servers.memory[server].idleAnonymous = MiB(server->StatusKiB("RssAnon"));
    }
    return servers;
}

LoadResult Throughput(const Endpoint& endpoint, const std::string& target, const std::string& cookie, unsigned connections,
                  const Options& options, boost::asio::ssl::context& tls, std::uint64_t& failures) {
    LoadPlan plan;
    plan.endpoint = endpoint;
    plan.target = target;
    plan.cookie = cookie;
    plan.connections = connections;
    plan.perAddress = hostPerAddressLimit;
    plan.duration = std::chrono::milliseconds(static_cast<long>(options.seconds * 1000));
    LoadResult result = RunKeepAlive(plan, tls);
    failures += result.failures;
    return result;
}

bool ThroughputTable(Servers& servers, const Options& options, boost::asio::ssl::context& tls) {
    bool allMet = true;
    std::uint64_t failures = 0;
    std::printf("\nKeep-alive throughput, requests/s (best of %u runs of %.1f s, taken in turns; 'x hello': ratio to"
                " hello, goal >= %.1f; HTTPS/HTTP goal >= %.1f;\n CPU us/req: the server's CPU time per answer,"
                " HTTP/HTTPS)\n",
                options.rounds, options.seconds, throughputGoal, tlsGoal);
    std::printf("%-32s %5s %9s %8s %9s %8s %10s %13s\n", "route", "conns", "HTTP", "x hello", "HTTPS", "x hello",
                "HTTPS/HTTP", "CPU us/req");
    struct Cell {
        const ServerProcess* server;
        const char* target;
        const AdminSession* session;
        double best = 0;
        double cpuSeconds = 0; // the server's, over all rounds
        std::uint64_t answers = 0;
        double CpuMicrosecondsPerAnswer() const { return answers ? cpuSeconds * 1e6 / static_cast<double>(answers) : 0; }
    };
    for (unsigned connections : {1u, 8u, 64u}) {
        // Hello and the host are measured in turns, round after round, so that a change in the shared
        // machine's other load touches both sides of a ratio alike; the best run of each is the one
        // least disturbed.
        Cell cells[] = {{servers.helloHttp.get(), "/", nullptr},
                        {servers.helloHttps.get(), "/", nullptr},
                        {servers.hostHttp.get(), sessionRoute, &servers.httpSession},
                        {servers.hostHttps.get(), sessionRoute, &servers.httpsSession},
                        {servers.hostHttp.get(), configRoute, &servers.httpSession},
                        {servers.hostHttps.get(), configRoute, &servers.httpsSession}};
        for (unsigned round = 0; round < options.rounds; ++round)
            for (auto& cell : cells) {
                double cpuBefore = cell.server->CpuSeconds();
                LoadResult result = Throughput(cell.server->Address(), cell.target, cell.session ? cell.session->cookie : "",
                                               connections, options, tls, failures);
                cell.cpuSeconds += cell.server->CpuSeconds() - cpuBefore;
                cell.answers += result.answers;
                cell.best = std::max(cell.best, result.PerSecond());
            }
        double helloHttp = cells[0].best, helloHttps = cells[1].best;
        std::printf("%-32s %5u %9.0f %8s %9.0f %8s %10.2f %6.0f/%.0f\n", "hello (yardstick)", connections, helloHttp,
                    "", helloHttps, "", helloHttps / helloHttp, cells[0].CpuMicrosecondsPerAnswer(),
                    cells[1].CpuMicrosecondsPerAnswer());
        const char* names[] = {"GET /api/session", "GET .../GetUserManagementConfig"};
        for (int route = 0; route < 2; ++route) {
            double http = cells[2 + 2 * route].best, https = cells[3 + 2 * route].best;
            bool met = http / helloHttp >= throughputGoal && https / helloHttps >= throughputGoal &&
                       https / http >= tlsGoal;
            allMet = allMet && met;
            std::printf("%-32s %5u %9.0f %8.2f %9.0f %8.2f %10.2f %6.0f/%-6.0f %s\n", names[route], connections, http,
                        http / helloHttp, https, https / helloHttps, https / http,
                        cells[2 + 2 * route].CpuMicrosecondsPerAnswer(), cells[3 + 2 * route].CpuMicrosecondsPerAnswer(),
                        Verdict(met));
        }
    }
    if (failures > 0) {
        std::printf("  %llu requests failed or connections were lost\n", static_cast<unsigned long long>(failures));
        allMet = false;
    }
    return allMet;
}

// One connection over plain HTTP with the client and the server on one CPU: no goal, it tells what
// the single-connection figures above are made of.
void OneCpuTable(Servers& servers, const Options& options, boost::asio::ssl::context& tls) {
    struct Row {
        const char* name;
        const ServerProcess* server;
        const char* target;
        const AdminSession* session;
        double best = 0;
    };
    Row rows[] = {{"hello (yardstick)", servers.helloHttp.get(), "/", nullptr},
                  {"GET /api/session", servers.hostHttp.get(), sessionRoute, &servers.httpSession},
                  {"GET .../GetUserManagementConfig", servers.hostHttp.get(), configRoute, &servers.httpSession}};
    std::uint64_t failures = 0;
    bool pinned = true;
    for (unsigned round = 0; round < options.rounds; ++round)
        for (Row& row : rows) {
            OneCpu oneCpu(row.server->Pid(), 0);
            pinned = pinned && oneCpu.Pinned();
            LoadResult result = Throughput(row.server->Address(), row.target, row.session ? row.session->cookie : "", 1,
                                           options, tls, failures);
            row.best = std::max(row.best, result.PerSecond());
        }
    std::printf("\nOne connection, HTTP, client and server on one CPU (no CPU has to wake up for an answer; no goal)\n");
    std::printf("%-32s %9s %8s\n", "route", "HTTP", "x hello");
    for (const Row& row : rows)
        std::printf("%-32s %9.0f %8.2f\n", row.name, row.best, row.best / rows[0].best);
    if (!pinned) std::printf("  (some threads could not be moved to one CPU)\n");
    if (failures > 0) std::printf("  %llu requests failed\n", static_cast<unsigned long long>(failures));
}

struct Latency {
    double p50 = 0, p99 = 0, max = 0;
    unsigned answered = 0, failed = 0;
};

// Fresh connections from 127.0.0.1, one request each, one after the other: a new visitor's request.
Latency MeasureLatency(const Endpoint& endpoint, boost::asio::ssl::context& tls) {
    std::vector<double> milliseconds;
    Latency latency;
    auto stopAt = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (unsigned i = 0; i < latencyRequests && std::chrono::steady_clock::now() < stopAt; ++i) {
        http::request<http::string_body> request{http::verb::get, sessionRoute, 11};
        request.set(http::field::host, "127.0.0.1");
        auto start = std::chrono::steady_clock::now();
        try {
            Answer answer = SendOne(endpoint, tls, std::move(request), std::chrono::seconds(5));
            if (answer.status != 200) throw std::runtime_error("status " + std::to_string(answer.status));
            milliseconds.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
        } catch (const std::exception&) {
            ++latency.failed;
        }
    }
    latency.answered = static_cast<unsigned>(milliseconds.size());
    if (milliseconds.empty()) return latency;
    std::sort(milliseconds.begin(), milliseconds.end());
    auto at = [&](double quantile) {
        return milliseconds[std::min(milliseconds.size() - 1, static_cast<std::size_t>(quantile * milliseconds.size()))];
    };
    latency.p50 = at(0.5);
    latency.p99 = at(0.99);
    latency.max = milliseconds.back();
    return latency;
}

bool LatencyTable(Servers& servers, boost::asio::ssl::context& tls) {
    bool allMet = true;
    std::printf("\nOne request (GET /api/session, new connection from 127.0.0.1) while %u idle and %u slow"
                " (1 byte/s) connections from 127.0.1.x are open; goal p99 < %.0f ms\n",
                idleConnections, slowConnections, p99GoalMs);
    std::printf("%-12s %9s %9s %9s %9s %12s %14s\n", "server", "p50 ms", "p99 ms", "max ms", "answered", "quiet open",
                "reopened/failed");
    for (auto* host : servers.All()) {
        QuietConnections quiet(host->Address(), idleConnections, slowConnections, 1, hostPerAddressLimit);
        // Let them all get through accept (and the TLS handshake), bounded.
        auto settle = std::chrono::steady_clock::now() + std::chrono::seconds(8);
        while (quiet.Open() + quiet.Failed() < idleConnections + slowConnections && std::chrono::steady_clock::now() < settle)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        unsigned openBefore = quiet.Open();
        Latency latency = MeasureLatency(host->Address(), tls);
        unsigned openAfter = quiet.Open();
        servers.memory[host].quietPeak = MiB(host->StatusKiB("VmHWM"));
        bool met = latency.failed == 0 && latency.answered > 0 && latency.p99 < p99GoalMs;
        if (!servers.IsHello(host)) allMet = allMet && met;
        std::printf("%-12s %9.2f %9.2f %9.2f %5u/%-3u %5u..%-5u %7u/%-6u %s\n", servers.Name(host).c_str(),
                    latency.p50, latency.p99, latency.max, latency.answered, latencyRequests, openBefore, openAfter,
                    quiet.ClosedByServer(), quiet.Failed(), servers.IsHello(host) ? "(yardstick)" : Verdict(met));
    }
    return allMet;
}

bool MemoryTable(Servers& servers, bool peakReset) {
    std::printf("\nMemory, MiB (goal for wbm-host: idle <= %.0f, peak under load without logins <= %.0f)\n", idleGoalMiB,
                peakGoalMiB);
    std::printf("%-12s %10s %10s %16s %18s\n", "server", "idle RSS", "anonymous", "peak keep-alive", "peak 1,100 quiet");
    bool allMet = true;
    for (auto* server : servers.All()) {
        const MemoryFigures& figures = servers.memory[server];
        bool met = figures.idle > 0 && figures.idle <= idleGoalMiB && figures.throughputPeak > 0 &&
                   figures.throughputPeak <= peakGoalMiB && figures.quietPeak > 0 && figures.quietPeak <= peakGoalMiB;
        if (!servers.IsHello(server)) allMet = allMet && met;
        std::printf("%-12s %10.1f %10.1f %16.1f %18.1f  %s\n", servers.Name(server).c_str(), figures.idle,
                    figures.idleAnonymous, figures.throughputPeak, figures.quietPeak,
                    servers.IsHello(server) ? "(yardstick)" : Verdict(met));
    }
    if (!peakReset) std::printf("  (the kernel did not reset the peaks: each includes what came before it)\n");
    return allMet;
}

} // namespace

int main(int argc, char** argv) {
    fs::path work;
    try {
        Options options = ParseOptions(argc, argv);
        RaiseDescriptorLimit();
        std::string pattern = (fs::temp_directory_path() / "web-benchmark-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
        work = pattern;
        boost::asio::ssl::context tls = MakeClientTlsContext();

        Servers servers = StartServers(options, work);
        servers.httpSession = LogInAdministrator(servers.hostHttp->Address(), tls, initialPassword, workingPassword);
        servers.httpsSession = LogInAdministrator(servers.hostHttps->Address(), tls, initialPassword, workingPassword);
        // The logins' password hashing is not part of the serving peak.
        bool peakReset = ResetPeaks(servers);

        std::printf("wbm-host against a minimal Beast server, same machine, same run (%u cores)\n",
                    std::thread::hardware_concurrency());
        bool met = ThroughputTable(servers, options, tls);
        for (auto* server : servers.All()) servers.memory[server].throughputPeak = MiB(server->StatusKiB("VmHWM"));
        OneCpuTable(servers, options, tls);
        peakReset = ResetPeaks(servers) && peakReset;
        met = LatencyTable(servers, tls) && met;
        met = MemoryTable(servers, peakReset) && met;
        std::printf("\n%s\n", met ? "All goals met." : "Some goals were MISSED (see above).");
        std::fflush(stdout);
        servers = {};
        fs::remove_all(work);
        return met ? 0 : 3;
    } catch (const std::exception& failure) {
        std::cerr << "web_benchmark: " << failure.what() << "\n";
        if (!work.empty()) std::cerr << "(the servers' output is kept in " << work.string() << ")\n";
        return 1;
    }
}

#include "net/HttpConnection.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/error.hpp>

#include <array>
#include <limits>
#include <optional>

#include "app/HostLoggers.h"
#include "audit/LogText.h"
#include "http/ErrorTexts.h"
#include "http/JsonBodies.h"
#include "http/SecurityHeaders.h"
#include "net/ConnectionStream.h"
#include "net/RequestHead.h"
#include "net/ResponseHead.h"

namespace Kyr::WbmHost {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;
using SteadyTime = std::chrono::steady_clock;

namespace {

// The request loop of one connection over an established stream (plain, or TLS after its handshake).
class HttpSession final : public StoppableConnection, public std::enable_shared_from_this<HttpSession> {
public:
    HttpSession(ConnectionStream&& stream, beast::flat_buffer&& received, ConnectionSlot slot, ConnectionContext& context,
                SteadyTime::time_point firstDeadline, std::shared_ptr<void> streamContext = nullptr)
        : streamContext(std::move(streamContext)), stream(std::move(stream)), buffer(std::move(received)),
          slot(std::move(slot)), context(context), headDeadline(firstDeadline) {}

    ~HttpSession() override {
        if (registered) context.registry.Remove(registration);
    }

    void Start() {
        registration = context.registry.Add(shared_from_this());
        registered = true;
        if (context.registry.Stopping()) stopping = true;
        ReadNextRequest(true);
    }

    void Stop() override {
        net::dispatch(stream.get_executor(), [self = shared_from_this()] {
            self->stopping = true;
            boost::system::error_code ignored;
            if (self->waitingForRequest) self->stream.socket().close(ignored);
        });
    }

private:
    const std::string& Address() const { return slot->Address(); }

    void ReadNextRequest(bool first) {
        if (stopping) return Close();
        request = HttpRequest{};
        parser.emplace();
        parser->header_limit(static_cast<std::uint32_t>(context.limits.headBytes));
        // The body limit depends on the head (a session, the route): it is checked once the head is read.
        parser->body_limit(std::numeric_limits<std::uint64_t>::max());
        if (buffer.size() > 0) return ReadHead(first ? headDeadline : SteadyTime::now() + context.limits.headTime);
        // Nothing of the next request yet: wait until something comes, holding no read buffer meanwhile,
        // so that a quiet connection costs its socket and, over TLS, OpenSSL's state. The first request's
        // head counts from the connect; between requests a connection may stay idle the keep-alive time.
        waitingForRequest = true;
        buffer.shrink_to_fit();
        if (first)
            stream.ExpiresAt(headDeadline);
        else
            stream.ExpiresAfter(context.limits.keepAliveIdle);
        stream.async_wait_readable([self = shared_from_this(), first](beast::error_code error, std::size_t) {
            self->waitingForRequest = false;
            // A first request that never came is a head too slow (408); an idle kept-alive connection just ends.
            if (first && error == beast::error::timeout && !self->stopping) return self->OnHead(error);
            if (error || self->stopping) return self->Close();
            self->ReadHead(first ? self->headDeadline : SteadyTime::now() + self->context.limits.headTime);
        });
    }

    void ReadHead(SteadyTime::time_point deadline) {
        stream.ExpiresAt(deadline);
        http::async_read_header(stream, buffer, *parser, [self = shared_from_this()](beast::error_code error, std::size_t) {
            self->waitingForRequest = false;
            self->OnHead(error);
        });
    }

    void OnHead(beast::error_code error) {
        if (error == http::error::header_limit || error == http::error::buffer_overflow) {
            const int status = OversizedHeadStatus(
                std::string_view(static_cast<const char*>(buffer.data().data()), buffer.size()), context.limits);
            return Refuse(ErrorResponse(status, "", StatusText(status)));
        }
        if (error == beast::error::timeout) return Refuse(ErrorResponse(408, "", "Request head too slow"));
        // The client went away (a client closing with unread data resets the connection): nothing to answer.
        if (error == http::error::end_of_stream || error == net::error::eof || error == net::error::operation_aborted ||
            error == net::ssl::error::stream_truncated || error == net::error::connection_reset || stopping)
            return Close();
        if (error) return Refuse(ErrorResponse(400, "", StatusText(400)));

        request = HttpRequest{};
        request.remoteAddress = Address();
        request.secure = stream.Secure();
        HeadVerdict verdict = CheckRequestHead(*parser, context.limits, context.handler, request);
        if (verdict.refusal) return Refuse(std::move(*verdict.refusal));
        const std::size_t limit = verdict.bodyLimit;
        keepAlive = parser->get().keep_alive();
        if (parser->is_done()) return Dispatch();

        parser->body_limit(limit);
        stream.ExpiresAfter(context.limits.bodyTime);
        if (EqualsIgnoringCase(request.Header("Expect"), "100-continue")) {
            static const std::string goOn = "HTTP/1.1 100 Continue\r\n\r\n";
            net::async_write(stream, net::buffer(goOn), [self = shared_from_this()](beast::error_code error, std::size_t) {
                if (error) return self->Close();
                self->ReadBody();
            });
            return;
        }
        ReadBody();
    }

    void ReadBody() {
        http::async_read(stream, buffer, *parser, [self = shared_from_this()](beast::error_code bodyError, std::size_t) {
            if (bodyError == beast::error::timeout) return self->Refuse(ErrorResponse(408, self->request.path, ErrorText::BodyTooSlow));
            if (bodyError) return self->Close();
            self->request.body = std::move(self->parser->get().body());
            self->Dispatch();
        });
    }

    void Dispatch() {
        stream.ExpiresNever();
        auto self = shared_from_this();
        const std::string method = request.method, path = request.path;
        if (context.handler.AnswersFromMemory(request)) {
            HttpResponse response;
            context.handler.Handle(request, response);
            return Write(std::move(response), method, path);
        }
        const bool queued = context.workers.TryPost([self, request = std::move(request)]() mutable {
            HttpResponse response;
            self->context.handler.Handle(request, response);
            net::post(self->stream.get_executor(), [self, path = std::move(request.path), method = std::move(request.method),
                                                            response = std::move(response)]() mutable {
                self->Write(std::move(response), method, path);
            });
        });
        if (!queued) {
            HttpResponse busy = ErrorResponse(503, path, ErrorText::Busy);
            busy.SetHeader("Retry-After", "1");
            Write(std::move(busy), method, path);
        }
    }


    // The rest of a refused request is never read: it must not be taken for a next request.
    void Refuse(HttpResponse response) {
        response.closeConnection = true;
        Write(std::move(response), request.method, request.path);
    }

    void Write(HttpResponse response, const std::string& method, const std::string& path) {
        const bool close = response.closeConnection || !keepAlive || stopping;
        if (context.limits.logEveryAnswer || response.status >= 500)
            HttpServer::LogInfo("{0} {1} {2} {3}", Address(), OneLine(method, 16), OneLine(path, 256), response.status);
        ApplySecurityHeaders(response, stream.Secure());
        outgoingHead = ResponseHead(response, close);
        outgoingBody = std::move(response.body);
        keepAlive = true;
        stream.ExpiresAfter(context.limits.writeTime);
        const std::array<net::const_buffer, 2> answer{net::buffer(outgoingHead), net::buffer(outgoingBody)};
        net::async_write(stream, answer, [self = shared_from_this(), close](beast::error_code error, std::size_t) {
            std::string().swap(self->outgoingHead);
            std::string().swap(self->outgoingBody);
            if (error || close) return self->Close();
            self->ReadNextRequest(false);
        });
    }

    void Close() {
        if (stream.Secure()) {
            if (!closing && stream.socket().is_open()) {
                closing = true;
                // A TLS close notification, briefly; a client that does not answer it is not waited for.
                stream.ExpiresAfter(std::chrono::seconds(1));
                stream.async_shutdown([self = shared_from_this()](beast::error_code, std::size_t) { self->CloseSocket(); });
                return;
            }
        }
        CloseSocket();
    }

    void CloseSocket() {
        beast::error_code ignored;
        stream.socket().shutdown(tcp::socket::shutdown_both, ignored);
        stream.socket().close(ignored);
    }

    std::shared_ptr<void> streamContext; // what the stream refers to (the TLS context), kept while it lives
    ConnectionStream stream;
    beast::flat_buffer buffer;
    ConnectionSlot slot;
    ConnectionContext& context;
    SteadyTime::time_point headDeadline;
    std::optional<http::request_parser<http::string_body>> parser;
    HttpRequest request;
    std::string outgoingHead, outgoingBody; // the answer being sent (one at a time)
    bool keepAlive = true;
    bool stopping = false;
    bool closing = false;
    bool waitingForRequest = false;
    bool registered = false;
    ConnectionRegistry::Handle registration;
};

std::size_t BufferLimit(const ServerLimits& limits) { return limits.headBytes + 4096; }

// Waits for a new TLS connection's first bytes (within the head time), tells TLS from plain HTTP, and
// shakes hands; only then is the TLS state of the connection allocated.
class TlsHandshake final : public std::enable_shared_from_this<TlsHandshake> {
public:
    TlsHandshake(ConnectionSocket socket, ConnectionSlot slot, std::shared_ptr<net::ssl::context> tls, ConnectionContext& context)
        : stream(std::move(socket)), buffer(BufferLimit(context.limits)), slot(std::move(slot)), tls(std::move(tls)),
          context(context), deadline(SteadyTime::now() + context.limits.headTime) {}

    void Start() {
        stream.ExpiresAt(deadline);
        // A buffer only once the first bytes are there: a connection that sends nothing holds none.
        // Then it waits for a place among the handshakes in progress (the deadline still counts).
        stream.async_wait_readable([self = shared_from_this()](beast::error_code error, std::size_t) {
            if (error) return;
            self->context.handshakes.Enter([self](HandshakeGate::Place place) {
                net::dispatch(self->stream.get_executor(), [self, place = std::move(place)]() mutable {
                    self->place = std::move(place);
                    self->ReadFirstBytes();
                });
            });
        });
    }

private:
    void ReadFirstBytes() {
        stream.async_read_some(buffer.prepare(1024), [self = shared_from_this()](beast::error_code error, std::size_t bytes) {
            if (error) return;
            self->buffer.commit(bytes);
            self->OnFirstBytes();
        });
    }

    void OnFirstBytes() {
        const auto* first = static_cast<const unsigned char*>(buffer.data().data());
        if (first[0] != 0x16) return RefusePlainHttp(); // not a TLS handshake record
        stream.UseTls(tls->native_handle());
        stream.async_handshake(buffer.data(),
                                   [self = shared_from_this()](beast::error_code error, std::size_t) {
                                       if (error) return;
                                       self->place.reset(); // the next handshake may start
                                       self->buffer.consume(self->buffer.size()); // the stream took them all
                                       auto session = std::make_shared<HttpSession>(
                                           std::move(self->stream), std::move(self->buffer), std::move(self->slot),
                                           self->context, self->deadline, self->tls);
                                       session->Start();
                                   });
    }

    void RefusePlainHttp() {
        place.reset();
        static const std::string answer = std::string("HTTP/1.1 400 Bad Request\r\nContent-Type: text/plain; charset=utf-8\r\n"
                                                      "Connection: close\r\nContent-Length: ") +
                                          std::to_string(std::string(ErrorText::PlainHttpOnTlsPort).size()) + "\r\n\r\n" +
                                          ErrorText::PlainHttpOnTlsPort;
        stream.ExpiresAfter(context.limits.writeTime);
        net::async_write(stream, net::buffer(answer), [self = shared_from_this()](beast::error_code, std::size_t) {
            beast::error_code ignored;
            self->stream.socket().shutdown(tcp::socket::shutdown_both, ignored);
        });
    }

    ConnectionStream stream; // plain until the first bytes show a TLS handshake
    HandshakeGate::Place place; // among the handshakes in progress
    beast::flat_buffer buffer;
    ConnectionSlot slot;
    std::shared_ptr<net::ssl::context> tls;
    ConnectionContext& context;
    SteadyTime::time_point deadline;
};

} // namespace

void StartPlainConnection(ConnectionSocket socket, ConnectionSlot slot, ConnectionContext& context) {
    const auto deadline = SteadyTime::now() + context.limits.headTime;
    auto session = std::make_shared<HttpSession>(ConnectionStream(std::move(socket)),
                                                                     beast::flat_buffer(BufferLimit(context.limits)),
                                                                     std::move(slot), context, deadline);
    session->Start();
}

void StartTlsConnection(ConnectionSocket socket, ConnectionSlot slot, std::shared_ptr<net::ssl::context> tls, ConnectionContext& context) {
    std::make_shared<TlsHandshake>(std::move(socket), std::move(slot), std::move(tls), context)->Start();
}

} // namespace Kyr::WbmHost

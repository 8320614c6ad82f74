#include "Tools/Tarsel/Try/Server.h"

#ifdef TARSEL_HAS_HTTPLIB

#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Try/PageFiles.h"
#include "Tools/Tarsel/Try/Requests.h"

#include <fmt/format.h>
#include <httplib.h>

#include <array>
#include <cstdint>
#include <random>
#include <string_view>
#include <utility>

namespace Tarsel::Tools {
namespace {

constexpr char const* s_loopback = "127.0.0.1";
constexpr std::size_t s_mostBody = 1U << 20U;
constexpr std::size_t s_mostPath = 512;
constexpr std::size_t s_threads = 16;
constexpr std::size_t s_requestsAConnection = 1000;

enum Status : int { Forbidden = 403, NotFound = 404, UriTooLong = 414 };

constexpr std::array<std::pair<std::string_view, char const*>, 4> s_types{
    {{".html", "text/html; charset=utf-8"},
     {".css", "text/css; charset=utf-8"},
     {".js", "text/javascript; charset=utf-8"},
     {".svg", "image/svg+xml"}}};

char const* FindType(std::string_view name) {
    for (auto const& [ending, type] : s_types)
        if (name.ends_with(ending))
            return type;
    return "text/plain; charset=utf-8";
}

std::string MakeToken() {
    std::random_device random;
    std::string token;
    for (int i = 0; i < 4; ++i)
        token += fmt::format("{:08x}", static_cast<std::uint32_t>(random()));
    return token;
}

void Refuse(httplib::Response& response, int status, std::string_view why) {
    response.status = status;
    response.set_content(fmt::format(R"({{"message":"{}","step":null}})", why), "application/json");
}

} // namespace

class Server::Http {
public:
    Http() : m_token(MakeToken()) {
        m_server.new_task_queue = [] { return new httplib::ThreadPool(s_threads); };
        m_server.set_payload_max_length(s_mostBody);
        m_server.set_tcp_nodelay(true);
        m_server.set_keep_alive_max_count(s_requestsAConnection);
        m_server.set_keep_alive_timeout(1); // the end waits for it
        m_server.set_default_headers({{"Cache-Control", "no-store"},
                                      {"Content-Security-Policy",
                                       "default-src 'self'; media-src 'self' blob:; frame-ancestors 'none'"},
                                      {"Cross-Origin-Resource-Policy", "same-origin"},
                                      {"Referrer-Policy", "no-referrer"},
                                      {"X-Content-Type-Options", "nosniff"}});
        m_server.set_pre_routing_handler(
            [this](auto const& request, auto& response) { return Check(request, response); });
        m_port = m_server.bind_to_any_port(s_loopback);
        if (m_port <= 0)
            Core::Throw<Media::OutputException>("Cannot open a port on the loopback to serve the page");
    }

    std::string GetAddress() const { return fmt::format("http://{}:{}{}", s_loopback, m_port, GetRoot()); }

    void Serve(Session& session, std::stop_token const& stop) {
        AddPage();
        for (Request const& each : s_requests)
            AddRequest(each, session);
        std::stop_callback const onStop(stop, [this] { m_server.stop(); });
        if (!stop.stop_requested())
            (void)m_server.listen_after_bind();
    }

    void Stop() { m_server.stop(); }

private:
    using Handled = httplib::Server::HandlerResponse;

    std::string GetRoot() const { return '/' + m_token + '/'; }

    /// A page of elsewhere may have this one's address looked up, or send forms to it: it has neither the
    /// token nor these headers.
    Handled Check(httplib::Request const& request, httplib::Response& response) const {
        if (request.path.size() > s_mostPath) {
            Refuse(response, UriTooLong, "The address is too long");
            return Handled::Handled;
        }
        bool isOurs = false;
        for (std::string_view const name : {std::string_view(s_loopback), std::string_view("localhost")}) {
            std::string const host = fmt::format("{}:{}", name, m_port);
            std::string const origin = request.get_header_value("Origin");
            isOurs = isOurs || (request.get_header_value("Host") == host &&
                                (origin.empty() || origin == "http://" + host));
        }
        if (isOurs && request.path.starts_with(GetRoot()))
            return Handled::Unhandled;
        Refuse(response, Forbidden, "Open the address that tarsel try printed");
        return Handled::Handled;
    }

    void AddPage() {
        for (PageFile const& file : GetPageFiles()) {
            auto const answer = [&file](httplib::Request const&, httplib::Response& response) {
                response.set_content(file.text.data(), file.text.size(), FindType(file.name));
            };
            m_server.Get(GetRoot() + std::string(file.name), answer);
            if (file.name == "index.html")
                m_server.Get(GetRoot(), answer);
        }
    }

    void AddRequest(Request const& each, Session& session) {
        auto const handle = [&each, &session](httplib::Request const& request, httplib::Response& response) {
            Answer answer;
            try {
                answer = (session.*each.answer)(request.body);
            } catch (std::exception const& failure) {
                answer = Session::Explain(failure);
            }
            response.status = answer.status;
            if (!answer.frame.empty())
                response.set_header("X-Frame", answer.frame);
            response.set_content(answer.body, answer.type.c_str());
        };
        std::string const path = GetRoot() + std::string(each.path);
        if (each.method == "GET")
            m_server.Get(path, handle);
        else if (each.method == "POST")
            m_server.Post(path, handle);
        else
            m_server.Delete(path, handle);
    }

    httplib::Server m_server;
    std::string m_token;
    int m_port = 0;
};

bool CanServe() noexcept {
    return true;
}

Server::Server() : m_http(std::make_unique<Http>()) {}

Server::~Server() = default;

std::string Server::GetAddress() const {
    return m_http->GetAddress();
}

void Server::Serve(Session& session, std::stop_token const& stop) {
    m_http->Serve(session, stop);
}

void Server::Stop() {
    m_http->Stop();
}

} // namespace Tarsel::Tools

#else

namespace Tarsel::Tools {

class Server::Http {};

bool CanServe() noexcept {
    return false;
}

Server::Server() = default;

Server::~Server() = default;

std::string Server::GetAddress() const {
    return {};
}

void Server::Serve(Session&, std::stop_token const&) {}

void Server::Stop() {}

} // namespace Tarsel::Tools

#endif

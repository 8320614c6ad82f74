#pragma once

#include "Tools/Tarsel/Try/Session.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

namespace Tarsel::Tools {

/// Whether this program can serve pages: it was built with cpp-httplib.
bool CanServe() noexcept;

/// Serves the page and the requests of Requests.h over HTTP on the loopback, at an address that holds a
/// random token. Refused are other addresses and methods, other values of Host, Origins but its own, bodies
/// of more than a megabyte and long addresses; sixteen requests are answered at a time.
class Server {
public:
    /// Takes a free port. Media::OutputException where there is none.
    Server();
    Server(Server const&) = delete;
    Server& operator=(Server const&) = delete;
    ~Server();

    /// "http://127.0.0.1:41234/0123.../", where the page is.
    std::string GetAddress() const;
    /// Answers until Stop, or until a stop is asked for. Blocks; once.
    void Serve(Session& session, std::stop_token const& stop);
    /// Any thread.
    void Stop();

private:
    class Http;

    std::unique_ptr<Http> m_http;
};

} // namespace Tarsel::Tools

#include "cli/Readiness.h"

#include "report/Text.h"

#include "Files.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <ostream>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Tool {

namespace {

/// One datagram to the service manager, if there is one. A name that begins with "@" is not of the file system.
void notify(std::string_view state)
{
    auto const* const name = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    auto const length = name ? std::string_view(name).copy(address.sun_path, sizeof address.sun_path) : 0;
    if (length < 2 || length == sizeof address.sun_path || (name[0] != '/' && name[0] != '@'))
        return;
    if (name[0] == '@')
        address.sun_path[0] = '\0';
    Host::FileDescriptor const socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    [[maybe_unused]] auto const sent =
        ::sendto(socket.get(), state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr const*>(&address),
                 static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
}

volatile std::sig_atomic_t isServiceReady = 0;

} // namespace

Readiness::Readiness(Console& console, Lasting const* lasting, std::string const& directory)
    : m_console(console), m_lasting(lasting), m_directory(directory)
{}

Readiness::~Readiness()
{
    if (m_told)
        notify("STOPPING=1");
}

std::string Readiness::fault(Lasting const& lasting)
{
    // What this process starts is not to hold the descriptor open.
    if (!lasting.descriptor || ::fcntl(*lasting.descriptor, F_SETFD, FD_CLOEXEC) == 0)
        return "";
    return "--ready-fd " + std::to_string(*lasting.descriptor) + ": " + std::generic_category().message(errno);
}

void Readiness::tell()
{
    if (!m_lasting || std::exchange(m_told, true))
        return;
    m_console.err << "mediadata: " << m_lasting->doing << ' ' << escaped(m_directory) << " as process " << ::getpid()
                  << std::endl;
    if (m_lasting->descriptor) {
        Host::FileDescriptor const descriptor(*m_lasting->descriptor);
        Host::writeAll(descriptor.get(), "ready\n");
    }
    isServiceReady = 1; // A signal may come while the manager hears it.
    notify("READY=1");
}

void Readiness::endBySignal()
{
    if (isServiceReady != 0)
        notify("STOPPING=1");
}

} // namespace Tool

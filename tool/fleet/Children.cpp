#include "fleet/Children.h"

#include "workbench/Child.h"

#include "Files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

namespace Tool {

namespace {

struct Running {
    std::size_t index;
    pid_t child;
    Host::FileDescriptor out; ///< this end of the pipe that it writes its answer to
    Host::FileDescriptor err; ///< what it says besides
    std::string text = {};
};

/// Reads what there is; false at the end.
bool readSome(int descriptor, std::string& text)
{
    std::array<char, 65536> piece;
    ssize_t length = 0;
    do {
        length = ::read(descriptor, piece.data(), piece.size());
    } while (length < 0 && errno == EINTR);
    text.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return length > 0;
}

ChildEnd endOf(Running& running)
{
    ChildEnd end{endOfChild(running.child), std::move(running.text), {}};
    if (::lseek(running.err.get(), 0, SEEK_SET) == 0) {
        while (readSome(running.err.get(), end.err)) {
        }
    }
    return end;
}

/// False, with the reason, when it cannot be started.
bool start(Children const& children, std::size_t index, std::vector<Running>& running, std::string& error)
{
    char const* const input = children.input.empty() ? "/dev/null" : children.input.c_str();
    Host::FileDescriptor const in(::open(input, O_RDONLY | O_CLOEXEC));
    Host::FileDescriptor err(::memfd_create("errors", MFD_CLOEXEC));
    std::array<int, 2> ends{-1, -1};
    bool const isPiped = in && err && ::pipe2(ends.data(), O_CLOEXEC) == 0;
    Host::FileDescriptor out(ends[0]);
    Host::FileDescriptor const theirs(ends[1]);
    auto const child = isPiped ? startChild(children.words(index), in.get(), theirs.get(), err.get()) : -1;
    if (child < 0)
        error = std::strerror(errno);
    else
        running.push_back({index, child, std::move(out), std::move(err)});
    return child >= 0;
}

} // namespace

void runChildren(Children const& children)
{
    std::vector<Running> running;
    bool isStopped = false;
    auto const begin = [&](std::size_t index) {
        std::string error;
        if (!start(children, index, running, error))
            children.ended(index, {-1, {}, "it could not be started: " + error});
    };
    for (std::size_t next = 0; next < children.count || !running.empty();) {
        while (!isStopped && next < children.count && running.size() < children.most)
            begin(next++);
        if (running.empty()) {
            if (isStopped)
                return;
            continue;
        }
        std::vector<pollfd> waiting;
        std::ranges::transform(running, std::back_inserter(waiting), [](Running const& each) {
            return pollfd{each.out.get(), POLLIN, 0};
        });
        waiting.push_back({isStopped ? -1 : children.stop, POLLIN, 0});
        if (::poll(waiting.data(), waiting.size(), -1) < 0)
            continue;
        isStopped = isStopped || waiting.back().revents != 0;
        for (std::size_t place = running.size(); place-- > 0;) {
            auto& each = running[place];
            if (waiting[place].revents == 0 || readSome(each.out.get(), each.text))
                continue;
            auto const index = each.index;
            auto end = endOf(each);
            running.erase(running.begin() + static_cast<std::ptrdiff_t>(place));
            if (children.ended(index, std::move(end)))
                begin(index);
        }
    }
}

} // namespace Tool

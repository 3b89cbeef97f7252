// Runs operations and prints one line each: the operation, a tab and nanoseconds per call. With a count it runs one operation
// that often instead, between marks for strace (write to descriptor -1) or callgrind (a toggle) to count between.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

namespace Bench {

using Clock = std::chrono::steady_clock;

template <class T> void keep(T const& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

inline double seconds(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

inline void pin(int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor % static_cast<int>(std::thread::hardware_concurrency()), &set);
    sched_setaffinity(0, sizeof set, &set);
}

/// A thread that does `work` again and again until destroyed.
class Beside {
public:
    template <class Work> Beside(int processor, Work work)
        : m_thread([this, processor, work]() mutable {
              pin(processor);
              while (!m_done)
                  work();
          })
    {}
    ~Beside()
    {
        m_done = true;
        m_thread.join();
    }

private:
    std::atomic<bool> m_done = false;
    std::thread m_thread;
};

/// For an operation that needs no preparation.
struct Nothing {
    void operator()(std::size_t) const {}
};

class Runner {
public:
    /// `count` 0: all operations are timed. Otherwise only `operation` runs, that often, between toggles of callgrind or, with
    /// `marksCalls`, between marks: "call" before each call and "aside" behind it.
    Runner(std::string operation, std::size_t count, bool marksCalls = false)
        : m_only(std::move(operation)), m_count(count), m_marksCalls(marksCalls)
    {}

    bool wants(std::string const& name) const { return m_only.empty() || m_only == name; }

    /// `call` gets the number of the call, as does `prepare` before each, which is not measured. The time is the median of those
    /// of batches, each of half a millisecond at least or one call.
    template <class Call, class Prepare = Nothing>
    void operation(char const* name, double budget, Call call, Prepare prepare = {})
    {
        if (!wants(name))
            return;
        if (m_count > 0) {
            countCalls(call, prepare);
            return;
        }
        constexpr bool isAlone = !std::is_same_v<Prepare, Nothing>;
        std::size_t done = 0;
        std::size_t batch = 1;
        auto const timed = [&] {
            prepare(done);
            auto const start = Clock::now();
            for (std::size_t const end = done + batch; done < end; ++done)
                call(done);
            return seconds(Clock::now() - start);
        };
        for (auto const start = Clock::now(); seconds(Clock::now() - start) < budget / 5;) // warm-up, finds the batch
            batch = timed() < 0.0005 && !isAlone ? batch * 2 : batch;
        std::vector<double> times;
        for (auto const start = Clock::now(); times.empty() || seconds(Clock::now() - start) < budget;)
            times.push_back(timed() / static_cast<double>(batch));
        auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        report(name, *middle * 1e9);
    }

    static void report(std::string const& name, double value) { std::printf("%s\t%.6g\n", name.c_str(), value); }

private:
    template <class Call, class Prepare> void countCalls(Call& call, Prepare& prepare) const
    {
        prepare(0);
        call(0);
        if (std::is_same_v<Prepare, Nothing> && !m_marksCalls) { // nothing else between the toggles
            CALLGRIND_TOGGLE_COLLECT;
            for (std::size_t i = 1; i <= m_count; ++i)
                call(i);
            CALLGRIND_TOGGLE_COLLECT;
            return;
        }
        for (std::size_t i = 1; i <= m_count; ++i) {
            prepare(i);
            mark("call");
            CALLGRIND_TOGGLE_COLLECT;
            call(i);
            CALLGRIND_TOGGLE_COLLECT;
            mark("aside");
        }
    }

    void mark(char const* name) const
    {
        if (m_marksCalls) [[maybe_unused]]
            auto const refused = write(-1, name, std::strlen(name));
    }

    std::string m_only;
    std::size_t m_count;
    bool m_marksCalls;
};

/// Writes what the system says of this process's memory to standard output, using none for it.
inline void showMemory()
{
    for (char const* const file : {"/proc/self/smaps", "/proc/self/status"}) {
        static char text[4096];
        int const from = open(file, O_RDONLY | O_CLOEXEC);
        for (ssize_t length = 0; (length = read(from, text, sizeof text)) > 0;)
            if (write(STDOUT_FILENO, text, static_cast<std::size_t>(length)) != length)
                std::abort();
        close(from);
    }
}

} // namespace Bench

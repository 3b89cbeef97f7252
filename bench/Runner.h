// Runs operations and prints one line each: the operation, a tab and nanoseconds per call. With a count it runs one operation
// that often between two marks instead, for strace (write to descriptor -1) and callgrind (a toggle) to count between.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

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

/// A thread that does `work` again and again until destroyed, on the second processor.
class Beside {
public:
    template <class Work> explicit Beside(Work work)
        : m_thread([this, work]() mutable {
              pin(1);
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

class Runner {
public:
    /// `count` 0: all operations are timed. Otherwise only `operation` runs, that often.
    /// With `marksEach` each call begins with a mark, too, for telling which system calls belong to it.
    Runner(std::string operation, std::size_t count, bool marksEach = false)
        : m_only(std::move(operation)), m_count(count), m_marksEach(marksEach)
    {}

    bool wants(std::string const& name) const { return m_only.empty() || m_only == name; }

    /// `call` gets the number of the call.
    template <class Call> void operation(char const* name, double budget, Call call, double callsInOne = 1)
    {
        if (!wants(name))
            return;
        if (m_count > 0) {
            call(0);
            mark("begin");
            CALLGRIND_TOGGLE_COLLECT;
            for (std::size_t i = 1; i <= m_count; ++i) {
                if (m_marksEach)
                    mark("call");
                call(i);
            }
            CALLGRIND_TOGGLE_COLLECT;
            mark("end");
            return;
        }
        std::size_t done = 0;
        std::size_t batch = 1;
        for (auto const start = Clock::now(); seconds(Clock::now() - start) < budget / 5;) // warm-up, finds the batch
            batch = run(call, done, batch) < 0.0005 ? batch * 2 : batch;
        std::size_t const first = done;
        double total = 0;
        while (total < budget)
            total += run(call, done, batch);
        report(name, total * 1e9 / (static_cast<double>(done - first) * callsInOne));
    }

    static void report(char const* name, double value) { std::printf("%s\t%.6g\n", name, value); }

private:
    template <class Call> static double run(Call& call, std::size_t& done, std::size_t batch)
    {
        auto const start = Clock::now();
        for (std::size_t const end = done + batch; done < end; ++done)
            call(done);
        return seconds(Clock::now() - start);
    }

    static void mark(std::string const& name) { [[maybe_unused]] auto const refused = write(-1, name.data(), name.size()); }

    std::string m_only;
    std::size_t m_count;
    bool m_marksEach;
};

/// One figure of /proc/self, in kB.
inline double processFigure(char const* file, std::string const& label)
{
    double result = 0;
    if (std::FILE* const stream = std::fopen(file, "r")) {
        for (char line[256]; std::fgets(line, sizeof line, stream) != nullptr;)
            if (std::string(line).starts_with(label))
                result = std::strtod(line + label.size(), nullptr);
        std::fclose(stream);
    }
    return result;
}

inline void reportMemory()
{
    Runner::report("anonymous memory", processFigure("/proc/self/smaps_rollup", "Anonymous:"));
    Runner::report("peak memory", processFigure("/proc/self/status", "VmHWM:"));
}

} // namespace Bench

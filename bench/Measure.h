// The operations, the same for every system. A system is a class Store:
//   Store(Setup)                        opens what `fill` stored
//   read(Key, T&), write(Key, T)        T is int, bool, std::string; write is false when refused
//   save()                              returns when everything written is durable
//   listen(Key, int& heard)             counts changes of the key from now on
//   await(int const& heard, int count)  returns when so many were heard
//   readMany(keys), writeMany(keys, variant)
//   another()                           the store for a second thread
//   ownOperations(runner)               what only this system can do; need not be there
//   hasNoLock()                         true: nobody may read while another writes; need not be there
// and constants that say what it has: validates, persists, notifies.
#pragma once

#include "Keys.h"
#include "Latencies.h"
#include "Runner.h"

#include <list>
#include <memory>

#include <sys/resource.h>

namespace Bench {

struct Setup {
    std::string variant;
    std::string directory;
};

/// Changes one key after the other, each call a change.
class Changes {
public:
    template <class Store> Changes(std::vector<Key> keys, Store& store) : m_keys(std::move(keys))
    {
        for (Key const& key : m_keys)
            write(store, key, 0);
        store.save();
    }

    Changes(Changes const&) = delete;
    Changes& operator=(Changes const&) = delete;

    std::vector<Key> const& keys() const { return m_keys; }

    template <class Store> bool write(Store& store, Key const& key, int variant) const
    {
        int value = 0;
        key.value(variant, value);
        return store.write(key, value);
    }

    template <class Store> void makeOne(Store& store)
    {
        if (!write(store, *m_next, m_variant))
            std::abort(); // the benchmark would measure something else
        if (++m_next == m_keys.end()) {
            m_next = m_keys.begin();
            m_variant = 1 - m_variant;
        }
    }

private:
    std::vector<Key> const m_keys;
    std::vector<Key>::const_iterator m_next = m_keys.begin();
    int m_variant = 1;
};

/// How often this thread had to leave its processor to another, which is no fault of what it was doing.
inline long descheduled()
{
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nivcsw;
}

/// Reads beside a writer without pause: how many a second, how long they take, and how many changes and how long ones meanwhile.
template <class Store> void readBesideWriter(Store& store, Changes& changes, double budget)
{
    // A read that lasts this long may have been interrupted, a shorter one was not.
    constexpr auto suspicious = std::chrono::microseconds(5);
    std::unique_ptr<Store> const writing = store.another();
    auto const& keys = changes.keys();
    Latencies reads;
    Latencies writes; // the writer's thread notes them
    Clock::duration longest{};
    Clock::duration longestRunning{};
    Clock::duration longestWrite{};
    auto const start = Clock::now();
    auto before = start;
    {
        Beside const writer(1, [&] {
            auto const begun = Clock::now();
            changes.makeOne(*writing);
            writing->save();
            auto const took = Clock::now() - begun;
            writes.add(static_cast<std::uint64_t>(took.count()));
            longestWrite = std::max(longestWrite, took);
        });
        for (auto interrupted = descheduled(); seconds(before - start) < budget;) {
            int value = 0;
            store.read(keys[reads.total() % keys.size()], value);
            keep(value);
            auto now = Clock::now();
            auto const took = now - before;
            reads.add(static_cast<std::uint64_t>(took.count()));
            longest = std::max(longest, took);
            if (took > suspicious) {
                auto const times = descheduled();
                if (times == interrupted)
                    longestRunning = std::max(longestRunning, took);
                interrupted = times;
                now = Clock::now();
            }
            before = now;
        }
    }
    auto const passed = seconds(before - start);
    Runner::report("reads per second beside a writer", static_cast<double>(reads.total()) / passed);
    for (auto const& [part, name] : {std::pair{0.5, "p50"}, {0.99, "p99"}, {0.999, "p99.9"}})
        Runner::report(std::string("read beside a writer, ") + name, reads.quantile(part));
    Runner::report("longest read beside a writer", seconds(longest) * 1e9);
    Runner::report("the same, reader not descheduled", seconds(longestRunning) * 1e9);
    Runner::report("changes per second of that writer", static_cast<double>(writes.total()) / passed);
    Runner::report("longest change of that writer", seconds(longestWrite) * 1e9);
}

/// What a read takes each of several threads that read as fast as they can.
template <class Store> void readTogether(Store& store, std::vector<Key> const& keys, std::string const& name, int readers)
{
    struct alignas(64) Reader { // on a cache line of its own
        std::unique_ptr<Store> another;
        std::size_t reads = 0;
        void read(Store& store, std::vector<Key> const& keys)
        {
            int value = 0;
            store.read(keys[reads++ % keys.size()], value);
            keep(value);
        }
    };
    std::vector<Reader> all(static_cast<std::size_t>(readers));
    for (Reader& each : all)
        each.another = store.another();
    auto const start = Clock::now();
    {
        std::list<Beside> beside;
        for (int i = 1; i < readers; ++i)
            beside.emplace_back(i, [&keys, &self = all[static_cast<std::size_t>(i)]] { self.read(*self.another, keys); });
        while (seconds(Clock::now() - start) < 0.2)
            for (int i = 0; i < 64; ++i)
                all[0].read(store, keys);
    }
    auto const passed = seconds(Clock::now() - start);
    std::size_t reads = 0;
    for (Reader const& each : all)
        reads += each.reads;
    Runner::report(name, passed * 1e9 * readers / static_cast<double>(reads));
}

template <class Store> void readOperations(Runner& runner, Store& store)
{
    auto const ints = keysOf(Type::Int, false);
    auto const strings = keysOf(Type::String, true);
    runner.operation("read int", 0.1, [&](std::size_t i) {
        int value = 0;
        store.read(ints[i % ints.size()], value);
        keep(value);
    });
    std::string value; // kept, as a reader that cares keeps its own
    runner.operation("read string", 0.1, [&](std::size_t i) {
        store.read(strings[i % strings.size()], value);
        keep(value);
    });
    std::vector<Key> const hundred(allKeys().begin(), allKeys().begin() + 100);
    runner.operation("bulk read of 100", 0.1, [&](std::size_t) { store.readMany(hundred); });
    for (auto const& [name, readers] : {std::pair{"read int, two readers", 2}, {"read int, four readers", 4}})
        if (runner.wants(name))
            readTogether(store, ints, name, readers);
}

template <class Store> void writeOperations(Runner& runner, Store& store)
{
    auto const several = keysOf(Type::String, true);
    std::vector<Key> const hundred(several.begin(), several.begin() + 100);
    auto const all = keysKept({Kept::Alone});
    for (auto const& [name, keys] : {std::pair{"bulk write of 100", &hundred}, {"bulk write of all single settings", &all}})
        runner.operation(name, 0.3, [&store, &keys = *keys](std::size_t i) {
            store.writeMany(keys, static_cast<int>(i) % 2);
            store.save();
        });
    Changes changes(keysOf(Type::Int, true), store);
    auto const& ints = changes.keys();
    runner.operation("write unchanged", 0.1, [&](std::size_t i) { changes.write(store, ints[i % ints.size()], 0); });
    if constexpr (Store::validates)
        runner.operation("write refused", 0.1, [&](std::size_t i) {
            Key const& key = ints[i % ints.size()];
            if (store.write(key, key.maximum + 1))
                std::abort();
        });
    if constexpr (Store::persists) {
        runner.operation("durable change", 0.6, [&](std::size_t) {
            changes.makeOne(store);
            store.save();
        });
        bool mayBeRead = true;
        if constexpr (requires { store.hasNoLock(); })
            mayBeRead = !store.hasNoLock();
        if (mayBeRead && runner.wants("beside a writer"))
            readBesideWriter(store, changes, 0.6);
    }
    runner.operation("change", 0.2, [&](std::size_t) { changes.makeOne(store); });
    store.save();
}

/// The last, since there is no way back from listening.
template <class Store> void listeningOperations(Runner& runner, Store& store)
{
    if constexpr (Store::notifies) {
        if (!runner.wants("change, one callback"))
            return;
        Changes changes(keysOf(Type::Int, true), store);
        static int heard = 0;
        for (Key const& key : changes.keys())
            store.listen(key, heard);
        runner.operation("change, one callback", 0.2, [&](std::size_t) {
            heard = 0;
            changes.makeOne(store);
            store.await(heard, 1);
        });
    }
}

template <class Store> void fill(Setup const& setup)
{
    Store store(setup);
    store.writeMany(allKeys(), 1);
    store.save();
}

/// Opens the store, reads one value and calls `done` before closing it.
template <class Store, class Done> void startUp(Setup const& setup, Done done)
{
    Store store(setup);
    int value = 0;
    store.read(firstKey(), value);
    keep(value);
    done();
}

/// Arguments: variant, directory, what to do (fill, all, start, run, hold, memory, count OPERATION N, trace OPERATION N). `start`
/// prints the time of the monotonic clock when the first value was there, where callgrind stops counting; `run` only comes and
/// goes; `hold` ends with the first value and frees nothing.
template <class Store> int measure(int argc, char** argv)
{
    if (argc < 4)
        return 2;
    Setup const setup{argv[1], argv[2]};
    std::string const job = argv[3];
    if (job == "start") {
        startUp<Store>(setup, [] {
            CALLGRIND_TOGGLE_COLLECT;
            std::printf("%lld\n", static_cast<long long>(Clock::now().time_since_epoch().count()));
            std::fflush(stdout);
        });
        return 0;
    }
    if (job == "run") {
        startUp<Store>(setup, [] {});
        return 0;
    }
    if (job == "hold") {
        startUp<Store>(setup, [] { _exit(0); });
        return 1;
    }
    if (job == "memory") {
        startUp<Store>(setup, showMemory);
        return 0;
    }
    if (job == "fill") {
        fill<Store>(setup);
        return 0;
    }
    std::thread([] {}).join(); // a process that never had a second thread gets cheaper locks
    pin(0);
    Runner runner(argc > 5 ? argv[4] : "", argc > 5 ? static_cast<std::size_t>(std::atol(argv[5])) : 0, job == "trace");
    runner.operation("start-up and shut-down in process", 0.2, [&](std::size_t) { startUp<Store>(setup, [] {}); });
    Store store(setup);
    if constexpr (!Store::persists)
        store.writeMany(allKeys(), 1);
    readOperations(runner, store);
    writeOperations(runner, store);
    if constexpr (requires { store.ownOperations(runner); })
        store.ownOperations(runner);
    listeningOperations(runner, store);
    return 0;
}

} // namespace Bench

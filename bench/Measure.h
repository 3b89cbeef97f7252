// The operations, the same for every system. A system is a class Store:
//   Store(Setup)                        opens what `fill` stored
//   read(Key, T&), write(Key, T)        T is int, bool, std::string; write is false when refused
//   save()                              returns when everything written is durable
//   listen(Key, int& heard)             counts changes of the key from now on
//   await(int const& heard, int count)  returns when so many were heard
//   readMany(keys), writeMany(keys, variant)
//   another()                           the store for a second thread
//   ownOperations(runner)               what only this system can do; need not be there
// and constants that say what it has: validates, persists, notifies.
#pragma once

#include "Keys.h"
#include "Runner.h"

#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>

namespace Bench {

struct Setup {
    std::string variant;
    std::string directory;
};

/// Changes one key after the other, each call a change.
class Changes {
public:
    explicit Changes(std::vector<Key> keys) : m_keys(std::move(keys)) {}

    std::vector<Key> const& keys() const { return m_keys; }

    template <class Store> bool write(Store& store, Key const& key, int variant) const
    {
        int value = 0;
        key.value(variant, value);
        return store.write(key, value);
    }

    template <class Store> void makeOne(Store& store)
    {
        Key const& key = m_keys[m_made % m_keys.size()];
        if (!write(store, key, static_cast<int>(m_made++ / m_keys.size() + 1) % 2))
            std::abort(); // the benchmark would measure something else
    }

private:
    std::vector<Key> const m_keys;
    std::size_t m_made = 0;
};

/// Reads beside a writer without pause: how many a second, the longest, and the longest change meanwhile.
template <class Store> void readBesideWriter(Store& store, Changes& changes, double budget)
{
    std::unique_ptr<Store> const writing = store.another();
    auto const& keys = changes.keys();
    std::size_t reads = 0;
    double longestRead = 0;
    double longestChange = 0; // of the writer's thread
    auto const start = Clock::now();
    auto before = start;
    {
        Beside const writer([&] {
            auto const begun = Clock::now();
            changes.makeOne(*writing);
            writing->save();
            longestChange = std::max(longestChange, seconds(Clock::now() - begun));
        });
        for (; seconds(before - start) < budget; ++reads) {
            int value = 0;
            store.read(keys[reads % keys.size()], value);
            keep(value);
            auto const now = Clock::now();
            longestRead = std::max(longestRead, seconds(now - before));
            before = now;
        }
    }
    Runner::report("reads per second beside a writer", static_cast<double>(reads) / seconds(before - start));
    Runner::report("longest read beside a writer", longestRead * 1e9);
    Runner::report("longest change of that writer", longestChange * 1e9);
}

template <class Store> void readOperations(Runner& runner, Store& store)
{
    auto const ints = keysOf(Type::Int, false);
    auto const strings = keysOf(Type::String, true);
    auto const readInt = [&](Store& from, std::size_t i) {
        int value = 0;
        from.read(ints[i % ints.size()], value);
        keep(value);
    };
    runner.operation("read int", 0.1, [&](std::size_t i) { readInt(store, i); });
    std::string value; // kept, as a reader that cares keeps its own
    runner.operation("read string", 0.1, [&](std::size_t i) {
        store.read(strings[i % strings.size()], value);
        keep(value);
    });
    std::vector<Key> const hundred(allKeys().begin(), allKeys().begin() + 100);
    runner.operation("bulk read of 100", 0.1, [&](std::size_t) { store.readMany(hundred); });
    if (runner.wants("read int, two readers")) {
        auto const second = store.another();
        std::size_t j = 0;
        Beside const reader([&] { readInt(*second, ++j); });
        runner.operation("read int, two readers", 0.2, [&](std::size_t i) { readInt(store, i); });
    }
}

template <class Store> void writeOperations(Runner& runner, Store& store)
{
    Changes changes(keysOf(Type::Int, true));
    auto const& ints = changes.keys();
    for (Key const& key : ints)
        changes.write(store, key, 0);
    store.save();
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
        if (runner.wants("beside a writer"))
            readBesideWriter(store, changes, 0.6);
    }
    runner.operation("change", 0.2, [&](std::size_t) { changes.makeOne(store); });
    store.save();
    auto const several = keysOf(Type::String, true);
    std::vector<Key> const hundred(several.begin(), several.begin() + 100);
    runner.operation("bulk write of 100", 0.3, [&](std::size_t i) {
        store.writeMany(hundred, static_cast<int>(i) % 2);
        store.save();
    });
    if constexpr (Store::notifies) {
        static int heard = 0;
        for (Key const& key : ints)
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

/// Arguments: variant, directory, what to do (fill, all, start, memory, count OPERATION N, trace OPERATION N). `start` prints the time of the
/// monotonic clock when the first value was there.
template <class Store> int measure(int argc, char** argv)
{
    if (argc < 4)
        return 2;
    Setup const setup{argv[1], argv[2]};
    std::string const job = argv[3];
    if (job == "start") {
        startUp<Store>(setup, [] {
            std::printf("%lld\n", static_cast<long long>(Clock::now().time_since_epoch().count()));
            std::fflush(stdout);
        });
        return 0;
    }
    if (job == "fill") {
        fill<Store>(setup);
        return 0;
    }
    if (job == "memory") {
        startUp<Store>(setup, reportMemory);
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
    return 0;
}

} // namespace Bench

// LMDB: the fastest embedded store one would take for small values; durable commits, one read transaction renewed per read.
#include "Measure.h"

#include <lmdb.h>

#include <cstring>

namespace Bench {

namespace {

void check(int code)
{
    if (code != MDB_SUCCESS)
        std::abort();
}

class LmdbStore {
public:
    static constexpr bool validates = false;
    static constexpr bool persists = true;
    static constexpr bool notifies = false;

    explicit LmdbStore(Setup const& setup) : m_owner(true)
    {
        check(mdb_env_create(&m_environment));
        check(mdb_env_set_mapsize(m_environment, 4 << 20));
        check(mdb_env_open(m_environment, setup.directory.c_str(), MDB_NOTLS, 0600));
        MDB_txn* transaction = nullptr;
        check(mdb_txn_begin(m_environment, nullptr, 0, &transaction));
        check(mdb_dbi_open(transaction, nullptr, 0, &m_table));
        check(mdb_txn_commit(transaction));
        prepareReading();
    }
    LmdbStore(LmdbStore const& other) : m_environment(other.m_environment), m_table(other.m_table) { prepareReading(); }
    ~LmdbStore()
    {
        mdb_txn_abort(m_reading);
        if (m_owner)
            mdb_env_close(m_environment);
    }

    template <class T> bool read(Key const& key, T& value)
    {
        check(mdb_txn_renew(m_reading));
        bool const found = get(m_reading, key, value);
        mdb_txn_reset(m_reading);
        return found;
    }

    template <class T> bool write(Key const& key, T const& value)
    {
        T present{};
        if (read(key, present) && present == value)
            return true;
        MDB_txn* transaction = nullptr;
        check(mdb_txn_begin(m_environment, nullptr, 0, &transaction));
        put(transaction, key, value);
        return mdb_txn_commit(transaction) == MDB_SUCCESS;
    }

    void save() {}

    void readMany(std::vector<Key> const& keys)
    {
        check(mdb_txn_renew(m_reading));
        for (Key const& key : keys)
            each(key, [&](auto value) {
                get(m_reading, key, value);
                keep(value);
            });
        mdb_txn_reset(m_reading);
    }

    void writeMany(std::vector<Key> const& keys, int variant)
    {
        MDB_txn* transaction = nullptr;
        check(mdb_txn_begin(m_environment, nullptr, 0, &transaction));
        for (Key const& key : keys)
            each(key, [&](auto value) {
                key.value(variant, value);
                put(transaction, key, value);
            });
        check(mdb_txn_commit(transaction));
    }

    std::unique_ptr<LmdbStore> another() { return std::make_unique<LmdbStore>(*this); }

private:
    void prepareReading()
    {
        check(mdb_txn_begin(m_environment, nullptr, MDB_RDONLY, &m_reading));
        mdb_txn_reset(m_reading);
    }

    static MDB_val bytes(std::string const& text) { return {text.size(), const_cast<char*>(text.data())}; }

    template <class T> bool get(MDB_txn* transaction, Key const& key, T& value)
    {
        MDB_val name = bytes(key.name);
        MDB_val data{};
        if (mdb_get(transaction, m_table, &name, &data) != MDB_SUCCESS)
            return false;
        if constexpr (std::is_same_v<T, std::string>)
            value.assign(static_cast<char const*>(data.mv_data), data.mv_size);
        else
            std::memcpy(&value, data.mv_data, sizeof value);
        return true;
    }

    template <class T> void put(MDB_txn* transaction, Key const& key, T const& value)
    {
        MDB_val name = bytes(key.name);
        MDB_val data{};
        if constexpr (std::is_same_v<T, std::string>)
            data = bytes(value);
        else
            data = {sizeof value, const_cast<T*>(&value)};
        check(mdb_put(transaction, m_table, &name, &data, 0));
    }

    bool m_owner = false;
    MDB_env* m_environment = nullptr;
    MDB_dbi m_table = 0;
    MDB_txn* m_reading = nullptr;
};

} // namespace

} // namespace Bench

int main(int argc, char** argv)
{
    return Bench::measure<Bench::LmdbStore>(argc, argv);
}

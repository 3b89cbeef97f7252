// The library's table code on copies of the tables: what its checks would say of cells that are only wanted, and what it would
// read out of texts that are stored. Nothing reaches the cache or the database.
#pragma once

#include "Data/DataDBCallback.h"
#include "Data/DataTypes.h"

#include <set>
#include <string>

namespace Tool {

class TableRehearsal : private Data::DataDBCallback {
public:
    /// Puts a value in the place of the present one.
    void want(Data::eDataTag tag, std::string text);

    /// The tables with wanted cells that their checks would not take. The library logs why.
    std::set<Data::eDataTag> refused();

    /// The tables as a start reads them out of `stored`, a map with texts of tables and single items; everything else starts
    /// with its default.
    Data::DataTagValue_t read(Data::DataTagValue_t stored);

private:
    void dbCBGetDataValues(Data::DataTagValue_t& values) override;
    bool dbCBSetDataValues(Data::DataTagValue_t const& values, bool persist, bool toManagement) override;
    void dbCBGetFailed(Data::eDataTag tag) override;
    void dbCBResetSelectedToDefault(Data::DataTagValue_t& values) override;
    bool dbCBQueryIsTableUserData(Data::eDataTag table) override;

    bool m_fromCache = true; ///< what is not in m_values is as in the cache; otherwise it has its default
    Data::DataTagValue_t m_values;
};

} // namespace Tool

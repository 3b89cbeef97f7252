// The library's table code on copies of the tables: what its checks would say of cells that are only wanted, now and at the
// next start, and what it would read out of texts that are stored. Nothing reaches the cache or the database.
#pragma once

#include "Data/DataDBCallback.h"
#include "Data/DataOCMSCallback.h"
#include "Data/DataTypes.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

class ManageableData;

namespace Tool {

class Rehearsal : private Data::DataDBCallback, private Data::DataOCMSCallback {
public:
    /// Puts a value in the place of the present one.
    void want(Data::eDataTag tag, std::string text);

    /// The same for what a management request asks for, its tables completed and sorted by the library's rules.
    void want(ManageableData request);

    /// The tables with wanted cells that their checks would not take, and why. The library logs the details.
    std::map<Data::eDataTag, std::string> refused();

    /// The texts of the tables with wanted cells as the database would get them.
    Data::DataTagValue_t tableTexts();

    /// The tables as a start reads them out of `stored`, a map with texts of tables and single items; everything else starts
    /// with its default.
    Data::DataTagValue_t read(Data::DataTagValue_t stored);

    /// The cells, and their texts, that the items' own validators refused to the tables' rules.
    std::vector<std::pair<Data::eDataTag, std::string>> const& refusals() const { return m_refusals; }

private:
    /// Has the library write the tables with wanted cells, and answers the cells of those that it would not take.
    Data::DataTagValue_t write();

    void dbCBGetDataValues(Data::DataTagValue_t& values) override;
    bool dbCBSetDataValues(Data::DataTagValue_t const& values, bool persist, bool toManagement) override;
    void dbCBGetFailed(Data::eDataTag tag) override;
    void dbCBResetSelectedToDefault(Data::DataTagValue_t& values) override;
    bool dbCBQueryIsTableUserData(Data::eDataTag table) override;
    void ocmsCBGetDataValues(Data::DataTagValue_t& values) override;
    bool ocmsCBSetDataValues(Data::DataTagValue_t const& values, Data::DataTagValue_t& rejected) override;
    void ocmsCBResetToDefault() override;

    bool m_fromCache = true; ///< what is not in m_values is as in the cache; otherwise it has its default
    bool m_atStart = false;  ///< the hardware rules have not spoken yet
    Data::DataTagValue_t m_values;
    std::vector<std::pair<Data::eDataTag, std::string>> m_refusals;
};

} // namespace Tool

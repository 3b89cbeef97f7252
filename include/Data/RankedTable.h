// The design that the codec, SRTP encryption and headset tables share: rows of a choice, its rank and whether it is allowed.
// What differs between the three are their descriptions and their words; one piece of code serves them.
#pragma once

#include "Data/XmlTable.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Data {

/// How a ranked table names itself and its rows in messages.
struct RankedTableWords {
    char const* className;
    char const* kind;   ///< what is ranked: "encryption", "headset"
    char const* choice; ///< how one is named: "method", "type"
    char const* notIndexed;
};

class MEDIADATA_EXPORT RankedTable : public XmlTable {
public:
    void getTableItemTags(DataTagValue_t& values) override;
    bool processReadData(DataTagValue_t& values, bool clearFiles) override;
    int checkTableData(DataTagValue_t& values, DataTagValue_t& toStore) override;
    void initializeIndexMax() override;

    /// Parses the table tag's text, when `values` holds it, into cells in the order of their ranks.
    virtual void xmlToTableItems(DataTagValue_t& values, bool clearFiles);
    bool tableItemsToXml(DataTagValue_t& values);

protected:
    /// One row as a check read it.
    struct Row {
        int choice = 0;
        int rank = 0;
        bool allowed = false;
        bool hwAllowed = false;
    };

    /// Both are borrowed for the table's life; `sort` orders the cells by their ranks.
    MEDIADATA_HIDDEN RankedTable(Tables::Table const& table, RankedTableWords const& words,
                                 void (*sort)(DataTagValue_t& values, int count));

    /// Each choice and rank in range; among the rows that the hardware can use, one allowed and none named twice. `rows` gets
    /// what was read of each up to the first fault.
    MEDIADATA_HIDDEN bool checkRows(DataTagValue_t const& values, std::vector<Row>& rows) const;

    /// The same into the records by which a table calls its rows: a choice, its rank and the two flags.
    template <class Record>
    MEDIADATA_HIDDEN bool checkRecords(DataTagValue_t const& values, std::vector<Record>& records) const
    {
        records.resize(static_cast<std::size_t>(m_indexMax) + 1);
        std::vector<Row> rows;
        rows.reserve(records.size());
        for (auto const& [choice, rank, allowed, hwAllowed] : records)
            rows.push_back({choice, rank, allowed, hwAllowed});
        bool const sane = checkRows(values, rows);
        for (std::size_t i = 0; i < records.size(); ++i)
            records[i] = {rows[i].choice, rows[i].rank, rows[i].allowed, rows[i].hwAllowed};
        return sane;
    }

private:
    struct Lists {
        std::string choices;
        std::string ranks;
    };

    MEDIADATA_HIDDEN bool readRows(DataTagValue_t const& values, std::vector<Row>& records, Lists& lists) const;
    MEDIADATA_HIDDEN bool judgeRows(std::vector<Row> const& records, Lists const& lists) const;

    RankedTableWords const& m_words;
    void (*m_sort)(DataTagValue_t& values, int count);
};

} // namespace Data

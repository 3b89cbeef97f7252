// The data access service: one object per schema of the configuration database.
// The library makes, uses and destroys every DataStorage with the cache's lock held and on the thread of the operation that
// needs it, so that one object never sees two calls at a time. No function throws.
#pragma once

#include <memory>
#include <string>

class Context;

class DataStorage {
public:
    /// Addresses the schema `schemaName`. Never fails: reachability is asked with findDataAccessService. Keeps a reference to
    /// the context, which must outlive the object.
    DataStorage(Context& context, std::string const& schemaName);
    virtual ~DataStorage();
    DataStorage(DataStorage const&) = delete;
    DataStorage& operator=(DataStorage const&) = delete;

    /// True when the service that keeps this schema is reachable.
    bool findDataAccessService();

    /// Stores one table row given as XML: a plain sequence of elements, with or without an "Entry" around them. A table is
    /// replaced whole: its rows arrive in row order, one call each, the last call returns true only when the whole new table
    /// is durable, and a crash, kill or power cut before that leaves the previous table complete. A fragment that is not
    /// well-formed, or begins with an XML declaration or a byte order mark, is refused and changes nothing. False when refused
    /// or when the database is out of reach.
    bool setDataItems(std::string const& xmlFragment);

    /// Flag 1: the text of one element. Flag 0 with the element "": the whole schema as one XML text,
    /// `<Schema name="...">` with one `<Entry>` per row, rows in row order. An element that was never stored, or a database
    /// out of reach, answers exactly "failure"; an element stored as empty text answers "".
    virtual std::string getDataItem(std::string const& element, int flag);

    /// Stores the text of one element; durable when it returns true. False leaves the previous text. The text "failure",
    /// which would read as never stored, is refused.
    virtual bool setDataItem(std::string const& element, std::string const& text);

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

//! @file
//! Record of the calls that the stand-in host's objects received. The counters always run; the list
//! of calls is kept while it is switched on.

#pragma once

#include "com/Com.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace standin {

//! How an object was reached.
enum class CallKind
{
    method,         //!< IDispatch::Invoke with DISPATCH_METHOD alone
    propertyGet,    //!< IDispatch::Invoke with DISPATCH_PROPERTYGET, alone or with DISPATCH_METHOD
    propertyPut,    //!< IDispatch::Invoke with DISPATCH_PROPERTYPUT or DISPATCH_PROPERTYPUTREF
    getIdsOfNames,  //!< IDispatch::GetIDsOfNames
    queryInterface, //!< IUnknown::QueryInterface
};

//! One call.
struct JournalEntry
{
    long number{};         //!< 1 for the first call that was listed
    std::string className; //!< "Face"
    long object{};         //!< number of the object, unique in its session, 1 for the first one
    CallKind kind{};
    std::string member;    //!< "GetFacetData"; "#4711" when there is no such member;
                           //!< "GetIDsOfNames" and "QueryInterface" for those
    DISPID id{};           //!< as called, 0 where there is none
    std::string arguments; //!< "0.05, long&, double[0]&, missing, missing"; a name or an
                           //!< interface ID for the other two
    std::string answer;    //!< what came back: "12, double[108]"; empty when the call failed
    HRESULT result{};
    bool faulty{}; //!< a fault of the plan struck at this call

    //! Writes the entry on one line: "Face 3 .GetFacetData(47; 0.05, long&, ...) = 12, ...".
    [[nodiscard]] std::string text() const;
};

//! The record of a session.
class Journal
{
public:
    //! Starts or stops listing calls; what is listed stays.
    void record(bool on) noexcept { recording = on; }
    [[nodiscard]] bool isRecording() const noexcept { return recording; }

    //! Gives the calls listed, oldest first.
    [[nodiscard]] const std::vector<JournalEntry>& entries() const noexcept { return list; }
    //! Writes the calls listed, one per line.
    [[nodiscard]] std::string text() const;

    //! Gives how many times IDispatch::Invoke was called, on whatever object, failed or not.
    [[nodiscard]] long invokes() const noexcept { return invokeCount; }
    //! Gives how many calls were received, Invoke, GetIDsOfNames and QueryInterface together.
    [[nodiscard]] long calls() const noexcept { return totalCount; }
    //! Gives how often a member was called.
    //! @param member  "GetFacetData" counts it on every class, "Face.GetFacetData" on one;
    //!                "GetIDsOfNames" and "QueryInterface" count as members
    [[nodiscard]] long count(const std::string& member) const;
    //! Gives all counters, by "Class.Member".
    [[nodiscard]] const std::map<std::string, long>& counters() const noexcept { return counts; }

    //! Empties the list and sets the counters to zero; recording stays as it is.
    void clear();

    //! Counts a call. Called by the host's objects.
    void tally(const std::string& key, CallKind kind);
    //! Lists a call and numbers it. Called by the host's objects.
    void add(JournalEntry entry);

private:
    bool recording = false;
    long invokeCount = 0;
    long totalCount = 0;
    long lastNumber = 0;
    std::map<std::string, long> counts;
    std::vector<JournalEntry> list;
};

} // namespace standin

//! @file
//! Which calls to the stand-in host go wrong, and how.

#pragma once

#include "com/Com.h"
#include "standin/Journal.h"

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace standin {

//! What goes wrong. A kind strikes only at calls that it can change: nullObject only at calls that
//! hand out an object, shortArray only at calls that hand out an array, and so on. Other calls are
//! passed over and not counted.
enum class FaultKind
{
    fail,             //!< the call fails with Fault::code and does nothing
    refuseInterface,  //!< QueryInterface answers Fault::code, E_NOINTERFACE when that is S_OK
    nullObject,       //!< success, every object handed out is null
    noResult,         //!< success, the result is VT_EMPTY
    wrongType,        //!< success, result of another type: an object becomes 7 (VT_I4), a text 0.5
                      //!< (VT_R8), a number or a Boolean becomes the called object (VT_DISPATCH)
    textForNumber,    //!< success, every number or Boolean among result and VARIANT arguments
                      //!< becomes the text "not a number"
    replaceResult,    //!< success, Fault::value is the result
    nullArray,        //!< success, every array handed out is a null pointer
    emptyArray,       //!< success, every array handed out has no element
    shortArray,       //!< success, every array handed out lacks its last element
    otherElementType, //!< success, arrays of doubles come as VT_I4, all others as VT_R8
    otherLowerBound,  //!< success, arrays handed out start at index 5; nothing is missing
    differentAnswer,  //!< success, another answer than is true: numbers are 1 higher, Booleans
                      //!< turned over, texts end in "~", the last byte of a byte array is turned
                      //!< over; an object is another COM object for the same thing
};

//! One entry of the plan. Everything left at its default matches every call.
struct Fault
{
    FaultKind kind = FaultKind::fail;
    HRESULT code = E_FAIL;    //!< for fail and refuseInterface
    bool asException = false; //!< fail: answer DISP_E_EXCEPTION, with the code in EXCEPINFO
    _variant_t value;         //!< for replaceResult

    std::string className;    //!< "Face": only on objects of this class
    std::string member;       //!< "GetFacetData", "GetIDsOfNames", "QueryInterface": only there
    std::optional<DISPID> id; //!< only Invoke with this identifier
    std::optional<IID> iid;   //!< only QueryInterface for this interface; without it faults pass
                              //!< over QueryInterface for IUnknown, which COM lets nobody refuse

    long nth = 1;             //!< strikes at the nth matching call, counted from the entry's making
    bool lasting = false;     //!< and at every matching call after that
    double probability = 0.0; //!< above 0: strikes at each matching call from the nth on with
                              //!< this chance instead, up to 1
    std::uint32_t seed = 1;   //!< for probability; the same seed gives the same calls everywhere
};

//! The plan of a session. Entries work side by side; at a call where several strike, all that
//! change the answer do so in the order of their making, and the first that fails the call wins.
class FaultPlan
{
public:
    //! Adds an entry.
    //! @return its number, for fired(number): 0 for the first one since the last clear()
    std::size_t add(Fault fault);

    //! Adds an entry that fails the nth call of whatever kind and object.
    //! @param nth      1 for the next call
    //! @param code     the result code
    //! @param lasting  also every call after it
    std::size_t failCall(long nth, HRESULT code = E_FAIL, bool lasting = false);
    //! Adds an entry that fails calls of a member, the first one when nothing else is said.
    //! @param member  "GetFacetData", "GetIDsOfNames" or "QueryInterface"
    std::size_t failMember(const std::string& member, HRESULT code = E_FAIL, long nth = 1,
                           bool lasting = false);

    //! Drops all entries and forgets what has fired.
    void clear();

    //! Tells whether any entry has struck.
    [[nodiscard]] bool fired() const noexcept { return firedTotal > 0; }
    //! Tells whether an entry has struck.
    [[nodiscard]] bool fired(std::size_t entry) const;
    //! Gives how often entries have struck, together.
    [[nodiscard]] long firedCount() const noexcept { return firedTotal; }
    //! Gives the call that was struck last: "Face.GetFacetData"; empty when none was.
    [[nodiscard]] const std::string& firedAt() const noexcept { return lastFired; }

    //! What the host's objects tell of a call, and the questions that they ask.
    struct Site
    {
        CallKind kind{};
        const char* className = "";
        const char* member = "";
        DISPID id{};
        const IID* iid = nullptr; //!< QueryInterface only
    };
    [[nodiscard]] bool empty() const noexcept { return entries.empty(); }
    //! Asks whether a call is to fail before it does anything.
    //! @param fault  the entry that says so, borrowed until the plan changes
    [[nodiscard]] bool failsNow(const Site& site, const Fault*& fault);
    //! Asks for each answer-changing entry that matches a call.
    //! @param applies  told the entry's fault; tells whether it can change this answer
    //! @param strike   told the fault when it strikes
    template <typename Applies, typename Strike>
    void changeAnswer(const Site& site, Applies applies, Strike strike)
    {
        for (Entry& entry : entries) {
            if (changesAnswer(entry.fault.kind) && matches(entry.fault, site) &&
                applies(entry.fault) && due(entry, site)) {
                strike(entry.fault);
            }
        }
    }

private:
    struct Entry
    {
        Fault fault;
        std::mt19937 random;
        long seen = 0;
        long fired = 0;
    };

    [[nodiscard]] static bool changesAnswer(FaultKind kind) noexcept;
    [[nodiscard]] static bool matches(const Fault& fault, const Site& site);
    [[nodiscard]] bool due(Entry& entry, const Site& site);

    std::vector<Entry> entries;
    long firedTotal = 0;
    std::string lastFired;
};

} // namespace standin

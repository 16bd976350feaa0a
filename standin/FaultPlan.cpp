#include "standin/FaultPlan.h"

#include <utility>

namespace standin {
namespace {

bool isQuery(const FaultPlan::Site& site)
{
    return site.kind == CallKind::queryInterface;
}

bool isInvoke(const FaultPlan::Site& site)
{
    return !isQuery(site) && site.kind != CallKind::getIdsOfNames;
}

} // namespace

std::size_t FaultPlan::add(Fault fault)
{
    Entry entry{std::move(fault), std::mt19937(), 0, 0};
    entry.random.seed(entry.fault.seed);
    entries.push_back(std::move(entry));
    return entries.size() - 1;
}

std::size_t FaultPlan::failCall(long nth, HRESULT code, bool lasting)
{
    Fault fault;
    fault.code = code;
    fault.nth = nth;
    fault.lasting = lasting;
    return add(std::move(fault));
}

std::size_t FaultPlan::failMember(const std::string& member, HRESULT code, long nth, bool lasting)
{
    Fault fault;
    fault.member = member;
    fault.code = code;
    fault.nth = nth;
    fault.lasting = lasting;
    return add(std::move(fault));
}

void FaultPlan::clear()
{
    entries.clear();
    firedTotal = 0;
    lastFired.clear();
}

bool FaultPlan::fired(std::size_t entry) const
{
    return entry < entries.size() && entries[entry].fired > 0;
}

bool FaultPlan::failsNow(const Site& site, const Fault*& fault)
{
    fault = nullptr;
    for (Entry& entry : entries) {
        const bool fits = entry.fault.kind == FaultKind::fail ||
                          (entry.fault.kind == FaultKind::refuseInterface && isQuery(site));
        if (fits && matches(entry.fault, site) && due(entry, site)) {
            fault = &entry.fault;
            return true;
        }
    }
    return false;
}

bool FaultPlan::changesAnswer(FaultKind kind) noexcept
{
    return kind != FaultKind::fail && kind != FaultKind::refuseInterface;
}

bool FaultPlan::matches(const Fault& fault, const Site& site)
{
    if (isQuery(site)) {
        if (fault.iid ? !IsEqualIID(*fault.iid, *site.iid) : IsEqualIID(IID_IUnknown, *site.iid)) {
            return false;
        }
    } else if (fault.iid) {
        return false;
    }
    if (fault.id && (!isInvoke(site) || *fault.id != site.id)) {
        return false;
    }
    return (fault.className.empty() || fault.className == site.className) &&
           (fault.member.empty() || fault.member == site.member);
}

bool FaultPlan::due(Entry& entry, const Site& site)
{
    const Fault& fault = entry.fault;
    ++entry.seen;
    bool strikes = false;
    if (fault.probability > 0.0) {
        const double draw = static_cast<double>(entry.random()) / 4294967296.0;
        strikes = entry.seen >= fault.nth && draw < fault.probability;
    } else {
        strikes = entry.seen == fault.nth || (fault.lasting && entry.seen > fault.nth);
    }
    if (strikes) {
        ++entry.fired;
        ++firedTotal;
        lastFired = std::string(site.className) + "." + site.member;
    }
    return strikes;
}

} // namespace standin

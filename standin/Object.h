//! @file
//! Base of all automation objects of the stand-in host: identity, counting, names and calls from
//! the class's table, and on the way the session's journal and fault plan.

#pragma once

#include "com/Com.h"
#include "standin/FaultPlan.h"
#include "standin/Member.h"

#include <memory>

namespace standin {

struct HostState;
class OpenDocument;

//! An automation object. New ones count zero references; take them into a smart pointer at once.
class Object : public IDispatch
{
public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    //! Called by the last Release, by nobody else.
    virtual ~Object();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID lcid,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID lcid, WORD flags,
                                     DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                     UINT* argError) override;

    [[nodiscard]] const ClassInfo& info() const noexcept { return classInfo; }
    //! Gives the object's number in its session, 1 for the first one.
    [[nodiscard]] long number() const noexcept { return serial; }
    //! Tells whether the object is something that a document shows now.
    [[nodiscard]] virtual bool standsIn(const OpenDocument& document) const noexcept
    {
        (void)document;
        return false;
    }
    //! Makes another COM object for the same thing, or gives this one where there is no such.
    [[nodiscard]] virtual IDispatchPtr twin() { return IDispatchPtr(this); }

protected:
    Object(std::shared_ptr<HostState> hostState, const ClassInfo& info);

    //! Tells whether what the object stands for still exists.
    [[nodiscard]] virtual bool connected() const noexcept { return true; }
    [[nodiscard]] HostState& host() const noexcept { return *state; }
    [[nodiscard]] const std::shared_ptr<HostState>& hostState() const noexcept { return state; }

private:
    HRESULT resolveNames(REFIID iid, LPOLESTR* names, UINT count, DISPID* ids);
    HRESULT perform(const FaultPlan::Site& site, const Member* member, REFIID iid, WORD flags,
                    DISPPARAMS* params, VARIANT* result, UINT* argError, JournalEntry& entry,
                    std::string& failure);

    std::shared_ptr<HostState> state;
    const ClassInfo& classInfo;
    ULONG references = 0;
    long serial = 0;
};

//! Takes an object into a smart pointer without asking it for an interface.
[[nodiscard]] inline IDispatchPtr owned(Object* object)
{
    return IDispatchPtr(static_cast<IDispatch*>(object));
}

} // namespace standin

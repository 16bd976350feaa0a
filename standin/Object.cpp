#include "standin/Object.h"

#include "com/ComText.h"
#include "standin/Arguments.h"
#include "standin/Call.h"
#include "standin/Host.h"
#include "standin/Text.h"

#include <exception>
#include <new>
#include <utility>

namespace standin {
namespace {

constexpr WORD kPuts = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;

CallKind kindOf(WORD flags) noexcept
{
    if ((flags & kPuts) != 0) {
        return CallKind::propertyPut;
    }
    return (flags & DISPATCH_PROPERTYGET) != 0 ? CallKind::propertyGet : CallKind::method;
}

std::string memberName(const Member* member, DISPID id)
{
    return member != nullptr ? member->name : "#" + std::to_string(id);
}

//! Tells the caller of a failure inside the host, when there is room for it.
HRESULT raise(HRESULT code, const std::string& text, EXCEPINFO* exception) noexcept
{
    if (exception == nullptr) {
        return code;
    }
    exception->scode = code;
    try {
        exception->bstrSource = makeBstr("Stand-in host");
        exception->bstrDescription = makeBstr(text);
    } catch (const std::bad_alloc&) {
        return code;
    }
    return DISP_E_EXCEPTION;
}

} // namespace

const Member* ClassInfo::find(DISPID id, WORD kinds) const noexcept
{
    const Member* first = nullptr;
    for (const Member& member : members) {
        if (member.id != id) {
            continue;
        }
        if ((member.kinds & kinds) != 0) {
            return &member;
        }
        first = first == nullptr ? &member : first;
    }
    return first;
}

const Member* ClassInfo::find(const wchar_t* memberName) const noexcept
{
    for (const Member& member : members) {
        if (sameName(member.name, memberName)) {
            return &member;
        }
    }
    return nullptr;
}

DISPID findParameter(const Member& member, const wchar_t* name) noexcept
{
    for (std::size_t i = 0; i < member.parameters.size(); ++i) {
        if (sameName(member.parameters[i].name, name)) {
            return static_cast<DISPID>(i);
        }
    }
    return DISPID_UNKNOWN;
}

Object::Object(std::shared_ptr<HostState> hostState, const ClassInfo& info)
    : state(std::move(hostState)),
      classInfo(info),
      serial(++state->lastObject)
{
    state->alive.emplace(static_cast<IDispatch*>(this), this);
    state->census.enter(info.name);
    processCensus().enter(info.name);
}

Object::~Object()
{
    state->alive.erase(static_cast<IDispatch*>(this));
    state->census.leave(classInfo.name);
    processCensus().leave(classInfo.name);
}

HRESULT STDMETHODCALLTYPE Object::QueryInterface(REFIID iid, void** object)
{
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    try {
        const std::shared_ptr<HostState> session = state;
        session->journal.tally(std::string(classInfo.name) + ".QueryInterface",
                               CallKind::queryInterface);
        const FaultPlan::Site site{CallKind::queryInterface, classInfo.name, "QueryInterface", 0,
                                   &iid};
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
                           (classInfo.iid != nullptr && IsEqualIID(iid, *classInfo.iid));
        HRESULT result = known ? S_OK : E_NOINTERFACE;
        const Fault* fault = nullptr;
        if (session->faults.failsNow(site, fault)) {
            result = FAILED(fault->code) ? fault->code : E_NOINTERFACE;
        }
        if (session->journal.isRecording()) {
            JournalEntry entry;
            entry.className = classInfo.name;
            entry.object = serial;
            entry.kind = CallKind::queryInterface;
            entry.member = "QueryInterface";
            entry.arguments = identifierText(iid);
            entry.result = result;
            entry.faulty = fault != nullptr;
            session->journal.add(std::move(entry));
        }
        if (SUCCEEDED(result)) {
            AddRef();
            *object = static_cast<IDispatch*>(this);
        }
        return result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

ULONG STDMETHODCALLTYPE Object::AddRef()
{
    return ++references;
}

ULONG STDMETHODCALLTYPE Object::Release()
{
    const ULONG left = --references;
    if (left == 0) {
        delete this;
    }
    return left;
}

HRESULT STDMETHODCALLTYPE Object::GetTypeInfoCount(UINT* count)
{
    if (count == nullptr) {
        return E_POINTER;
    }
    *count = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Object::GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info)
{
    (void)index;
    (void)lcid;
    if (info == nullptr) {
        return E_POINTER;
    }
    *info = nullptr;
    return DISP_E_BADINDEX;
}

HRESULT STDMETHODCALLTYPE Object::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID lcid,
                                                DISPID* ids)
{
    (void)lcid;
    if (names == nullptr || ids == nullptr || count == 0 || names[0] == nullptr) {
        return E_INVALIDARG;
    }
    for (UINT i = 0; i < count; ++i) {
        ids[i] = DISPID_UNKNOWN;
    }
    try {
        const std::shared_ptr<HostState> session = state;
        session->journal.tally(std::string(classInfo.name) + ".GetIDsOfNames",
                               CallKind::getIdsOfNames);
        const FaultPlan::Site site{CallKind::getIdsOfNames, classInfo.name, "GetIDsOfNames", 0,
                                   nullptr};
        const Fault* fault = nullptr;
        const HRESULT result = session->faults.failsNow(site, fault)
                                   ? fault->code
                                   : resolveNames(iid, names, count, ids);
        if (session->journal.isRecording()) {
            JournalEntry entry;
            entry.className = classInfo.name;
            entry.object = serial;
            entry.kind = CallKind::getIdsOfNames;
            entry.member = "GetIDsOfNames";
            entry.arguments = com::toUtf8(names[0]);
            entry.id = ids[0];
            entry.answer = FAILED(result) ? std::string() : std::to_string(ids[0]);
            entry.result = result;
            entry.faulty = fault != nullptr;
            session->journal.add(std::move(entry));
        }
        return result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT Object::resolveNames(REFIID iid, LPOLESTR* names, UINT count, DISPID* ids)
{
    if (!connected()) {
        return RPC_E_DISCONNECTED;
    }
    if (!IsEqualIID(iid, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    const Member* const member = classInfo.find(names[0]);
    if (member == nullptr) {
        return DISP_E_UNKNOWNNAME;
    }
    ids[0] = member->id;
    HRESULT result = S_OK;
    for (UINT i = 1; i < count; ++i) {
        ids[i] = names[i] == nullptr ? DISPID_UNKNOWN : findParameter(*member, names[i]);
        result = ids[i] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : result;
    }
    return result;
}

HRESULT STDMETHODCALLTYPE Object::Invoke(DISPID id, REFIID iid, LCID lcid, WORD flags,
                                         DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                         UINT* argError)
{
    (void)lcid;
    if (result != nullptr) {
        VariantInit(result);
    }
    if (exception != nullptr) {
        *exception = EXCEPINFO();
    }
    if (argError != nullptr) {
        *argError = 0;
    }
    // What the call does may release the caller's last reference on this object.
    const IDispatchPtr alive(static_cast<IDispatch*>(this));
    const std::shared_ptr<HostState> session = state;
    std::string failure;
    try {
        const Member* const member = classInfo.find(id, flags);
        const std::string name = memberName(member, id);
        const CallKind kind = kindOf(flags);
        session->journal.tally(std::string(classInfo.name) + "." + name, kind);
        const FaultPlan::Site site{kind, classInfo.name, name.c_str(), id, nullptr};
        JournalEntry entry;
        const HRESULT code =
            perform(site, member, iid, flags, params, result, argError, entry, failure);
        if (session->journal.isRecording()) {
            entry.className = classInfo.name;
            entry.object = serial;
            entry.kind = kind;
            entry.member = name;
            entry.id = id;
            entry.result = code;
            session->journal.add(std::move(entry));
        }
        return failure.empty() ? code : raise(code, failure, exception);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT Object::perform(const FaultPlan::Site& site, const Member* member, REFIID iid, WORD flags,
                        DISPPARAMS* params, VARIANT* result, UINT* argError, JournalEntry& entry,
                        std::string& failure)
{
    const bool recording = state->journal.isRecording();
    if (recording) {
        entry.arguments = Arguments::text(params);
    }
    const Fault* fault = nullptr;
    if (state->faults.failsNow(site, fault)) {
        entry.faulty = true;
        failure = fault->asException ? "told to fail by the fault plan" : "";
        return fault->code;
    }
    if (!connected()) {
        return RPC_E_DISCONNECTED;
    }
    if (!IsEqualIID(iid, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (member == nullptr || (member->kinds & flags) == 0) {
        return DISP_E_MEMBERNOTFOUND;
    }
    try {
        const Arguments arguments(*member, params);
        Call call(*member, arguments);
        member->handler(*this, call);
        Result& answers = call.result();
        state->faults.changeAnswer(
            site, [&](const Fault& each) { return answers.canChange(each, *member); },
            [&](const Fault& each) {
                entry.faulty = true;
                answers.change(each, *member, *this);
            });
        if (recording) {
            entry.answer = answers.text();
        }
        answers.deliver(*member, arguments, result);
        return S_OK;
    } catch (const CallFailure& reason) {
        if (argError != nullptr) {
            *argError = Arguments::position(params, reason.parameter);
        }
        failure = reason.text;
        return reason.code;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::exception& reason) {
        failure = std::string(site.className) + "." + site.member + ": " + reason.what();
        return E_FAIL;
    }
}

} // namespace standin

//! @file
//! The stand-in host's objects, reached as a caller reaches them.

#pragma once

#include "standin/Build.h"
#include "standin/Session.h"
#include "support/LateBound.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace support {

//! Gives the object that a call answers.
//! @throws std::runtime_error  it answered none
inline IDispatchPtr need(const Outcome& outcome)
{
    IDispatchPtr object = outcome.object();
    if (object.GetInterfacePtr() == nullptr) {
        throw std::runtime_error("no object came");
    }
    return object;
}

inline IDispatchPtr modelOf(const IDispatchPtr& document, LONG index = 1)
{
    return need(method(need(get(document, 24681)), 0, {value(index)}));
}
inline IDispatchPtr bodyOf(const IDispatchPtr& document, LONG index = 1)
{
    return need(get(modelOf(document, index), 49));
}
inline IDispatchPtr facesOf(const IDispatchPtr& body)
{
    return need(get(body, 53));
}
inline IDispatchPtr edgesOf(const IDispatchPtr& body)
{
    return need(get(body, 52));
}
inline IDispatchPtr item(const IDispatchPtr& collection, LONG index)
{
    return need(method(collection, 0, {value(index)}));
}
inline LONG countOf(const IDispatchPtr& collection)
{
    return get(collection, 23).number();
}
inline IDispatchPtr faceOf(const IDispatchPtr& document, LONG index)
{
    return item(facesOf(bodyOf(document)), index);
}
inline IDispatchPtr edgeOf(const IDispatchPtr& document, LONG index)
{
    return item(edgesOf(bodyOf(document)), index);
}
inline std::vector<IDispatchPtr> itemsOf(const IDispatchPtr& collection)
{
    std::vector<IDispatchPtr> items;
    const LONG count = countOf(collection);
    for (LONG i = 1; i <= count; ++i) {
        items.push_back(item(collection, i));
    }
    return items;
}

//! Asks an object of any kind for its reference key.
inline std::vector<unsigned char> keyOf(const IDispatchPtr& object)
{
    Array key;
    const Outcome outcome =
        named(object, L"GetReferenceKey", DISPATCH_METHOD, {reference(key, VT_UI1), missing()});
    if (!outcome.ok()) {
        throw std::runtime_error("no key came");
    }
    return key.bytes();
}

//! Binds a key; null when there is no object of it.
inline IDispatchPtr bindKey(const IDispatchPtr& document, const std::vector<unsigned char>& key)
{
    Array array(key);
    IDispatch* object = nullptr;
    const Outcome outcome = method(document, 24685, {reference(array, VT_UI1), reference(object)});
    if (!outcome.ok()) {
        throw std::runtime_error("the key could not be bound");
    }
    return IDispatchPtr(object, false);
}

//! Gives a box with corners (0, 0, 0) and (0.1, 0.2, 0.3).
inline standin::geom::Body plainBox()
{
    return standin::makeBox({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3});
}

inline IDispatchPtr openBody(standin::Session& session, standin::geom::Body body,
                             const std::string& name = "part.par")
{
    std::vector<standin::geom::Body> bodies;
    bodies.push_back(std::move(body));
    return session.openPart(standin::makeModel(std::move(bodies)), name);
}

} // namespace support

#include "standin/Call.h"
#include "standin/DrawingObject.h"
#include "standin/Ids.h"

#include <utility>

namespace standin {
namespace {

//! A reference plane of a part or, under other numbers, of an assembly.
class RefPlane : public DrawingObject
{
public:
    using DrawingObject::DrawingObject;

    void normal(Call& call) { answer(call, plane().normal); }
    void rootPoint(Call& call) { answer(call, plane().root); }
    void referenceDirection(Call& call) { answer(call, plane().direction); }
    template <LONG constant>
    void type(Call& call)
    {
        call.answer(asLong(constant));
    }

    static const ClassInfo& table(DrawnKind kind);

private:
    //! @param normal  number of GetNormal; the other two follow it
    template <LONG constant>
    static std::vector<Member> members(DISPID normal);
    static void answer(Call& call, const geom::Vec& v)
    {
        call.put(0, asArray(Doubles{v.x, v.y, v.z}));
    }
    [[nodiscard]] const RefPlaneSpec& plane() const { return drawing()->planes[drawn().index]; }
};

template <LONG constant>
std::vector<Member> RefPlane::members(DISPID normal)
{
    return {
        {normal,
         "GetNormal",
         kMethod,
         {{L"Normal", Shape::doubles}},
         handle<RefPlane, &RefPlane::normal>},
        {normal + 1,
         "GetRootPoint",
         kMethod,
         {{L"RootPoint", Shape::doubles}},
         handle<RefPlane, &RefPlane::rootPoint>},
        {normal + 2,
         "GetReferenceDirection",
         kMethod,
         {{L"ReferenceDirection", Shape::doubles}},
         handle<RefPlane, &RefPlane::referenceDirection>},
        {kOwnNumbers + 1, "Type", kGet, {}, handle<RefPlane, &RefPlane::type<constant>>},
    };
}

const ClassInfo& RefPlane::table(DrawnKind kind)
{
    static const ClassInfo ofPart{"RefPlane", &kIidRefPlane, members<igRefPlane>(5)};
    static const ClassInfo ofAssembly{"AsmRefPlane", &kIidAsmRefPlane, members<igAsmRefPlane>(4)};
    return kind == DrawnKind::asmRefPlane ? ofAssembly : ofPart;
}

class RefPlanes : public DrawingList
{
public:
    using DrawingList::DrawingList;

    static const ClassInfo& table(DrawnKind kind)
    {
        static const ClassInfo ofPart{"RefPlanes", &kIidRefPlanes, withItems(5)};
        static const ClassInfo ofAssembly{"AsmRefPlanes", &kIidAsmRefPlanes, withItems(2)};
        return kind == DrawnKind::asmRefPlanes ? ofAssembly : ofPart;
    }

protected:
    [[nodiscard]] std::vector<Drawn> items() const override
    {
        const DrawnKind kind =
            drawn().kind == DrawnKind::asmRefPlanes ? DrawnKind::asmRefPlane : DrawnKind::refPlane;
        std::vector<Drawn> all;
        for (std::size_t i = 0; i < drawing()->planes.size(); ++i) {
            all.push_back({kind, i});
        }
        return all;
    }
};

} // namespace

IDispatchPtr newRefPlaneObject(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                               const Drawn& drawn, bool known)
{
    if (drawn.kind == DrawnKind::refPlane || drawn.kind == DrawnKind::asmRefPlane) {
        return owned(new RefPlane(host, RefPlane::table(drawn.kind), drawing, drawn, known));
    }
    return owned(new RefPlanes(host, RefPlanes::table(drawn.kind), drawing, drawn, known));
}

IDispatchPtr newRefPlanes(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing)
{
    return objectFor(host, drawing, {DrawnKind::refPlanes});
}

IDispatchPtr newAsmRefPlanes(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing)
{
    return objectFor(host, drawing, {DrawnKind::asmRefPlanes});
}

} // namespace standin

#include "standin/Call.h"
#include "standin/Ids.h"
#include "standin/Part.h"

namespace standin {
namespace {

//! The curve of an edge or the surface of a face, told apart by its Type.
class Geometry : public PartObject
{
public:
    using PartObject::PartObject;

    template <LONG constant>
    void type(Call& call)
    {
        call.answer(asLong(constant));
    }

    void rootPoint(Call& call)
    {
        const geom::Vec point = surface().at({0.0, 0.0});
        call.put(0, asArray(Doubles{point.x, point.y, point.z}));
    }
    void normalVector(Call& call)
    {
        const geom::Vec normal = surface().normal({0.0, 0.0});
        call.put(0, asArray(Doubles{normal.x, normal.y, normal.z}));
    }

private:
    [[nodiscard]] const geom::Surface& surface() const { return *content().face(entity()).surface; }
};

//! Gives the row of Type, which every class of geometry has under its own number.
template <LONG constant>
Member typeMember(DISPID id = kOwnNumbers + 1)
{
    return {id, "Type", kGet, {}, handle<Geometry, &Geometry::type<constant>>};
}

const ClassInfo& planeInfo()
{
    static const ClassInfo info{"Plane",
                                nullptr,
                                {
                                    {195,
                                     "GetNormalVector",
                                     kMethod,
                                     {{L"NormalVector", Shape::doubles}},
                                     handle<Geometry, &Geometry::normalVector>},
                                    {197,
                                     "GetRootPoint",
                                     kMethod,
                                     {{L"RootPoint", Shape::doubles}},
                                     handle<Geometry, &Geometry::rootPoint>},
                                    typeMember<igPlane>(198),
                                }};
    return info;
}

const ClassInfo& infoOf(geom::SurfaceKind kind)
{
    static const ClassInfo cylinder{"Cylinder", nullptr, {typeMember<igCylinder>()}};
    static const ClassInfo cone{"Cone", nullptr, {typeMember<igCone>()}};
    static const ClassInfo sphere{"Sphere", nullptr, {typeMember<igSphere>()}};
    static const ClassInfo torus{"Torus", nullptr, {typeMember<igTorus>()}};
    static const ClassInfo spline{"BSplineSurface", nullptr, {typeMember<igBSplineSurface>()}};
    switch (kind) {
    case geom::SurfaceKind::plane:
        return planeInfo();
    case geom::SurfaceKind::cylinder:
        return cylinder;
    case geom::SurfaceKind::cone:
        return cone;
    case geom::SurfaceKind::sphere:
        return sphere;
    case geom::SurfaceKind::torus:
        return torus;
    // The host's constants for swept and offset surfaces are not known here.
    default:
        return spline;
    }
}

const ClassInfo& infoOf(geom::CurveKind kind)
{
    static const ClassInfo line{"Line", &kIidLine, {typeMember<igLine>(368)}};
    static const ClassInfo circle{"Circle", &kIidCircle, {typeMember<igCircle>(351)}};
    static const ClassInfo ellipse{"Ellipse", &kIidEllipse, {typeMember<igEllipse>()}};
    static const ClassInfo spline{
        "BSplineCurve", &kIidBSplineCurve, {typeMember<igBSplineCurve>()}};
    switch (kind) {
    case geom::CurveKind::line:
        return line;
    case geom::CurveKind::circle:
        return circle;
    case geom::CurveKind::ellipse:
        return ellipse;
    // The host's constants for other curves are not known here.
    default:
        return spline;
    }
}

} // namespace

IDispatchPtr newSurface(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                        const Entity& entity, bool known)
{
    const geom::SurfaceKind kind = part->content->face(entity).surface->kind();
    return owned(new Geometry(host, infoOf(kind), part, entity, known));
}

IDispatchPtr newCurve(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                      const Entity& entity, bool known)
{
    const geom::CurveKind kind = part->content->edge(entity).curve->kind();
    return owned(new Geometry(host, infoOf(kind), part, entity, known));
}

} // namespace standin

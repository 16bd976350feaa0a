#include "standin/Call.h"
#include "standin/DrawingObject.h"
#include "standin/Ids.h"

#include <utility>

namespace standin {
namespace {

//! A sketch, a profile set or a layout.
class Container : public DrawingObject
{
public:
    using DrawingObject::DrawingObject;

    void profiles(Call& call)
    {
        call.answer(asObject(objectOf({DrawnKind::profiles, drawn().index})));
    }
    void profile(Call& call)
    {
        call.answer(asObject(objectOf({DrawnKind::profile, data().profiles.front()})));
    }
    template <LONG constant>
    void type(Call& call)
    {
        call.answer(asLong(constant));
    }

    static const ClassInfo& table(ContainerKind kind);

private:
    template <LONG constant>
    static Member typeMember()
    {
        return {kOwnNumbers + 1, "Type", kGet, {}, handle<Container, &Container::type<constant>>};
    }
    [[nodiscard]] const DrawnContainer& data() const
    {
        return drawing()->containers[drawn().index];
    }
};

const ClassInfo& Container::table(ContainerKind kind)
{
    static const Member profiles{5, "Profiles", kGet, {}, handle<Container, &Container::profiles>};
    static const Member profile{3, "Profile", kGet, {}, handle<Container, &Container::profile>};
    static const ClassInfo sketch{"Sketch", &kIidSketch, {profiles, typeMember<igSketch>()}};
    static const ClassInfo profileSet{
        "ProfileSet", &kIidProfileSet, {profiles, typeMember<igProfileSet>()}};
    static const ClassInfo layout{"Layout", &kIidLayout, {profile, typeMember<seLayout>()}};
    switch (kind) {
    case ContainerKind::sketch:
        return sketch;
    case ContainerKind::profileSet:
        return profileSet;
    default:
        return layout;
    }
}

//! The sketches, the profile sets or the layouts of a document.
class Containers : public DrawingList
{
public:
    using DrawingList::DrawingList;

    void add(Call& call)
    {
        call.answer(asObject(objectOf({DrawnKind::container, addContainer()})));
    }
    void addLayout(Call& call);

    static const ClassInfo& table(ContainerKind kind);

protected:
    [[nodiscard]] std::vector<Drawn> items() const override
    {
        std::vector<Drawn> all;
        for (const std::size_t index : drawing()->containersOf(kind())) {
            all.push_back({DrawnKind::container, index});
        }
        return all;
    }

private:
    [[nodiscard]] ContainerKind kind() const { return static_cast<ContainerKind>(drawn().index); }
    std::size_t addContainer()
    {
        drawing()->containers.push_back({kind(), {}});
        return drawing()->containers.size() - 1;
    }
    //! Gives the layout on a plane that was made first, kNone when there is none.
    [[nodiscard]] std::size_t layoutOn(std::size_t plane) const;
};

std::size_t Containers::layoutOn(std::size_t plane) const
{
    for (const std::size_t index : drawing()->containersOf(kind())) {
        if (drawing()->profiles[drawing()->containers[index].profiles.front()].plane == plane) {
            return index;
        }
    }
    return geom::kNone;
}

void Containers::addLayout(Call& call)
{
    const std::size_t plane = argument(call, 0, {DrawnKind::asmRefPlane}).index;
    const bool existing = call.variantNumber(1, 0) != 0 && layoutOn(plane) != geom::kNone;
    std::size_t layout = layoutOn(plane);
    if (!existing) {
        layout = addContainer();
        drawing()->addProfile(layout, plane);
    }
    call.put(2, asLong(existing ? 1 : 0));
    call.answer(asObject(objectOf({DrawnKind::container, layout})));
}

const ClassInfo& Containers::table(ContainerKind kind)
{
    static const Member add{100, "Add", kMethod, {}, handle<Containers, &Containers::add>};
    static const ClassInfo sketches{"Sketchs", &kIidSketchs, withItems(5, {add})};
    static const ClassInfo profileSets{"ProfileSets", &kIidProfileSets, withItems(5, {add})};
    static const ClassInfo layouts{"Layouts", &kIidLayouts,
                                   withItems(3, {{1,
                                                  "Add",
                                                  kMethod,
                                                  {{L"AsmRefPlane", Shape::objectIn},
                                                   {L"ReturnExisting", Shape::variantIn, true},
                                                   {L"Status", Shape::variantOut, true}},
                                                  handle<Containers, &Containers::addLayout>}})};
    switch (kind) {
    case ContainerKind::sketch:
        return sketches;
    case ContainerKind::profileSet:
        return profileSets;
    default:
        return layouts;
    }
}

//! The profiles of a sketch or a profile set.
class Profiles : public DrawingList
{
public:
    using DrawingList::DrawingList;

    void add(Call& call)
    {
        const std::size_t plane = argument(call, 0, {DrawnKind::refPlane}).index;
        const std::size_t profile = drawing()->addProfile(drawn().index, plane);
        call.answer(asObject(objectOf({DrawnKind::profile, profile})));
    }

    static const ClassInfo& table()
    {
        static const ClassInfo info{"Profiles", &kIidProfiles,
                                    withItems(5, {{102,
                                                   "Add",
                                                   kMethod,
                                                   {{L"pRefPlaneDisp", Shape::objectIn}},
                                                   handle<Profiles, &Profiles::add>}})};
        return info;
    }

protected:
    [[nodiscard]] std::vector<Drawn> items() const override
    {
        std::vector<Drawn> all;
        for (const std::size_t index : drawing()->containers[drawn().index].profiles) {
            all.push_back({DrawnKind::profile, index});
        }
        return all;
    }
};

IDispatchPtr newContainers(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                           ContainerKind kind)
{
    return objectFor(host, drawing, {DrawnKind::containers, static_cast<std::size_t>(kind)});
}

} // namespace

IDispatchPtr newSketchObject(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                             const Drawn& drawn, bool known)
{
    if (drawn.kind == DrawnKind::profiles) {
        return owned(new Profiles(host, Profiles::table(), drawing, drawn, known));
    }
    if (drawn.kind == DrawnKind::container) {
        const ContainerKind kind = drawing->containers[drawn.index].kind;
        return owned(new Container(host, Container::table(kind), drawing, drawn, known));
    }
    const auto kind = static_cast<ContainerKind>(drawn.index);
    return owned(new Containers(host, Containers::table(kind), drawing, drawn, known));
}

IDispatchPtr newSketches(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing)
{
    return newContainers(host, drawing, ContainerKind::sketch);
}

IDispatchPtr newProfileSets(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing)
{
    return newContainers(host, drawing, ContainerKind::profileSet);
}

IDispatchPtr newLayouts(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing)
{
    return newContainers(host, drawing, ContainerKind::layout);
}

} // namespace standin

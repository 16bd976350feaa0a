#include "support/ProfileHost.h"

#include "support/HostIds.h"

#include <stdexcept>

namespace {

//! Handler that gives the next of some objects at each call, and fails when they are used up.
template <std::size_t N>
fake::Handler givesInTurn(const std::array<IDispatch*, N>& aObjects, std::size_t& aNext)
{
    return [&aObjects, &aNext](const fake::Args& aArgs, VARIANT* aResult) -> HRESULT {
        if (aNext >= N) {
            return E_UNEXPECTED;
        }
        return fake::givesObject(aObjects[aNext++])(aArgs, aResult);
    };
}

fake::Handler accepts()
{
    return [](const fake::Args&, VARIANT*) { return S_OK; };
}

} // namespace

ProfileHost::ProfileHost(Scene& aScene, Container aContainer) : kind(aContainer), mScene(&aScene)
{
    if (kind == Container::Layout) {
        MakeAssembly();
    } else {
        MakePart();
    }
    MakeProfile();
}

fake::Object& ProfileHost::At(const std::string& aName) const
{
    for (fake::Object* const object : mObjects) {
        if (object->Name() == aName) {
            return *object;
        }
    }
    throw std::invalid_argument("no object " + aName);
}

fake::Object& ProfileHost::Make(const std::string& aName, const IID& aIid)
{
    mObjects.push_back(&mScene->world.Make(aName).Answer(aIid));
    return *mObjects.back();
}

void ProfileHost::MakePart()
{
    const bool isSketch = kind == Container::Sketch;
    fake::Object& document = Make("doc", hostids::PartDocument);
    fake::Object& containers =
        isSketch ? Make("sketches", hostids::Sketchs) : Make("sets", hostids::ProfileSets);
    fake::Object& container =
        isSketch ? Make("sketch", hostids::Sketch) : Make("set", hostids::ProfileSet);
    fake::Object& profiles = Make("profs", hostids::Profiles);
    fake::Object& profile = Make("prof", hostids::Profile);
    document.Property(isSketch ? 0x606C : 0x6064, fake::givesObject(&containers));
    containers.Property(5, fake::givesNumber(7));
    containers.Method(100, fake::givesObject(&container));
    container.Property(5, fake::givesObject(&profiles));
    profiles.Property(5, fake::givesNumber(0));
    profiles.Method(102, fake::givesObject(&profile));

    std::vector<fake::Object*> planes;
    for (const char* const name : {"plane1", "plane2", "plane3", "plane"}) {
        planes.push_back(&Make(name, hostids::RefPlane));
        planes.back()->Property(L"Type", fake::givesNumber(hostids::typeRefPlane));
    }
    planes.pop_back();
    mObjects.push_back(&mScene->Collection("defaults", planes).Answer(hostids::RefPlanes));
    // Where the library asks a part for its default planes; the host publishes 0x6065.
    document.Property(0x6002, fake::givesObject(&At("defaults")));
}

void ProfileHost::MakeAssembly()
{
    fake::Object& document = Make("doc", hostids::AssemblyDocument);
    fake::Object& layouts = Make("layouts", hostids::Layouts);
    fake::Object& layout = Make("layout", hostids::Layout);
    document.Property(0x6008, fake::givesObject(&layouts));
    layouts.Method(1, fake::givesObject(&layout));
    layout.Property(3, fake::givesObject(&Make("prof", hostids::Profile)));

    std::vector<fake::Object*> planes;
    for (const char* const name : {"plane1", "plane2", "plane3", "plane"}) {
        planes.push_back(&Make(name, hostids::AsmRefPlane));
        planes.back()->Property(L"Type", fake::givesNumber(hostids::typeAsmRefPlane));
    }
    planes.pop_back();
    mObjects.push_back(&mScene->Collection("defaults", planes).Answer(hostids::AsmRefPlanes));
    // Where the library asks an assembly for its default planes; the host publishes 0x6002.
    document.Property(0x6065, fake::givesObject(&At("defaults")));
}

void ProfileHost::MakeProfile()
{
    fake::Object& profile = At("prof");
    fake::Object& lines2d = Make("lines", hostids::Lines2d);
    fake::Object& relations2d = Make("rels", hostids::Relations2d);
    fake::Object& dimensions2d = Make("dims", hostids::Dimensions);
    fake::Object& relation = Make("relation", hostids::Relation2d);
    fake::Object& projected = Make("projected", hostids::Line2d);

    for (std::size_t i = 0; i < lines.size(); ++i) {
        lines[i] = &Make("line" + std::to_string(i + 1), hostids::Line2d);
    }
    relations = {&relations2d, &relations2d};
    for (std::size_t i = 0; i < dimensions.size(); ++i) {
        fake::Object& dimension = Make("dim" + std::to_string(i + 1), hostids::Dimension);
        for (const DISPID member : {4, 0, 19, 14}) {
            dimension.Setter(member, accepts());
        }
        dimensions[i] = &dimension;
    }

    profile.Property(10, fake::givesObject(&lines2d));
    profile.Property(16, fake::givesObject(&dimensions2d));
    profile.Property(17, givesInTurn(relations, mNextRelations));
    profile.Method(100, [this](const fake::Args& aArgs, VARIANT* aResult) {
        return fake::givesNumber(validation)(aArgs, aResult);
    });
    profile.Method(113, fake::givesObject(&projected));
    lines2d.Method(100, givesInTurn(lines, mNextLine));
    dimensions2d.Method(100, givesInTurn(dimensions, mNextDimension));
    for (const DISPID member : {719, 712, 713, 709, 708}) {
        relations2d.Method(member, fake::givesObject(&relation));
    }

    scriptNormal(At("plane1"), {0, 0, 1});
    scriptNormal(At("plane2"), {1, 0, 0});
    scriptNormal(At("plane3"), {0, 1, 0});
    scriptNormal(At("plane"), {0, 0, 1});
}

fake::Object& scriptNormal(fake::Object& aPlane, const Triple& aNormal)
{
    return aPlane.Method(L"GetNormal", [aNormal](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(0, {aNormal[0], aNormal[1], aNormal[2]});
        return S_OK;
    });
}

std::vector<std::string> containerCalls(Container aContainer)
{
    switch (aContainer) {
    case Container::Sketch:
        return {"doc.get 24684()", "sketches.get 5()", "sketches.100()",
                "sketch.get 5()",  "profs.get 5()",    "profs.102(DISP plane)"};
    case Container::ProfileSet:
        return {"doc.get 24676()", "sets.get 5()",  "sets.100()",
                "set.get 5()",     "profs.get 5()", "profs.102(DISP plane)"};
    case Container::Layout:
        break;
    }
    return {"doc.get 24584()", "layouts.1(DISP plane*)", "layout.get 3()"};
}

std::vector<std::string> rectangleCalls(const std::string& aHalfX, const std::string& aHalfY)
{
    const std::string left = "R8 -" + aHalfX;
    const std::string right = "R8 " + aHalfX;
    const std::string bottom = "R8 -" + aHalfY;
    const std::string top = "R8 " + aHalfY;
    const auto line = [](const std::string& x1, const std::string& y1, const std::string& x2,
                         const std::string& y2) {
        return "lines.100(" + x1 + ", " + y1 + ", " + x2 + ", " + y2 + ")";
    };
    return {"prof.get 10()",
            line(left, bottom, right, bottom),
            line(right, bottom, right, top),
            line(right, top, left, top),
            line(left, top, left, bottom),
            "prof.get 17()",
            "rels.719(DISP line1, I4 1, DISP line2, I4 0, missing)",
            "rels.719(DISP line2, I4 1, DISP line3, I4 0, missing)",
            "rels.719(DISP line3, I4 1, DISP line4, I4 0, missing)",
            "rels.719(DISP line4, I4 1, DISP line1, I4 0, missing)"};
}

std::vector<std::string> normalCalls(const std::string& aPlane)
{
    return {aPlane + ".Type?", aPlane + ".get Type()", aPlane + ".GetNormal?",
            aPlane + ".GetNormal(R8[]& *)"};
}

std::vector<std::string> constrainCalls(Container aContainer, int aMatch, const std::string& aX,
                                        const std::string& aY)
{
    const std::string planes =
        aContainer == Container::Layout ? "doc.get 24677()" : "doc.get 24578()";
    std::vector<std::string> calls = normalCalls("plane");
    calls.push_back(planes);
    for (int i = 1; i <= aMatch; ++i) {
        const std::string number = std::to_string(i);
        calls.push_back("defaults.0(I4 " + number + ")");
        calls = joined({calls, normalCalls("plane" + number)});
    }
    const std::string chosen = std::to_string(aMatch % 3 + 1);
    calls.push_back("defaults.0(I4 " + chosen + ")");
    calls.push_back("prof.113(DISP plane" + chosen + ")");
    const std::vector<std::string> ties = {
        "prof.get 17()",
        "rels.712(DISP line1, BOOL -1)",
        "rels.712(DISP line3, BOOL -1)",
        "rels.713(DISP line2, BOOL -1)",
        "rels.713(DISP line4, BOOL -1)",
        "rels.709(DISP line1, I4 2, DISP projected, I4 2, BOOL -1)",
        "rels.708(DISP line2, I4 2, DISP projected, I4 2, BOOL -1)",
        "prof.get 16()",
        "dims.100(DISP line1)",
        "dims.100(DISP line2)",
        "dim1.put 4(BOOL -1)",
        "dim1.put 0(R8 " + aX + ")",
        "dim1.put 19(R8 0.015)",
        "dim1.put 14(BOOL -1)",
        "dim2.put 4(BOOL -1)",
        "dim2.put 0(R8 " + aY + ")",
        "dim2.put 19(R8 0.015)",
        "dim2.put 14(BOOL -1)",
    };
    return joined({calls, ties});
}

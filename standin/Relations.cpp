#include "standin/Call.h"
#include "standin/DrawingObject.h"
#include "standin/Ids.h"

#include <utility>

namespace standin {
namespace {

//! A relation. None of its members' numbers in the host is known here, so it has none.
class Relation : public DrawingObject
{
public:
    using DrawingObject::DrawingObject;

    static const ClassInfo& table()
    {
        static const ClassInfo info{"Relation2d", &kIidRelation2d, {}};
        return info;
    }
};

//! The relations of a profile.
class Relations : public DrawingList
{
public:
    using DrawingList::DrawingList;

    template <RelationKind kind>
    void addOfLine(Call& call)
    {
        requireFlag(call, 1);
        SketchRelation relation;
        relation.kind = kind;
        relation.line = lineArgument(call, 0, drawn().index);
        add(call, relation);
    }
    template <RelationKind kind>
    void addOfKeypoints(Call& call)
    {
        requireFlag(call, 4);
        SketchRelation relation;
        relation.kind = kind;
        relation.line = lineArgument(call, 0, drawn().index);
        relation.keypoint = keypointArgument(call, 1);
        relation.otherLine = lineArgument(call, 2, drawn().index);
        relation.otherKeypoint = keypointArgument(call, 3);
        if (relation.line == relation.otherLine && relation.keypoint == relation.otherKeypoint) {
            failCall(E_INVALIDARG, "a key point has no relation to itself");
        }
        add(call, relation);
    }

    static const ClassInfo& table();

protected:
    [[nodiscard]] std::vector<Drawn> items() const override
    {
        std::vector<Drawn> all;
        for (std::size_t i = 0; i < profile().relations.size(); ++i) {
            all.push_back({DrawnKind::relation, i, drawn().index});
        }
        return all;
    }

private:
    //! What guaranteed_ok says is not relied on, but it must say something.
    static void requireFlag(const Call& call, std::size_t parameter)
    {
        (void)call.variantNumber(parameter, 0);
    }
    static LONG keypointArgument(const Call& call, std::size_t parameter);
    void add(Call& call, const SketchRelation& relation);
    [[nodiscard]] DrawnProfile& profile() const { return drawing()->profiles[drawn().index]; }
};

LONG Relations::keypointArgument(const Call& call, std::size_t parameter)
{
    const LONG keypoint = call.integer(parameter);
    if (keypoint < 0 || keypoint > 2) {
        throw CallFailure{E_INVALIDARG,
                          "a line has no key point " + std::to_string(keypoint) +
                              ", but 0 (start), 1 (end) and 2 (middle)",
                          static_cast<int>(parameter)};
    }
    return keypoint;
}

void Relations::add(Call& call, const SketchRelation& relation)
{
    profile().relations.push_back(relation);
    if (!drawing()->settle(drawn().index)) {
        profile().relations.pop_back();
        failCall(E_FAIL, "the profile's relations and dimensions don't allow the relation");
    }
    profile().finished = false;
    call.answer(
        asObject(objectOf({DrawnKind::relation, profile().relations.size() - 1, drawn().index})));
}

const ClassInfo& Relations::table()
{
    static const std::vector<Parameter> line{{L"Object", Shape::objectIn},
                                             {L"guaranteed_ok", Shape::variantIn, true}};
    static const std::vector<Parameter> keypoints{{L"Object1", Shape::objectIn},
                                                  {L"Index1", Shape::longIn},
                                                  {L"Object2", Shape::objectIn},
                                                  {L"Index2", Shape::longIn},
                                                  {L"guaranteed_ok", Shape::variantIn, true}};
    static const ClassInfo info{
        "Relations2d", &kIidRelations2d,
        withItems(
            12, {
                    {708, "AddHorizontalAlign", kMethod, keypoints,
                     handle<Relations, &Relations::addOfKeypoints<RelationKind::horizontalAlign>>},
                    {709, "AddVerticalAlign", kMethod, keypoints,
                     handle<Relations, &Relations::addOfKeypoints<RelationKind::verticalAlign>>},
                    {712, "AddHorizontal", kMethod, line,
                     handle<Relations, &Relations::addOfLine<RelationKind::horizontal>>},
                    {713, "AddVertical", kMethod, line,
                     handle<Relations, &Relations::addOfLine<RelationKind::vertical>>},
                    {719, "AddKeypoint", kMethod, keypoints,
                     handle<Relations, &Relations::addOfKeypoints<RelationKind::keypoint>>},
                })};
    return info;
}

} // namespace

IDispatchPtr newRelationObject(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                               const Drawn& drawn, bool known)
{
    if (drawn.kind == DrawnKind::relation) {
        return owned(new Relation(host, Relation::table(), drawing, drawn, known));
    }
    return owned(new Relations(host, Relations::table(), drawing, drawn, known));
}

} // namespace standin

//! @file
//! A hand-made document in which a rectangle can be drawn: a part with sketches or profile sets, or
//! an assembly with layouts.
#pragma once

#include "support/TopoScene.h"

#include <array>
#include <string>
#include <vector>

//! What holds the profile.
enum class Container
{
    Sketch,
    ProfileSet,
    Layout
};

inline constexpr Container kContainers[] = {Container::Sketch, Container::ProfileSet,
                                            Container::Layout};

//! The document and its objects. Their names in the calls noted:
//! - "doc"; its "sketches", "sets" or "layouts", which give "sketch", "set" or "layout";
//! - "profs", the profiles of a sketch or a set; "prof", the profile;
//! - "lines" of the profile, which gives "line1" to "line4"; "rels", its relations; "dims", its
//!   dimensions, which gives "dim1" and "dim2"; "projected", the line of a projected plane;
//! - "plane", to draw on; "defaults", the default planes, which gives "plane1" to "plane3" with the
//!   normals +z, +x and +y. The plane to draw on has the normal of the first.
//! It must stay where it is while its objects are used.
class ProfileHost
{
public:
    ProfileHost(Scene& aScene, Container aContainer);
    ProfileHost(const ProfileHost&) = delete;
    ProfileHost& operator=(const ProfileHost&) = delete;

    //! Gives an object by its name in the calls noted.
    [[nodiscard]] fake::Object& At(const std::string& aName) const;

    Container kind;
    //! What the methods that make something, and the reads of the relations, answer in turn.
    std::array<IDispatch*, 4> lines{};
    std::array<IDispatch*, 2> relations{};
    std::array<IDispatch*, 2> dimensions{};
    //! What closing and validating the profile answers.
    LONG validation{0};

private:
    void MakePart();
    void MakeAssembly();
    void MakeProfile();
    fake::Object& Make(const std::string& aName, const IID& aIid);

    Scene* mScene;
    std::vector<fake::Object*> mObjects;
    std::size_t mNextLine{0};
    std::size_t mNextRelations{0};
    std::size_t mNextDimension{0};
};

//! Scripts a plane's normal.
fake::Object& scriptNormal(fake::Object& aPlane, const Triple& aNormal);

//! The calls that make the container and the profile.
std::vector<std::string> containerCalls(Container aContainer);
//! The calls that draw a rectangle from (-a, -b) to (a, b) and join its corners.
std::vector<std::string> rectangleCalls(const std::string& aHalfX, const std::string& aHalfY);
//! The calls that read a plane's normal.
std::vector<std::string> normalCalls(const std::string& aPlane);
//! The calls that choose a default plane and tie the rectangle to it.
//! @param aMatch  number of the default plane that has the normal of the plane drawn on
std::vector<std::string> constrainCalls(Container aContainer, int aMatch, const std::string& aX,
                                        const std::string& aY);

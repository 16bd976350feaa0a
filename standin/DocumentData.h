//! @file
//! What a session puts into a document beside its bodies, and what has been drawn in it, as plain
//! data. Lengths are metres, angles radians, texts UTF-8.

#pragma once

#include "com/Com.h"
#include "standin/geom/Brep.h"

#include <cstddef>
#include <string>
#include <vector>

namespace standin {

//! What a feature's automation object is.
enum class FeatureKind
{
    plain,        //!< no interface of its own
    interpart,    //!< InterpartConstruction: a copy of another part's geometry
    stitched,     //!< StitchSurface
    derivedCurve, //!< DerivedCurve
};

//! A feature of a model or of a construction.
struct FeatureSpec
{
    FeatureKind kind = FeatureKind::plain;
    LONG type = 0; //!< what Type answers; of a plain feature, the others have their own
};

//! A construction: a body beside the design bodies.
struct ConstructionSpec
{
    geom::Body body; //!< its solid flag is what IsSolid answers
    bool visible = true;
    std::vector<FeatureSpec> features;
};

//! What a value measures, numbered as UnitsType answers.
enum class UnitKind : LONG
{
    distance = 1,
    angle = 2,
};

//! A variable. Formulas are texts here, nothing is worked out from them.
struct VariableSpec
{
    std::string name;       //!< empty: the system name
    std::string systemName; //!< empty: "V" and a number
    std::string formula;
    double value = 0.0;
    UnitKind units = UnitKind::distance;
};

//! Kinds of dimension, numbered as DimensionType answers.
enum class DimensionKind : LONG
{
    linear = 1,
    radial,
    angular,
    radialDiameter,
    circularDiameter,
    arcLength,
    arcAngle,
    coordinate,
    symmetricDiameter,
    chamfer,
    angularCoordinate,
    curveLength,
};

//! A dimension that measures nothing drawn here.
struct DimensionSpec
{
    std::string name;       //!< empty: the system name
    std::string systemName; //!< empty: "V" and a number
    DimensionKind kind = DimensionKind::linear;
    double value = 0.0;
    bool driving = true;
};

//! A reference plane. Profiles on it have their origin at the root, x along the direction, and y at
//! a right angle to both normal and direction, so that x, y, normal are right-handed.
struct RefPlaneSpec
{
    std::string name;
    geom::Vec root;
    geom::Vec normal{0.0, 0.0, 1.0};
    geom::Vec direction{1.0, 0.0, 0.0};
};

//! A point in a profile.
struct SketchPoint
{
    double x = 0.0;
    double y = 0.0;
};

//! A line in a profile: one that was drawn, or a reference plane seen from its edge.
struct SketchLine
{
    SketchPoint start;
    SketchPoint end;
    std::size_t plane = geom::kNone; //!< of a projected one: the plane, 0 for the first
};

enum class RelationKind
{
    keypoint,        //!< two key points at one place
    horizontal,      //!< a line along x
    vertical,        //!< a line along y
    horizontalAlign, //!< two key points with equal y
    verticalAlign,   //!< two key points with equal x
};

//! A relation in a profile. Key points: 0 start, 1 end, 2 middle.
struct SketchRelation
{
    RelationKind kind{};
    std::size_t line = 0; //!< index among the profile's lines
    LONG keypoint = 0;
    std::size_t otherLine = geom::kNone; //!< kNone for a relation of one line
    LONG otherKeypoint = 0;
};

//! A length dimension in a profile.
struct LengthView
{
    std::string name;
    std::string systemName;
    std::size_t line = 0; //!< index among the profile's lines
    double value = 0.0;
    bool driving = false;
    bool projectionLineDirection = false;
    double trackDistance = 0.0;
};

//! What profiles are drawn in.
enum class ContainerKind
{
    sketch,
    profileSet,
    layout, //!< of an assembly
};

//! A profile with all that has been drawn in it, as it is at the moment.
struct ProfileView
{
    ContainerKind container{};
    LONG containerNumber = 0; //!< in the collection of its kind, from 1
    LONG number = 0;          //!< in its container, from 1
    LONG planeNumber = 0;     //!< in the reference planes, from 1
    RefPlaneSpec plane;
    std::vector<SketchLine> lines; //!< those of projected planes are among them
    std::vector<SketchRelation> relations;
    std::vector<LengthView> dimensions;
    bool finished = false; //!< ended as valid, and nothing was drawn since
};

} // namespace standin

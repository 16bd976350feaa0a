//! @file
//! What a session puts into a document beside its bodies, and what has been drawn in it, as plain
//! data. Lengths are metres, angles radians, texts UTF-8.

#pragma once

#include "com/Com.h"
#include "standin/geom/Brep.h"

#include <array>
#include <cstddef>
#include <optional>
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

} // namespace standin

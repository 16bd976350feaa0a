//! @file
//! Curves of a file.

#pragma once

#include "standin/geom/Curve.h"
#include "standin/step/Exchange.h"
#include "standin/step/Units.h"

#include <string>
#include <vector>

namespace standin::step {

//! A curve, and whether the file's curve runs against its parameter.
struct OrientedCurve
{
    geom::CurvePtr curve;
    bool reversed{};
};

//! Reads a curve: lines, conics, polylines, B-splines of all kinds, and what wraps one of them
//! (trimmed curves, curves on surfaces). Limits of trimmed curves are not kept: edges have their
//! vertices.
//! @throws StepError  the curve is of another kind, or can't be used
[[nodiscard]] OrientedCurve readCurve(const Exchange& exchange, const Value& reference,
                                      const Units& units);

//! How a B-spline writes its knots.
enum class KnotForm
{
    written,
    uniform,
    quasiUniform,
    bezier
};

//! Gives the form that an instance's keywords say.
[[nodiscard]] KnotForm knotForm(const Entity& entity, std::string_view dimension);

//! Gives every knot of a direction with written knots.
//! @param multiplicities  as many as values
//! @param values          the distinct knots
//! @param degree          at least 1
//! @param poles           at least degree + 1
//! @throws StepError  the counts don't fit, or a multiplicity is out of 1 to degree + 1
[[nodiscard]] std::vector<double> writtenKnots(const Value& multiplicities, const Value& values,
                                               int degree, std::size_t poles);

//! Gives every knot of a direction whose knots follow from its form.
//! @throws StepError  for Bezier forms when the degree doesn't divide poles - 1
[[nodiscard]] std::vector<double> impliedKnots(const Entity& entity, KnotForm form, int degree,
                                               std::size_t poles);

//! Reads a degree.
//! @throws StepError  outside 1 to 64
[[nodiscard]] int readDegree(const Value& value);

//! Reads whether the file says that a B-spline closes; unknown counts as no.
[[nodiscard]] bool readClosed(const Value& flag);

//! Reads a length in metres.
//! @throws StepError  outside 1e-12 to 1e9 m
[[nodiscard]] double readRadius(const Value& value, double length);

} // namespace standin::step

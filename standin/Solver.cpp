#include "standin/Solver.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace standin {
namespace {

constexpr double kHolds = 1e-10;
//! Steps stop paying when all holds to this.
constexpr double kExact = 1e-15;
constexpr int kMostSteps = 50;
//! Steps that converge halve the error within as many.
constexpr int kMostIdleSteps = 8;
//! Their square is the memory that a step takes.
constexpr std::size_t kMostEquations = 1000;
//! Keeps the equations solvable when relations say the same thing twice.
constexpr double kDamping = 1e-12;

//! One equation: by how much it is off, and what each coordinate does to that.
struct Equation
{
    double error = 0.0;
    std::vector<std::pair<std::size_t, double>> terms; //!< coordinate, derivative
};

//! Gives the four coordinates of a line: x and y of start, x and y of end.
std::array<double*, 4> coordinatesOf(SketchLine& line)
{
    return {&line.start.x, &line.start.y, &line.end.x, &line.end.y};
}

//! The equations of a profile. Coordinates are numbered four to a line.
class Equations
{
public:
    explicit Equations(const std::vector<SketchLine>& sketchLines) : lines(sketchLines) {}

    void add(const SketchRelation& relation)
    {
        const bool ends =
            relation.kind == RelationKind::horizontal || relation.kind == RelationKind::vertical;
        const std::size_t other = ends ? relation.line : relation.otherLine;
        const LONG first = ends ? 0 : relation.keypoint;
        const LONG second = ends ? 1 : relation.otherKeypoint;
        const bool alongX = relation.kind == RelationKind::horizontal ||
                            relation.kind == RelationKind::horizontalAlign;
        const bool alongY =
            relation.kind == RelationKind::vertical || relation.kind == RelationKind::verticalAlign;
        if (!alongX) {
            addDifference(relation.line, first, other, second, 0);
        }
        if (!alongY) {
            addDifference(relation.line, first, other, second, 1);
        }
    }
    void add(const DrivenLength& driven)
    {
        const SketchLine& line = lines[driven.line];
        const double length = lengthOf(line);
        const double x = (line.end.x - line.start.x) / length;
        const double y = (line.end.y - line.start.y) / length;
        Equation equation;
        equation.error = length - driven.length;
        term(equation, driven.line, 0, -x);
        term(equation, driven.line, 1, -y);
        term(equation, driven.line, 2, x);
        term(equation, driven.line, 3, y);
        all.push_back(std::move(equation));
    }

    [[nodiscard]] std::size_t count() const { return all.size(); }
    [[nodiscard]] double worst() const
    {
        double worstError = 0.0;
        for (const Equation& equation : all) {
            // Not std::max: an error that is not a number is to win.
            const double error = std::fabs(equation.error);
            worstError = error <= worstError ? worstError : error;
        }
        return worstError;
    }
    //! Gives the shortest change of the coordinates that mends the errors to first order.
    [[nodiscard]] std::vector<double> step() const;

private:
    //! @param axis  0 for x, 1 for y
    void addDifference(std::size_t line, LONG keypoint, std::size_t other, LONG otherKeypoint,
                       std::size_t axis)
    {
        const SketchPoint a = keypointOf(lines[line], keypoint);
        const SketchPoint b = keypointOf(lines[other], otherKeypoint);
        Equation equation;
        equation.error = axis == 0 ? a.x - b.x : a.y - b.y;
        point(equation, line, keypoint, axis, 1.0);
        point(equation, other, otherKeypoint, axis, -1.0);
        all.push_back(std::move(equation));
    }
    void point(Equation& equation, std::size_t line, LONG keypoint, std::size_t axis, double sign)
    {
        if (keypoint != 1) {
            term(equation, line, axis, keypoint == 2 ? 0.5 * sign : sign);
        }
        if (keypoint != 0) {
            term(equation, line, 2 + axis, keypoint == 2 ? 0.5 * sign : sign);
        }
    }
    void term(Equation& equation, std::size_t line, std::size_t coordinate, double derivative)
    {
        if (lines[line].plane == geom::kNone) {
            equation.terms.emplace_back(4 * line + coordinate, derivative);
        }
    }

    const std::vector<SketchLine>& lines;
    std::vector<Equation> all;
};

using Matrix = std::vector<std::vector<double>>;

//! Solves A x = b for a symmetric positive definite A, given by its lower triangle.
std::vector<double> solveSymmetric(Matrix a, std::vector<double> b)
{
    const std::size_t n = b.size();
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            double sum = a[i][j];
            for (std::size_t k = 0; k < j; ++k) {
                sum -= a[i][k] * a[j][k];
            }
            a[i][j] = i == j ? std::sqrt(sum) : sum / a[j][j];
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            b[i] -= a[i][k] * b[k];
        }
        b[i] /= a[i][i];
    }
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t k = i + 1; k < n; ++k) {
            b[i] -= a[k][i] * b[k];
        }
        b[i] /= a[i][i];
    }
    return b;
}

std::vector<double> Equations::step() const
{
    const std::size_t unknowns = 4 * lines.size();
    std::vector<double> errors(all.size());
    std::vector<double> row(unknowns);
    // The shortest step is J^T w with (J J^T) w = -errors.
    Matrix products(all.size(), std::vector<double>(all.size()));
    for (std::size_t i = 0; i < all.size(); ++i) {
        errors[i] = -all[i].error;
        for (const auto& [coordinate, derivative] : all[i].terms) {
            row[coordinate] += derivative;
        }
        for (std::size_t j = 0; j <= i; ++j) {
            for (const auto& [coordinate, derivative] : all[j].terms) {
                products[i][j] += row[coordinate] * derivative;
            }
        }
        products[i][i] += kDamping;
        for (const auto& term : all[i].terms) {
            row[term.first] = 0.0;
        }
    }
    const std::vector<double> weights = solveSymmetric(std::move(products), std::move(errors));
    std::vector<double> change(unknowns);
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (const auto& [coordinate, derivative] : all[i].terms) {
            change[coordinate] += derivative * weights[i];
        }
    }
    return change;
}

Equations equationsOf(const std::vector<SketchLine>& lines,
                      const std::vector<SketchRelation>& relations,
                      const std::vector<DrivenLength>& lengths)
{
    Equations equations(lines);
    for (const SketchRelation& relation : relations) {
        equations.add(relation);
    }
    for (const DrivenLength& length : lengths) {
        equations.add(length);
    }
    return equations;
}

} // namespace

SketchPoint keypointOf(const SketchLine& line, LONG keypoint) noexcept
{
    switch (keypoint) {
    case 0:
        return line.start;
    case 1:
        return line.end;
    default:
        return {0.5 * (line.start.x + line.end.x), 0.5 * (line.start.y + line.end.y)};
    }
}

double lengthOf(const SketchLine& line) noexcept
{
    return std::hypot(line.end.x - line.start.x, line.end.y - line.start.y);
}

bool solve(std::vector<SketchLine>& lines, const std::vector<SketchRelation>& relations,
           const std::vector<DrivenLength>& lengths)
{
    std::vector<SketchLine> moved = lines;
    double reached = std::numeric_limits<double>::infinity();
    for (int i = 0, idle = 0; i < kMostSteps && idle < kMostIdleSteps; ++i, ++idle) {
        const Equations equations = equationsOf(moved, relations, lengths);
        const double worst = equations.worst();
        const bool settled = worst <= kExact || (worst <= kHolds && worst >= reached);
        if (settled || !std::isfinite(worst) || equations.count() > kMostEquations) {
            break;
        }
        if (worst <= 0.5 * reached) {
            reached = worst;
            idle = 0;
        }
        const std::vector<double> change = equations.step();
        for (std::size_t line = 0; line < moved.size(); ++line) {
            const std::array<double*, 4> coordinates = coordinatesOf(moved[line]);
            for (std::size_t c = 0; c < coordinates.size(); ++c) {
                *coordinates[c] += change[4 * line + c];
            }
        }
    }
    const double worst = equationsOf(moved, relations, lengths).worst();
    const bool allLong = std::all_of(moved.begin(), moved.end(), [](const SketchLine& line) {
        return lengthOf(line) > kShortestLine;
    });
    if (!allLong || !(worst <= kHolds)) {
        return false;
    }
    lines = std::move(moved);
    return true;
}

} // namespace standin

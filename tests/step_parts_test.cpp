// Real parts: everything counted in the folder's ground-truth.json, found again in the model.

#include "standin/step/StepFile.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using nlohmann::json;
using standin::geom::Body;
using standin::geom::Box;
using standin::geom::Curve;
using standin::geom::CurveKind;
using standin::geom::Edge;
using standin::geom::EdgeUse;
using standin::geom::Face;
using standin::geom::Loop;
using standin::geom::Model;
using standin::geom::Occurrence;
using standin::geom::Placement;
using standin::geom::Product;
using standin::geom::Surface;
using standin::geom::SurfaceKind;
using standin::geom::Vec;
using standin::geom::Vertex;

const char* dataFolder()
{
    return std::getenv("KTMDL_STEP_DATA");
}

json groundTruth()
{
    std::ifstream stream(std::string(dataFolder()) + "/ground-truth.json");
    return json::parse(stream);
}

struct Part
{
    std::string file;
    json truth;
    Model model;
    double unit{}; // metres per unit of the file
};

// Every file of the folder, read once.
const std::vector<Part>& parts()
{
    static const std::vector<Part> kParts = [] {
        std::vector<Part> all;
        const json truth = groundTruth();
        for (const auto& item : truth.items()) {
            Part part;
            part.file = item.key();
            part.truth = item.value();
            part.model = standin::step::readFile(std::string(dataFolder()) + "/" + part.file);
            part.unit = part.truth["length_unit"]["metres"].get<double>();
            all.push_back(std::move(part));
        }
        return all;
    }();
    return kParts;
}

class StepParts : public testing::Test
{
protected:
    void SetUp() override
    {
        if (dataFolder() == nullptr) {
            GTEST_SKIP() << "KTMDL_STEP_DATA does not name the folder of STEP parts";
        }
        ASSERT_FALSE(parts().empty());
    }

    template <typename Check>
    static void forEachPart(Check check)
    {
        for (const Part& part : parts()) {
            SCOPED_TRACE(part.file);
            check(part);
        }
    }

    template <typename Check>
    static void forEachBody(const Part& part, Check check)
    {
        for (const Product& product : part.model.products) {
            for (const Body& body : product.bodies) {
                check(body);
            }
        }
    }
};

std::string kindOf(const Surface& surface)
{
    switch (surface.kind()) {
    case SurfaceKind::plane:
        return "PLANE";
    case SurfaceKind::cylinder:
        return "CYLINDRICAL_SURFACE";
    case SurfaceKind::cone:
        return "CONICAL_SURFACE";
    case SurfaceKind::sphere:
        return "SPHERICAL_SURFACE";
    case SurfaceKind::torus:
        return "TOROIDAL_SURFACE";
    case SurfaceKind::bspline:
        return "B_SPLINE";
    case SurfaceKind::extrusion:
        return "SURFACE_OF_LINEAR_EXTRUSION";
    case SurfaceKind::revolution:
        return "SURFACE_OF_REVOLUTION";
    case SurfaceKind::offset:
        return "OFFSET_SURFACE";
    }
    return "?";
}

std::string kindOf(const Curve& curve)
{
    switch (curve.kind()) {
    case CurveKind::line:
        return "LINE";
    case CurveKind::circle:
        return "CIRCLE";
    case CurveKind::ellipse:
        return "ELLIPSE";
    case CurveKind::hyperbola:
        return "HYPERBOLA";
    case CurveKind::parabola:
        return "PARABOLA";
    case CurveKind::bspline:
        return "B_SPLINE";
    case CurveKind::polyline:
        return "POLYLINE";
    }
    return "?";
}

// B-splines are told apart in the file, but are one kind in the model.
std::map<std::string, int> wantedKinds(const json& truth)
{
    std::map<std::string, int> kinds;
    for (const auto& item : truth.items()) {
        const bool spline = item.key().find("B_SPLINE") != std::string::npos ||
                            item.key().find("QUASI_UNIFORM") != std::string::npos;
        kinds[spline ? "B_SPLINE" : item.key()] += item.value().get<int>();
    }
    return kinds;
}

const Vec& startOf(const Body& body, const EdgeUse& use)
{
    const Edge& edge = body.edges[use.edge];
    return body.vertices[use.reversed ? edge.end : edge.start].point;
}

// Counts

TEST_F(StepParts, SolidsFacesEdgesVerticesAndLoopsAreCounted)
{
    forEachPart([](const Part& part) {
        std::size_t solids = 0;
        std::size_t faces = 0;
        std::size_t edges = 0;
        std::size_t closed = 0;
        std::size_t vertices = 0;
        std::size_t edgeLoops = 0;
        std::size_t vertexLoops = 0;
        std::size_t outer = 0;
        forEachBody(part, [&](const Body& body) {
            solids += body.solid ? 1U : 0U;
            faces += body.faces.size();
            edges += body.edges.size();
            vertices += body.vertices.size();
            for (const Edge& edge : body.edges) {
                closed += edge.start == edge.end ? 1U : 0U;
            }
            for (const Face& face : body.faces) {
                for (const Loop& loop : face.loops) {
                    ++(loop.uses.empty() ? vertexLoops : edgeLoops);
                    outer += loop.outer ? 1U : 0U;
                }
            }
        });
        const json& truth = part.truth;
        EXPECT_EQ(solids, truth["solids"]);
        EXPECT_EQ(faces, truth["faces"]);
        EXPECT_EQ(edges, truth["edges"]);
        EXPECT_EQ(closed, truth["closed_edges"]);
        EXPECT_EQ(vertices, truth["vertices"]);
        EXPECT_EQ(edgeLoops, truth["loops"]["EDGE_LOOP"]);
        EXPECT_EQ(vertexLoops, truth["loops"]["VERTEX_LOOP"]);
        EXPECT_EQ(outer, truth["face_bounds"].value("FACE_OUTER_BOUND", 0));
    });
}

TEST_F(StepParts, KindsOfSurfacesAndCurvesAreCounted)
{
    forEachPart([](const Part& part) {
        std::map<std::string, int> surfaces;
        std::map<std::string, int> curves;
        forEachBody(part, [&](const Body& body) {
            for (const Face& face : body.faces) {
                ++surfaces[kindOf(*face.surface)];
            }
            for (const Edge& edge : body.edges) {
                ++curves[kindOf(*edge.curve)];
            }
        });
        EXPECT_EQ(surfaces, wantedKinds(part.truth["face_surface_types"]));
        EXPECT_EQ(curves, wantedKinds(part.truth["edge_curve_types"]));
    });
}

TEST_F(StepParts, EverySolidHasItsCounts)
{
    forEachPart([](const Part& part) {
        std::size_t found = 0;
        for (const json& wanted : part.truth["per_solid"]) {
            const std::string name = wanted["instance"];
            SCOPED_TRACE(name);
            forEachBody(part, [&](const Body& body) {
                if ("#" + std::to_string(body.entity) != name) {
                    return;
                }
                ++found;
                std::size_t loops = 0;
                std::size_t vertexLoops = 0;
                std::vector<int> forward(body.edges.size(), 0);
                std::vector<int> backward(body.edges.size(), 0);
                for (const Face& face : body.faces) {
                    loops += face.loops.size();
                    for (const Loop& loop : face.loops) {
                        vertexLoops += loop.uses.empty() ? 1U : 0U;
                        for (const EdgeUse& use : loop.uses) {
                            ++(use.reversed ? backward : forward)[use.edge];
                        }
                    }
                }
                EXPECT_TRUE(body.solid);
                EXPECT_EQ(body.faces.size(), wanted["faces"]);
                EXPECT_EQ(body.edges.size(), wanted["edges"]);
                EXPECT_EQ(body.vertices.size(), wanted["vertices"]);
                EXPECT_EQ(loops, wanted["loops"]);
                EXPECT_EQ(vertexLoops, wanted["vertex_loops"]);
                EXPECT_EQ(wanted["edges_used_twice_in_same_direction"], 0);
                EXPECT_EQ(forward, std::vector<int>(body.edges.size(), 1));
                EXPECT_EQ(backward, std::vector<int>(body.edges.size(), 1));
                const auto signedSize = [](std::size_t n) { return static_cast<int>(n); };
                EXPECT_EQ(signedSize(body.vertices.size()) - signedSize(body.edges.size()) +
                              2 * signedSize(body.faces.size()) - signedSize(loops),
                          wanted["euler_V-E+F-(L-F)"]);
            });
        }
        EXPECT_EQ(found, part.truth["per_solid"].size());
    });
}

TEST_F(StepParts, FacesAndEdgesAgainstTheirGeometryAreCounted)
{
    // No file of the folder has turned shells or faces, reversed trimmed curves or surfaces.
    forEachPart([](const Part& part) {
        std::size_t faces = 0;
        std::size_t edges = 0;
        std::map<std::string, int> loops;
        forEachBody(part, [&](const Body& body) {
            for (const Face& face : body.faces) {
                faces += face.reversed ? 1U : 0U;
                ++loops[std::to_string(face.loops.size())];
            }
            for (const Edge& edge : body.edges) {
                edges += edge.reversed ? 1U : 0U;
            }
        });
        EXPECT_EQ(faces, part.truth["face_same_sense"].value("F", 0));
        EXPECT_EQ(edges, part.truth["edge_same_sense"].value("F", 0));
        EXPECT_EQ(loops,
                  (part.truth["faces_by_number_of_loops"].get<std::map<std::string, int>>()));
    });
}

// Measures

TEST_F(StepParts, VerticesFillTheirBox)
{
    forEachPart([](const Part& part) {
        Box box;
        forEachBody(part, [&](const Body& body) {
            for (const Vertex& vertex : body.vertices) {
                box.add(vertex.point);
            }
        });
        const json& truth = part.truth["vertex_point_box"];
        const std::array<double, 6> found{box.min.x, box.min.y, box.min.z,
                                          box.max.x, box.max.y, box.max.z};
        for (std::size_t i = 0; i < 6; ++i) {
            const double wanted =
                (i < 3 ? truth["min"][i] : truth["max"][i - 3]).get<double>() * part.unit;
            EXPECT_NEAR(found[i], wanted, 1e-12 * std::fmax(1.0, std::fabs(wanted))) << i;
        }
    });
}

TEST_F(StepParts, StraightEdgesHaveTheirLength)
{
    forEachPart([](const Part& part) {
        double sum = 0.0;
        forEachBody(part, [&](const Body& body) {
            for (const Edge& edge : body.edges) {
                if (edge.curve->kind() == CurveKind::line) {
                    sum += distance(body.vertices[edge.start].point, body.vertices[edge.end].point);
                }
            }
        });
        const double wanted =
            part.truth["sum_of_vertex_distances_of_line_edges"].get<double>() * part.unit;
        EXPECT_NEAR(sum, wanted, 1e-12 * std::fmax(1.0, wanted));
    });
}

// Holds radii found against the list of the ground truth, which has 9 significant digits: half a
// unit of the last one is at most 5e-9 of the value.
void expectRadii(const std::vector<double>& found, const json& truth, const char* count)
{
    std::size_t total = 0;
    for (const json& wanted : truth) {
        const double value = wanted["value"];
        const auto same = [value](double radius) {
            return std::fabs(radius - value) <= 5.1e-9 * value;
        };
        EXPECT_EQ(std::count_if(found.begin(), found.end(), same), wanted[count]) << value;
        total += wanted[count].get<std::size_t>();
    }
    EXPECT_EQ(found.size(), total);
}

TEST_F(StepParts, CirclesAndCylindersHaveTheirRadius)
{
    std::size_t tried = 0;
    forEachPart([&](const Part& part) {
        if (!part.truth.contains("parameters_in_file_units")) {
            return;
        }
        const json& truth = part.truth["parameters_in_file_units"];
        std::vector<double> circles;
        std::vector<double> cylinders;
        constexpr double kPi = 3.14159265358979323846;
        forEachBody(part, [&](const Body& body) {
            for (const Edge& edge : body.edges) {
                if (edge.curve->kind() == CurveKind::circle) {
                    circles.push_back(distance(edge.curve->at(0.0), edge.curve->at(kPi)) / 2 /
                                      part.unit);
                }
            }
            for (const Face& face : body.faces) {
                if (face.surface->kind() == SurfaceKind::cylinder) {
                    const Vec one = face.surface->at({0.0, 0.0});
                    const Vec other = face.surface->at({kPi, 0.0});
                    cylinders.push_back(distance(one, other) / 2 / part.unit);
                }
            }
        });
        expectRadii(circles, truth.value("circle_edge_radius", json::array()), "edges");
        expectRadii(cylinders, truth.value("cylinder_radius", json::array()), "faces");
        tried += circles.size() + cylinders.size();
    });
    EXPECT_GT(tried, 1000U);
}

// How far a vertex may lie from a curve or surface, metres: what the ground truth found in the
// file (with one digit more for its rounding), or where it says nothing (B-splines, offsets), 1e-5.
double allowed(const Part& part, const char* list, const std::string& kind)
{
    constexpr double kRounding = 1e-12;
    if (part.truth.contains(list)) {
        for (const auto& item : part.truth[list].items()) {
            // Ellipses are measured in another way there.
            if (item.key() == kind) {
                return item.value().get<double>() * part.unit * 1.01 + kRounding;
            }
        }
    }
    return 1e-5;
}

TEST_F(StepParts, EdgesRunFromVertexToVertex)
{
    forEachPart([](const Part& part) {
        forEachBody(part, [&](const Body& body) {
            for (const Edge& edge : body.edges) {
                const Vec& from = body.vertices[edge.reversed ? edge.end : edge.start].point;
                const Vec& to = body.vertices[edge.reversed ? edge.start : edge.end].point;
                const double most =
                    allowed(part, "max_distance_vertex_to_edge_curve", kindOf(*edge.curve));
                EXPECT_LT(edge.from, edge.to) << "#" << edge.entity;
                EXPECT_LE(distance(edge.curve->at(edge.from), from), most) << "#" << edge.entity;
                EXPECT_LE(distance(edge.curve->at(edge.to), to), most) << "#" << edge.entity;
            }
        });
    });
}

TEST_F(StepParts, ClosedEdgesAreWholePeriods)
{
    std::size_t closed = 0;
    forEachPart([&](const Part& part) {
        forEachBody(part, [&](const Body& body) {
            for (const Edge& edge : body.edges) {
                const double period = edge.curve->period();
                if (edge.start == edge.end) {
                    ++closed;
                    EXPECT_GT(period, 0.0) << "#" << edge.entity;
                    EXPECT_NEAR(edge.to - edge.from, period, 1e-9 * period) << "#" << edge.entity;
                } else if (period > 0.0) {
                    EXPECT_LT(edge.to - edge.from, period) << "#" << edge.entity;
                }
            }
        });
    });
    EXPECT_EQ(closed, 121U); // 14 + 20 + 69 + 9 + 9, the sum of closed_edges over the folder
}

TEST_F(StepParts, VerticesLieOnTheSurfacesOfTheirFaces)
{
    forEachPart([](const Part& part) {
        forEachBody(part, [&](const Body& body) {
            for (const Face& face : body.faces) {
                const double most =
                    allowed(part, "max_distance_vertex_to_face_surface", kindOf(*face.surface));
                for (const Loop& loop : face.loops) {
                    std::vector<Vec> points;
                    if (loop.uses.empty()) {
                        points.push_back(body.vertices[loop.vertex].point);
                    }
                    for (const EdgeUse& use : loop.uses) {
                        points.push_back(startOf(body, use));
                    }
                    for (const Vec& point : points) {
                        const Vec nearest =
                            face.surface->at(face.surface->parameterAt(point, nullptr));
                        EXPECT_LE(distance(nearest, point), most) << "face #" << face.entity;
                    }
                }
            }
        });
    });
}

// The middle of every edge lies on both faces: tells the right stretch of a curve from the wrong
// one, which is off by millimetres. Edge and surface may each be off by the file's uncertainty;
// one file (cat-ear-hat-m) claims less than its splines keep, so 1e-5 m are allowed always.
TEST_F(StepParts, MiddlesOfEdgesLieOnTheSurfacesOfTheirFaces)
{
    forEachPart([](const Part& part) {
        double uncertainty = 0.0;
        for (const json& entry : part.truth["length_uncertainty"]) {
            uncertainty = std::fmax(uncertainty, entry["value"].get<double>() * part.unit);
        }
        const double most = std::fmax(1e-5, 2 * uncertainty);
        forEachBody(part, [&](const Body& body) {
            for (const Face& face : body.faces) {
                for (const Loop& loop : face.loops) {
                    for (const EdgeUse& use : loop.uses) {
                        const Edge& edge = body.edges[use.edge];
                        const Vec middle = edge.curve->at((edge.from + edge.to) / 2);
                        const Vec nearest =
                            face.surface->at(face.surface->parameterAt(middle, nullptr));
                        EXPECT_LE(distance(nearest, middle), most)
                            << "edge #" << edge.entity << " of face #" << face.entity;
                    }
                }
            }
        });
    });
}

// Seen from outside, the loops of a plane face bound an area on their left: the outer one runs
// counter-clockwise, the others clockwise, and what is left is above 0.
TEST_F(StepParts, LoopsOfPlaneFacesRunCounterClockwiseSeenFromOutside)
{
    std::size_t tried = 0;
    forEachPart([&](const Part& part) {
        forEachBody(part, [&](const Body& body) {
            for (const Face& face : body.faces) {
                if (face.surface->kind() != SurfaceKind::plane) {
                    continue;
                }
                ++tried;
                const Vec normal = face.surface->normal({0.0, 0.0}) * (face.reversed ? -1.0 : 1.0);
                const Vec origin = face.surface->at({0.0, 0.0});
                double area = 0.0;
                for (const Loop& loop : face.loops) {
                    for (const EdgeUse& use : loop.uses) {
                        const Edge& edge = body.edges[use.edge];
                        const bool back = use.reversed != edge.reversed;
                        constexpr int kPieces = 64;
                        Vec previous = edge.curve->at(edge.from) - origin;
                        for (int i = 1; i <= kPieces; ++i) {
                            const double t = edge.from + (edge.to - edge.from) * i / kPieces;
                            const Vec next = edge.curve->at(t) - origin;
                            area += (back ? -0.5 : 0.5) * dot(cross(previous, next), normal);
                            previous = next;
                        }
                    }
                }
                EXPECT_GT(area, 0.0) << "face #" << face.entity;
            }
        });
    });
    EXPECT_GT(tried, 400U);
}

// Assemblies

struct Tree
{
    std::size_t occurrences{};
    std::size_t solids{};
    std::size_t depth{};
    Box box;
};

Vec placed(const Placement& p, const Vec& v)
{
    return {p.row[0] * v.x + p.row[1] * v.y + p.row[2] * v.z + p.row[3],
            p.row[4] * v.x + p.row[5] * v.y + p.row[6] * v.z + p.row[7],
            p.row[8] * v.x + p.row[9] * v.y + p.row[10] * v.z + p.row[11]};
}

void expand(const Model& model, std::size_t index, std::size_t depth,
            const std::function<Vec(const Vec&)>& toRoot, Tree& tree)
{
    const Product& product = model.products[index];
    ++tree.occurrences;
    tree.depth = std::max(tree.depth, depth);
    for (const Body& body : product.bodies) {
        tree.solids += body.solid ? 1U : 0U;
        for (const Vertex& vertex : body.vertices) {
            if (body.solid) {
                tree.box.add(toRoot(vertex.point));
            }
        }
    }
    for (const Occurrence& occurrence : product.occurrences) {
        expand(
            model, occurrence.product, depth + 1,
            [&](const Vec& point) { return toRoot(placed(occurrence.placement, point)); }, tree);
    }
}

TEST_F(StepParts, AssembliesExpandToTheirTree)
{
    forEachPart([](const Part& part) {
        const json& truth = part.truth["assembly"];
        Tree tree;
        std::size_t occurrences = 0;
        for (const std::size_t root : part.model.roots) {
            expand(
                part.model, root, 0, [](const Vec& point) { return point; }, tree);
        }
        for (const Product& product : part.model.products) {
            occurrences += product.occurrences.size();
        }
        // Definitions of materials are roots in the ground truth; without a shape they are no
        // products here. Every file of the folder has one root with a shape.
        EXPECT_EQ(part.model.roots.size(), 1U);
        const std::size_t shapeless =
            truth["root_product_definitions"].get<std::size_t>() - part.model.roots.size();
        EXPECT_EQ(part.model.products.size() + shapeless, truth["product_definitions"]);
        EXPECT_EQ(occurrences, truth["next_assembly_usage_occurrences"]);
        EXPECT_EQ(tree.occurrences + shapeless, truth["occurrences_in_expanded_tree"]);
        EXPECT_EQ(tree.solids, truth["solid_instances_in_expanded_tree"]);
        EXPECT_EQ(tree.depth, truth["depth"]);
        const json& box = truth["vertex_box_in_root_space"];
        const std::array<double, 6> found{tree.box.min.x, tree.box.min.y, tree.box.min.z,
                                          tree.box.max.x, tree.box.max.y, tree.box.max.z};
        for (std::size_t i = 0; i < 6; ++i) {
            const double wanted =
                (i < 3 ? box["min"][i] : box["max"][i - 3]).get<double>() * part.unit;
            EXPECT_NEAR(found[i], wanted, 1e-11 * std::fmax(1.0, std::fabs(wanted))) << i;
        }
    });
}

TEST_F(StepParts, WarningsNameOnlyWhatIsLeftOutOrOdd)
{
    forEachPart([](const Part& part) {
        const json& counts = part.truth["entity_counts"];
        const auto count = [&](const std::string& kind) {
            for (const std::string& line : part.model.warnings) {
                if (line.find(kind + ":") == 0) {
                    const std::size_t at = line.find(" in all");
                    return std::stoi(line.substr(line.rfind(' ', at - 1) + 1));
                }
            }
            return 0;
        };
        for (const char* kind : {"STYLED_ITEM", "GEOMETRIC_SET"}) {
            EXPECT_EQ(count(kind), counts.value(kind, 0)) << kind;
        }
        for (const std::string& line : part.model.warnings) {
            EXPECT_EQ(line.find("body "), std::string::npos) << line;
            EXPECT_EQ(line.find("placement"), std::string::npos) << line;
        }
    });
}

} // namespace

#include "standin/step/StepFile.h"
#include "support/FacetSums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

using namespace standin::geom;
using shapes::Facet;

// Every face of the STEP parts in the folder that KTMDL_STEP_DATA names.

namespace {

std::vector<std::string> parts()
{
    std::vector<std::string> files;
    const char* folder = std::getenv("KTMDL_STEP_DATA");
    if (folder != nullptr) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension == ".step" || extension == ".stp") {
                files.push_back(entry.path().u8string());
            }
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

double outside(const Box& box, const Vec& p)
{
    return std::max({box.min.x - p.x, p.x - box.max.x, box.min.y - p.y, p.y - box.max.y,
                     box.min.z - p.z, p.z - box.max.z});
}

double outside(const Box& box, const Box& inner)
{
    return std::fmax(outside(box, inner.min), outside(box, inner.max));
}

struct Totals
{
    double volume{};
    double area{};
    double allowed{}; //!< by how much the volume may be off: area times chord distance
    Vec flux;         //!< the facets' area vectors; those of a closed body cancel out
};

// Checks the facets of one face and adds them up.
void checkFace(const Face& face, const FaceGeometry& geometry, double tolerance, Totals& totals)
{
    const std::vector<Facet> facets = shapes::split(geometry.facets(tolerance));
    ASSERT_FALSE(facets.empty());
    const Box box = geometry.box();
    const Box seen = shapes::box(facets);
    EXPECT_LE(outside(box, seen), 1e-9);
    double wrong = 0.0;
    Param guess = face.surface->parameterAt(facets[0][0], nullptr);
    for (std::size_t i = 0; i < facets.size(); ++i) {
        const Facet& f = facets[i];
        totals.flux = totals.flux + shapes::areaVector(f);
        if (i % 5 != 0) {
            continue; // the search for parameters is what takes the time
        }
        guess = face.surface->parameterAt(f[i % 3], &guess);
        EXPECT_LE(distance(face.surface->at(guess), f[i % 3]), 1e-9);
        const Vec mid = (f[0] + f[1] + f[2]) * (1.0 / 3.0);
        guess = face.surface->parameterAt(mid, &guess);
        EXPECT_LE(distance(face.surface->at(guess), mid), tolerance);
        const bool inwards = dot(shapes::areaVector(f), faceNormal(face, guess)) < 0.0;
        wrong += inwards ? length(shapes::areaVector(f)) : 0.0;
    }
    const double area = shapes::area(facets);
    // Slivers in a pole of a spline may look the wrong way; nothing that shows does.
    EXPECT_LE(wrong, 1e-5 * area);
    totals.area += area;
    totals.volume += shapes::volume(facets, {});
    // Facets are never coarser than a fiftieth of the face's size.
    totals.allowed += area * std::fmin(tolerance, 0.02 * length(box.max - box.min));
}

void checkBody(const Body& body)
{
    std::vector<Totals> totals;
    double edges = 0.0;
    for (const Edge& edge : body.edges) {
        edges += std::fabs(edge.curve->length(edge.from, edge.to));
    }
    for (const double tolerance : {0.005, 1e-5}) {
        totals.emplace_back();
        for (const Face& face : body.faces) {
            SCOPED_TRACE(testing::Message() << "face #" << face.entity << " at " << tolerance);
            const FaceGeometry geometry(body, face);
            EXPECT_TRUE(geometry.usable());
            checkFace(face, geometry, tolerance, totals.back());
            for (const Loop& loop : face.loops) {
                for (const EdgeUse& use : loop.uses) {
                    EXPECT_LE(outside(geometry.box(), edgeBox(body.edges[use.edge])), 0.0);
                }
            }
        }
    }
    if (!body.solid) {
        return;
    }
    const Totals& coarse = totals[0];
    const Totals& fine = totals[1];
    EXPECT_GT(fine.volume, 0.0);
    EXPECT_NEAR(coarse.volume, fine.volume, coarse.allowed + fine.allowed);
    // Neighbours may differ along an edge by the chord distance; a face missing or turned over
    // would leave its whole area.
    EXPECT_LT(length(fine.flux), 2.0 * 1e-5 * edges);
}

} // namespace

TEST(geom_Parts, EveryFaceOfEveryPartHasSoundFacets)
{
    const std::vector<std::string> files = parts();
    if (files.empty()) {
        GTEST_SKIP() << "KTMDL_STEP_DATA names no folder with STEP parts";
    }
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        const Model model = standin::step::readFile(file);
        std::size_t faces = 0;
        for (const Product& product : model.products) {
            for (const Body& body : product.bodies) {
                checkBody(body);
                faces += body.faces.size();
            }
        }
        EXPECT_GT(faces, 0U);
    }
}

TEST(geom_Parts, ParametersOfEdgesLieInTheRangeOfTheirFaces)
{
    const std::vector<std::string> files = parts();
    if (files.empty()) {
        GTEST_SKIP() << "KTMDL_STEP_DATA names no folder with STEP parts";
    }
    std::size_t seen = 0;
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        const Model model = standin::step::readFile(file);
        for (const Product& product : model.products) {
            for (const Body& body : product.bodies) {
                for (const Face& face : body.faces) {
                    SCOPED_TRACE(testing::Message() << "face #" << face.entity);
                    const FaceGeometry geometry(body, face);
                    Param from;
                    Param to;
                    geometry.paramRange(from, to);
                    ASSERT_TRUE(std::isfinite(from.u + to.u + from.v + to.v));
                    EXPECT_LT(from.u, to.u);
                    EXPECT_LT(from.v, to.v);
                    const Param period = face.surface->period();
                    const auto in = [](double x, double low, double high, double repeat) {
                        const double room = 1e-6 * (high - low);
                        for (const double turn : {0.0, repeat, -repeat, 2.0 * repeat}) {
                            if (x + turn >= low - room && x + turn <= high + room) {
                                return true;
                            }
                        }
                        return false;
                    };
                    for (const Loop& loop : face.loops) {
                        for (const EdgeUse& use : loop.uses) {
                            const Edge& e = body.edges[use.edge];
                            const Vec mid = e.curve->at(0.41 * e.from + 0.59 * e.to);
                            const Param p = face.surface->parameterAt(mid, nullptr);
                            EXPECT_TRUE(in(p.u, from.u, to.u, period.u)) << p.u;
                            EXPECT_TRUE(in(p.v, from.v, to.v, period.v)) << p.v;
                            EXPECT_TRUE(geometry.contains(p));
                            ++seen;
                        }
                    }
                }
            }
        }
    }
    EXPECT_GT(seen, 0U);
}

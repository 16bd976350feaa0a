// Transformations of many points and boxes, and of one another.

#include "Rows.h"

#include "ktmdl/ktmdl_Axis3d.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_Vec3d.h"

#include <Eigen/Geometry>
#include <glm/glm.hpp>
#include <glm/gtc/matrix_inverse.hpp>

#include <cmath>
#include <memory>
#include <random>

namespace bench {

namespace {

using Eigen::Affine3d;
using Eigen::Matrix4d;
using Eigen::Vector3d;

constexpr long kMany = 1000000;
constexpr long kMatrices = 4096; //!< as many as stay in the cache; worked on again and again

//! The same transformation for all sides.
struct Motion
{
    explicit Motion(unsigned aSeed)
    {
        std::mt19937 random(aSeed);
        std::uniform_real_distribution<double> number(-1.0, 1.0);
        ours.SetRotation(ktmdl_Axis3d(ktmdl_Pnt3d(number(random), number(random), number(random)),
                                      ktmdl_Vec3d(0.6, 0.48, 0.64)),
                         number(random), 0);
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 4; ++c) {
                eigen.matrix()(r, c) = ours.mMatrix[r][c];
                glm[c][r] = ours.mMatrix[r][c];
            }
        }
    }

    ktmdl_Trsf3d ours;
    Affine3d eigen;
    glm::dmat4 glm{};
};

template <class Point>
std::vector<Point> points(long aCount)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> number(-100.0, 100.0);
    std::vector<Point> all;
    all.reserve(static_cast<std::size_t>(aCount));
    for (long i = 0; i < aCount; ++i) {
        const double x = number(random);
        const double y = number(random);
        const double z = number(random);
        all.emplace_back(x, y, z);
    }
    return all;
}

//! Steps that apply something to every element.
template <class Element, class Apply>
Steps onEach(std::vector<Element> aElements, Apply aApply)
{
    const auto all = std::make_shared<std::vector<Element>>(std::move(aElements));
    return timedOnly([all, aApply] {
        for (Element& element : *all) {
            aApply(element);
        }
        consume(all->data());
    });
}

std::string difference(const char* aWhat, double aDifference)
{
    return aDifference < 1e-9 ? std::string() : aWhat + (" by " + std::to_string(aDifference));
}

void addPoints()
{
    const Motion motion(2);
    Row row{"transform points", kMany, {}, {}, {}};
    row.ours = {"ours", [motion] {
                    return onEach(points<ktmdl_Pnt3d>(kMany),
                                  [motion](ktmdl_Pnt3d& p) { p.Transform(motion.ours); });
                }};
    row.peers.push_back({"Eigen",
                         [motion] {
                             return onEach(points<Vector3d>(kMany),
                                           [motion](Vector3d& p) { p = motion.eigen * p; });
                         },
                         0.0, 1.0});
    row.peers.push_back({"GLM",
                         [motion] {
                             return onEach(points<glm::dvec3>(kMany), [motion](glm::dvec3& p) {
                                 p = glm::dvec3(motion.glm * glm::dvec4(p, 1.0));
                             });
                         },
                         0.0, 1.0});
    row.check = [motion] {
        double worst = 0.0;
        const auto eigen = points<Vector3d>(1000);
        const auto glms = points<glm::dvec3>(1000);
        auto ours = points<ktmdl_Pnt3d>(1000);
        for (std::size_t i = 0; i < ours.size(); ++i) {
            ours[i].Transform(motion.ours);
            const Vector3d e = motion.eigen * eigen[i];
            const auto g = glm::dvec3(motion.glm * glm::dvec4(glms[i], 1.0));
            worst = std::max({worst, std::abs(ours[i].mX - e.x()), std::abs(ours[i].mZ - e.z()),
                              std::abs(ours[i].mY - g.y), std::abs(ours[i].mZ - g.z)});
        }
        return difference("a point", worst);
    };
    add(row);
}

using EigenBox = Eigen::AlignedBox3d;

struct GlmBox
{
    GlmBox(double x, double y, double z) : low(x, y, z), high(x + 1.0, y + 2.0, z + 3.0) {}

    glm::dvec3 low;
    glm::dvec3 high;
};

struct OurBox : ktmdl_BBox3d
{
    OurBox(double x, double y, double z) : ktmdl_BBox3d(x, y, z, x + 1.0, y + 2.0, z + 3.0) {}
};

struct EigenBoxAt : EigenBox
{
    EigenBoxAt(double x, double y, double z)
        : EigenBox(Vector3d(x, y, z), Vector3d(x + 1.0, y + 2.0, z + 3.0))
    {}
};

GlmBox moved(const GlmBox& aBox, const glm::dmat4& aMatrix)
{
    GlmBox box = aBox;
    box.low = glm::dvec3(aMatrix * glm::dvec4(aBox.low, 1.0));
    box.high = box.low;
    for (int corner = 1; corner < 8; ++corner) {
        const glm::dvec4 at((corner & 1) != 0 ? aBox.high.x : aBox.low.x,
                            (corner & 2) != 0 ? aBox.high.y : aBox.low.y,
                            (corner & 4) != 0 ? aBox.high.z : aBox.low.z, 1.0);
        const auto p = glm::dvec3(aMatrix * at);
        box.low = glm::min(box.low, p);
        box.high = glm::max(box.high, p);
    }
    return box;
}

//! Moves every box to a place of its own, so that boxes don't grow from pass to pass.
template <class Box, class Move>
Steps onEachBox(Move aMove)
{
    const auto boxes = std::make_shared<std::vector<Box>>(points<Box>(kMany));
    const auto results = std::make_shared<std::vector<Box>>(*boxes);
    return timedOnly([boxes, results, aMove] {
        for (std::size_t i = 0; i < boxes->size(); ++i) {
            aMove((*boxes)[i], (*results)[i]);
        }
        consume(results->data());
    });
}

void addBoxes()
{
    const Motion motion(3);
    Row row{"transform boxes", kMany, {}, {}, {}};
    row.ours = {"ours", [motion] {
                    return onEachBox<OurBox>([motion](const OurBox& from, OurBox& to) {
                        to = from;
                        to.Transform(motion.ours);
                    });
                }};
    row.peers.push_back({"Eigen",
                         [motion] {
                             return onEachBox<EigenBoxAt>(
                                 [motion](const EigenBoxAt& from, EigenBoxAt& to) {
                                     static_cast<EigenBox&>(to) = from.transformed(motion.eigen);
                                 });
                         },
                         0.0, 1.0});
    row.peers.push_back({"GLM, 8 corners",
                         [motion] {
                             return onEachBox<GlmBox>([motion](const GlmBox& from, GlmBox& to) {
                                 to = moved(from, motion.glm);
                             });
                         },
                         0.0, 1.0});
    row.check = [motion] {
        double worst = 0.0;
        for (const OurBox& box : points<OurBox>(1000)) {
            OurBox ours = box;
            ours.Transform(motion.ours);
            const EigenBox eigen =
                EigenBoxAt(box.mMin.mX, box.mMin.mY, box.mMin.mZ).transformed(motion.eigen);
            const GlmBox glms =
                moved(GlmBox(box.mMin.mX, box.mMin.mY, box.mMin.mZ), motion.glm);
            worst = std::max({worst, std::abs(ours.mMin.mX - eigen.min().x()),
                              std::abs(ours.mMax.mZ - eigen.max().z()),
                              std::abs(ours.mMin.mY - glms.low.y),
                              std::abs(ours.mMax.mX - glms.high.x)});
        }
        return difference("a box", worst);
    };
    add(row);
}

//! Matrices of all sides, used again and again for a large number of operations.
struct Matrices
{
    Matrices()
    {
        for (unsigned i = 0; i < kMatrices; ++i) {
            const Motion motion(i + 1);
            ours.push_back(motion.ours);
            eigen.push_back(motion.eigen.matrix());
            glm.push_back(motion.glm);
        }
    }

    std::vector<ktmdl_Trsf3d> ours;
    std::vector<Matrix4d, Eigen::aligned_allocator<Matrix4d>> eigen;
    std::vector<glm::dmat4> glm;
};

template <class List, class Apply>
Side matrixSide(const char* aName, List Matrices::*aList, Apply aApply, double aAim)
{
    return {aName,
            [aList, aApply] {
                const auto all = std::make_shared<Matrices>();
                return timedOnly([all, aList, aApply] {
                    auto& list = (*all).*aList;
                    for (long done = 0; done < kMany; done += kMatrices) {
                        for (std::size_t i = 1; i + 1 < list.size(); ++i) {
                            aApply(list, i);
                        }
                        consume(list.data());
                    }
                });
            },
            0.0, aAim};
}

double worstEntry(const ktmdl_Trsf3d& aOurs, const Matrix4d& aEigen, const glm::dmat4& aGlm)
{
    double worst = 0.0;
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            worst = std::max({worst, std::abs(aOurs.mMatrix[r][c] - aEigen(r, c)),
                              std::abs(aOurs.mMatrix[r][c] - aGlm[c][r])});
        }
    }
    return worst;
}

void addMatrices()
{
    Row compose{"compose transformations", kMany, {}, {}, {}};
    compose.ours = matrixSide("ours", &Matrices::ours, [](auto& all, std::size_t i) {
        all[i] = all[i + 1] * all[0]; // the one on the left first
    }, 0.0);
    compose.peers.push_back(matrixSide("Eigen", &Matrices::eigen, [](auto& all, std::size_t i) {
        all[i].noalias() = all[0] * all[i + 1];
    }, 1.0));
    compose.peers.push_back(matrixSide("GLM", &Matrices::glm, [](auto& all, std::size_t i) {
        all[i] = all[0] * all[i + 1];
    }, 1.0));
    compose.check = [] {
        const Matrices all;
        const ktmdl_Trsf3d ours = all.ours[1] * all.ours[2];
        return difference("a product", worstEntry(ours, all.eigen[2] * all.eigen[1],
                                                  all.glm[2] * all.glm[1]));
    };
    add(compose);

    Row invert{"invert transformations", kMany, {}, {}, {}};
    invert.ours = matrixSide("ours", &Matrices::ours,
                             [](auto& all, std::size_t i) { all[i].Reverse(); }, 0.0);
    invert.peers.push_back(matrixSide("Eigen", &Matrices::eigen, [](auto& all, std::size_t i) {
        all[i] = all[i].inverse().eval();
    }, 1.0));
    invert.peers.push_back(matrixSide("GLM", &Matrices::glm, [](auto& all, std::size_t i) {
        all[i] = glm::inverse(all[i]);
    }, 1.0));
    invert.check = [] {
        Matrices all;
        all.ours[1].Reverse();
        return difference("an inverse", worstEntry(all.ours[1], all.eigen[1].inverse(),
                                                   glm::inverse(all.glm[1])));
    };
    add(invert);
}

} // namespace

void addGeometry()
{
    addPoints();
    addBoxes();
    addMatrices();
}

} // namespace bench

//! @file
//! Bodies made without a file, for tests and samples. Lengths are metres; every body is closed,
//! its faces' outward normals point away from the material.

#pragma once

#include "standin/geom/Brep.h"

#include <cstddef>
#include <string>
#include <vector>

namespace standin {

//! A box: 6 planes, 12 lines, 8 vertices. Faces in the order -x, +x, -y, +y, -z, +z.
//! @throws std::invalid_argument  when min is not below max in every coordinate
[[nodiscard]] geom::Body makeBox(const geom::Vec& min, const geom::Vec& max);

//! A box as makeBox, with a round hole along z from bottom to top: a seventh face, two circles and
//! one seam line more.
//! @param x       centre of the hole
//! @param y       centre of the hole
//! @param radius  above 0; the hole stays inside the box
//! @throws std::invalid_argument  when a number breaks these rules
[[nodiscard]] geom::Body makeBoxWithHole(const geom::Vec& min, const geom::Vec& max, double x,
                                         double y, double radius);

//! A cylinder from the frame's origin along its z: side, bottom, top; two circles, one seam line.
[[nodiscard]] geom::Body makeCylinder(const geom::Frame& frame, double radius, double height);

//! A cone's frustum from the frame's origin along its z: side, bottom, top. The radii differ.
[[nodiscard]] geom::Body makeFrustum(const geom::Frame& frame, double radius, double topRadius,
                                     double height);

//! A sphere about the frame's origin: one face between the poles, one seam arc along x.
[[nodiscard]] geom::Body makeSphere(const geom::Frame& frame, double radius);

//! A torus about the frame's z: one face, two seam circles.
[[nodiscard]] geom::Body makeTorus(const geom::Frame& frame, double majorRadius,
                                   double minorRadius);

//! A sheet: one face over a parameter rectangle of a surface, bounded by four edges.
//! @param surface   outward normal as the surface's
//! @param edges     start and end follow one another counter-clockwise round the normal; each
//!                  stretch of a curve ends where the next one starts
[[nodiscard]] geom::Body makeSheet(const geom::SurfacePtr& surface,
                                   const std::vector<geom::Edge>& edges);

//! A model of one product with these bodies.
[[nodiscard]] geom::Model makeModel(std::vector<geom::Body> bodies,
                                    const std::string& name = "part");

//! Adds a part to a model.
//! @return its index in the model's products
std::size_t addPart(geom::Model& model, const std::string& name, std::vector<geom::Body> bodies);

//! Adds an assembly to a model. What its occurrences use is no root of the model any more.
//! @param occurrences  of products added before, as use() makes them
//! @return its index in the model's products
//! @throws std::invalid_argument  an occurrence uses no product of the model
std::size_t addAssembly(geom::Model& model, const std::string& name,
                        std::vector<geom::Occurrence> occurrences);

//! An occurrence of a product.
//! @param product  its index in the model's products
[[nodiscard]] geom::Occurrence use(std::size_t product, const std::string& name,
                                   const geom::Placement& placement = {});

//! A placement that shifts by a vector, in metres.
[[nodiscard]] geom::Placement shiftedBy(const geom::Vec& vector);
//! A placement that takes the origin and the axes to a frame's.
[[nodiscard]] geom::Placement placedAt(const geom::Frame& frame);

} // namespace standin

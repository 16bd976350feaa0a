//! @file
//! Random parts made of blocks, for lives.
#pragma once

#include "standin/Build.h"
#include "support/SoakLife.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>
#include <utility>
#include <vector>

namespace soak {

//! The same numbers on every platform.
class Dice
{
public:
    explicit Dice(std::uint64_t seed) : engine(seed) {}
    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(engine() % bound); }
    long from(long low, long high)
    {
        return low + static_cast<long>(below(static_cast<std::size_t>(high - low + 1)));
    }
    bool chance(int percent) { return below(100) < static_cast<std::size_t>(percent); }
    template <class Container>
    auto& among(Container& container)
    {
        return *std::next(container.begin(), static_cast<std::ptrdiff_t>(below(container.size())));
    }

private:
    std::mt19937_64 engine;
};

//! A block of a part: a box, perhaps with a hole.
struct Block
{
    long place = 0; //!< on a grid of 100 by 100, blocks never touch
    std::array<long, 3> size{};
    bool hasHole = false;
};

inline standin::geom::Body bodyOf(const Block& block)
{
    const double x = 0.1 + 0.1 * static_cast<double>(block.place % 100);
    const double y = 0.1 + 0.1 * static_cast<double>(block.place / 100);
    const standin::geom::Vec min{x, y, 0.1};
    const standin::geom::Vec max{x + 0.01 * static_cast<double>(block.size[0]),
                                 y + 0.01 * static_cast<double>(block.size[1]),
                                 0.1 + 0.01 * static_cast<double>(block.size[2])};
    return block.hasHole ? standin::makeBoxWithHole(min, max, x + 0.01, y + 0.01, 0.004)
                         : standin::makeBox(min, max);
}

//! Puts blocks into one body.
inline standin::geom::Body joined(const std::vector<Block>& blocks)
{
    standin::geom::Body body;
    for (const Block& block : blocks) {
        const standin::geom::Body one = bodyOf(block);
        const std::size_t vertices = body.vertices.size();
        const std::size_t edges = body.edges.size();
        body.vertices.insert(body.vertices.end(), one.vertices.begin(), one.vertices.end());
        for (standin::geom::Edge edge : one.edges) {
            edge.start += vertices;
            edge.end += vertices;
            body.edges.push_back(std::move(edge));
        }
        for (standin::geom::Face face : one.faces) {
            for (standin::geom::Loop& loop : face.loops) {
                for (standin::geom::EdgeUse& use : loop.uses) {
                    use.edge += edges;
                }
            }
            body.faces.push_back(std::move(face));
        }
    }
    return body;
}

using Part = std::vector<std::vector<Block>>; //!< blocks of each body

inline standin::geom::Model modelOf(const Part& part)
{
    std::vector<standin::geom::Body> bodies;
    for (const std::vector<Block>& blocks : part) {
        bodies.push_back(joined(blocks));
    }
    return standin::makeModel(std::move(bodies));
}

inline Block newBlock(Dice& dice, long place)
{
    Block block;
    block.place = place;
    for (long& size : block.size) {
        size = dice.from(3, 8);
    }
    block.hasHole = dice.chance(15);
    return block;
}

inline Part newPart(Dice& dice, Size size)
{
    long blocks = dice.from(1, 4);
    if (size == Size::medium) {
        blocks = dice.from(10, 80);
    } else if (size == Size::large) {
        blocks = dice.from(820, 3200);
    } else if (size == Size::largest) {
        blocks = 3333; // and two faces more, from holes
    }
    Part part(static_cast<std::size_t>(size == Size::largest ? 1 : dice.from(1, 3)));
    for (long place = 0; place < blocks; ++place) {
        Block block = newBlock(dice, place);
        if (size == Size::largest) {
            block.hasHole = place < 2;
        }
        dice.among(part).push_back(block);
    }
    part.erase(std::remove_if(part.begin(), part.end(),
                              [](const std::vector<Block>& body) { return body.empty(); }),
               part.end());
    return part;
}

//! Changes a part in one or two places, as its designer does.
inline Part changed(Dice& dice, Part part)
{
    for (long i = dice.from(1, 2); i > 0; --i) {
        std::vector<Block>& body = dice.among(part);
        const std::size_t kind = dice.below(4);
        if (kind == 0) {
            body.push_back(newBlock(dice, 4000 + dice.from(0, 999)));
            for (const std::vector<Block>& other : part) {
                const auto isThere = [&](const Block& block) {
                    return &block != &body.back() && block.place == body.back().place;
                };
                if (std::any_of(other.begin(), other.end(), isThere)) {
                    body.pop_back();
                    break;
                }
            }
        } else if (kind == 1 && body.size() > 1) {
            body.erase(body.begin() + static_cast<std::ptrdiff_t>(dice.below(body.size())));
        } else if (kind == 2) {
            dice.among(body).size[dice.below(3)] = dice.from(3, 8);
        } else {
            Block& block = dice.among(body);
            block.hasHole = !block.hasHole;
        }
    }
    return part;
}

} // namespace soak

#pragma once

#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

class QuadReader;

/// The search for the quad from which to walk to a target, coarse to fine over samples of the grid. It keeps
/// references to the grid's quads and the target, and holds the samples of one pass.
class StartDescent {
public:
    /// A place on the grid and the squared distance from its node to the target.
    struct Candidate {
        TwoDimensional::Point<int> quad;
        double distanceSqr = 0.0;
    };

    /// What a look at some samples found.
    struct Look {
        /// The best so far, the samples included.
        Candidate best;
        bool isCloser = false;
        bool hasInvalidQuad = false;
    };

    /// The grid must have rows.
    StartDescent(QuadReader const& newQuads, Point const& newTarget);
    StartDescent(StartDescent const&) = delete;
    StartDescent& operator=(StartDescent const&) = delete;
    ~StartDescent() = default;

    /// The quad found. With extra passes it can lie outside the grid. One descent only.
    [[nodiscard]] TwoDimensional::Point<int> descend();

    /// Whether one of the existing quads among the samples is strictly nearer to the target than `best`. With
    /// `canEscape`, and when none is and `best` is not near, the best of the samples takes its place, even if
    /// it is farther away.
    [[nodiscard]] static Look lookAt(QuadReader const& quads,
                                     std::span<TwoDimensional::Point<int> const> samples, Point const& target,
                                     Candidate const& best, bool canEscape);

private:
    /// Half the span of a cell of the lattice, in quads.
    using HalfCell = TwoDimensional::Vector<int>;

    std::uint64_t getMaxPasses() const;
    bool getCanEscape() const;
    bool takeExtraPass();
    void fillSamples(HalfCell const& halfCell);
    bool lookAroundSamples(HalfCell const& halfCell);

    /// So many samples take no memory.
    static constexpr std::size_t fewSamples = 9;

    QuadReader const& quads;
    Point const& target;
    std::array<TwoDimensional::Point<int>, fewSamples> few;
    std::vector<TwoDimensional::Point<int>> many;
    std::span<TwoDimensional::Point<int>> samples;
    /// The side of the greatest square lattice in the number of samples.
    int side;
    /// The box over which the samples are spread.
    TwoDimensional::Vector<int> span;
    Candidate best;
    std::uint32_t extraPasses = 0;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh

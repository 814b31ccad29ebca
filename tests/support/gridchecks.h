#pragma once

#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/plain_grid.h"

#include <exception>
#include <ios>
#include <string>

#include <gtest/gtest.h>

namespace QELT::Testing {

/// Whether the grid has the extents, flag bytes and points, to the bit, of the plain one. The stored points
/// of nodes that are not valid count too.
testing::AssertionResult sameNodes(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid,
                                   PlainGrid const& expected);

/// The same of the stored nodes, whatever the class of the grid shows.
testing::AssertionResult sameStored(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid,
                                    PlainGrid const& expected);

/// Whether the grid has settled these areas, to the bit.
testing::AssertionResult sameAreas(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid,
                                   PlainAreas const& expected);

/// Whether the search points and their counts are those that the plain grid has for the divisor of `grid`.
testing::AssertionResult sameSearchPoints(Geometry::ThreeDimensional::QuadMesh::RectMesh const& grid,
                                          PlainGrid const& expected);

/// The text of the exception that the call throws; "nothing thrown" if it throws none.
template <class Call>
std::string messageOf(Call call) {
    try {
        call();
    } catch (std::exception const& failure) {
        return failure.what();
    }
    return "nothing thrown";
}

/// Whether the call throws std::ios_base::failure with the stream error code and exactly this text.
template <class Call>
testing::AssertionResult failsToOpen(Call call, std::string const& text) {
    try {
        call();
    } catch (std::ios_base::failure const& failure) {
        if (failure.code() != std::io_errc::stream) {
            return testing::AssertionFailure() << "code " << failure.code();
        }
        if (failure.what() != text) {
            return testing::AssertionFailure() << "text " << failure.what();
        }
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "nothing thrown";
}

} // namespace QELT::Testing

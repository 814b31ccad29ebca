#pragma once

#include "Geometry/foundations/export.h"

#include <exception>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// For callers that want to turn a failed search into an exception of their own. The library never throws it:
/// a search that finds nothing answers with a status that is not valid.
class QELT_EXPORT QuadSearchFailure : public std::exception {
public:
    QuadSearchFailure() = default;
    QuadSearchFailure(QuadSearchFailure const&) = default;
    QuadSearchFailure& operator=(QuadSearchFailure const&) = default;
    ~QuadSearchFailure() override = default;

    char const* what() const noexcept override { return "QuadSearchFailure"; }
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh

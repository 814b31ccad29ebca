#include "identity.h"

#include "Geometry/geometry.h"

#include <exception>
#include <string>
#include <typeinfo>

using namespace QELT::Geometry;
using ThreeDimensional::Point;
using ThreeDimensional::BinarySpacePartition::Object;

namespace {

/// An element of the partition tree that is not the library's own.
class Marker : public Point {
public:
    Marker() : Point(1.0, 2.0, 3.0) {}
};

/// Asks through a reference, so that the answer comes from the object's own type information.
template <class T>
bool isOfType(auto const& object) {
    return typeid(object) == typeid(T) && dynamic_cast<T const*>(&object) != nullptr;
}

bool doesLoadThrowStandardException() {
    ThreeDimensional::QuadMesh::RectMesh grid;
    try {
        grid.load("there is no such file.quads");
    } catch (std::exception const& failure) {
        return std::string(failure.what()).find("Quad-mesh file open failure.") != std::string::npos;
    }
    return false;
}

bool doesSearchFailureCrossTheBoundary() {
    try {
        throw ThreeDimensional::QuadMesh::QuadSearchFailure();
    } catch (ThreeDimensional::QuadMesh::QuadSearchFailure const&) {
        return true;
    }
}

} // namespace

std::string checkTypeIdentity() {
    std::string failed;
    auto const check = [&failed](bool isGood, char const* name) {
        if (!isGood) {
            failed += std::string(name) + '\n';
        }
    };

    // The box was made inside the library, its class is defined in a header alone.
    ThreeDimensional::BoundingBoxAA const box = Point(1.0, 2.0, 3.0).getBoundingBox();
    Point const corner = box.getp1();
    Object const& element = corner;
    Marker const marker;
    Object const& markerElement = marker;

    check(isOfType<Point>(element), "a point of the library is a Point");
    check(!isOfType<Marker>(element), "a point of the library is no Marker");
    check(isOfType<Marker>(markerElement), "a user's element keeps its type");
    check(dynamic_cast<Point const*>(&markerElement) != nullptr, "a user's element is a Point");
    check(isOfType<ThreeDimensional::BoundingBoxAA>(box), "a box of the library is a BoundingBoxAA");
    check(isOfType<TwoDimensional::Point<double>>(TwoDimensional::Point<double>(1.0, 2.0)), "flat points");
    check(markerElement.getBoundingBox().getp() == marker, "a virtual call reaches the library");
    check(doesLoadThrowStandardException(), "an exception of the library is caught");
    check(doesSearchFailureCrossTheBoundary(), "QuadSearchFailure is caught");
    return failed;
}

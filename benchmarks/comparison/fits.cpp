// Fits by gradient descent beside the same descents written out plainly, which know nothing of states that
// recur.

#include "Geometry/geometry.h"
#include "benchmarks/comparison/contest.h"
#include "tests/support/plain_fits.h"

#include <cmath>
#include <memory>
#include <random>
#include <stdexcept>

namespace Comparison {

namespace {

using QELT::Geometry::ThreeDimensional::Point;
using QELT::Geometry::ThreeDimensional::Utility;
using QELT::Geometry::ThreeDimensional::Vector;

/// Points near a sphere, all around it.
std::vector<Point> pointsOnSphere(std::size_t count) {
    std::mt19937 generator(4);
    std::normal_distribution<double> normal;
    std::vector<Point> points;
    for (std::size_t i = 0; i < count; ++i) {
        double const x = normal(generator);
        double const y = normal(generator);
        double const z = normal(generator);
        double const scale = (20.0 + 0.01 * normal(generator)) / std::sqrt(x * x + y * y + z * z);
        points.emplace_back(3.0 + scale * x, 2.0 + scale * y, 1.0 + scale * z);
    }
    return points;
}

struct SphereFit {
    std::vector<Point> points;
    Point centre;
    double radius = 0.0;
    QELT::Testing::PlainSphere peer;
};

std::string differenceOf(SphereFit const& fit) {
    bool const areSame = fit.centre.getX() == fit.peer.centre.getX() &&
                         fit.centre.getY() == fit.peer.centre.getY() &&
                         fit.centre.getZ() == fit.peer.centre.getZ() && fit.radius == fit.peer.radius;
    return areSame ? "" : "spheres";
}

Contest sphereContest(std::size_t count) {
    auto const fit = std::make_shared<SphereFit>();
    fit->points = pointsOnSphere(count);
    return {[=] { Utility::getSphereFit(fit->points.data(), count, fit->centre, fit->radius, nullptr); },
            [=] { fit->peer = QELT::Testing::plainSphereFit(fit->points); },
            [=] { return differenceOf(*fit); },
            [=] {
                fit->radius = 0.0;
                fit->peer = {};
            }};
}

struct Registration {
    std::vector<Point> source;
    std::vector<Point> target;
    Vector angles;
    Vector translation;
    Point centre;
    QELT::Testing::PlainRigidBody peer;
};

std::shared_ptr<Registration> makeRegistration(double length) {
    auto const registration = std::make_shared<Registration>();
    registration->source = {Point(0.0, 0.0, 0.0), Point(length, 0.0, 0.0), Point(0.0, 0.8 * length, 0.0)};
    double const turn = 0.3;
    for (Point const& p : registration->source) {
        double const x = p.getX();
        double const y = p.getY();
        registration->target.emplace_back(std::cos(turn) * x - std::sin(turn) * y + 5.0,
                                          std::sin(turn) * x + std::cos(turn) * y - 2.0, 1.0);
    }
    return registration;
}

bool areSame(Vector const& a, Vector const& b) {
    return a.getdX() == b.getdX() && a.getdY() == b.getdY() && a.getdZ() == b.getdZ();
}

Contest registrationContest(double length) {
    auto const state = makeRegistration(length);
    return {[=] {
                Utility::getRigidBodyMap(state->source.data(), state->target.data(), &state->angles,
                                         &state->translation, &state->centre, nullptr, true);
            },
            [=] {
                state->peer =
                    QELT::Testing::plainRigidBody(state->source, state->target, Vector(0.0, 0.0, 0.0), true);
            },
            [=] {
                bool const isSame = areSame(state->angles, state->peer.eulerAngles) &&
                                    areSame(state->translation, state->peer.translation);
                return std::string(isSame ? "" : "motions");
            },
            [=] {
                state->angles = Vector();
                state->peer = {};
            }};
}

} // namespace

std::vector<Row> fitRows() {
    std::vector<Size> spheres;
    for (std::size_t const count : {10U, 30U, 100U, 300U}) {
        spheres.push_back({static_cast<double>(count), [=] { return sphereContest(count); }});
    }
    return {{"fits", "sphere", "all sweeps, written plainly", "points", spheres},
            {"fits",
             "registration of three points, coarse",
             "all steps, written plainly",
             "units of length",
             {{100.0, [] { return registrationContest(100.0); }}}}};
}

} // namespace Comparison

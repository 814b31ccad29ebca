#include "python/src/arrays.h"
#include "python/src/objects.h"

#include <algorithm>
#include <cmath>

namespace QELT::Python {

namespace {

using QELT::Geometry::ThreeDimensional::PointCloud::NearestPoints;

std::vector<PointPair> pairsFrom(py::handle sources, py::handle targets) {
    auto const from = finitePointsFrom(sources, "sources");
    auto const to = finitePointsFrom(targets, "targets");
    if (from.size() != to.size()) {
        throw py::value_error("sources and targets need the same length");
    }
    std::vector<PointPair> pairs;
    for (std::size_t i = 0; i < from.size(); ++i) {
        pairs.push_back({from[i], to[i]});
    }
    return pairs;
}

std::vector<FramePair> framePairsFrom(py::handle sources, py::handle targets) {
    Rows const from(sources, "sources", 3);
    Rows const to(targets, "targets", 3);
    if (from.size() != to.size()) {
        throw py::value_error("sources and targets need the same length");
    }
    std::vector<FramePair> pairs;
    for (std::size_t i = 0; i < from.size(); ++i) {
        pairs.push_back(
            {{from.at(i, 0), from.at(i, 1), from.at(i, 2)}, {to.at(i, 0), to.at(i, 1), to.at(i, 2)}, i});
    }
    return pairs;
}

/// The nearest of each place: indices and distances, as wide as there are points to find.
py::tuple nearestOf(NearestPoints const& index, py::handle placeArray, std::size_t count) {
    auto const places = finitePointsFrom(placeArray, "places");
    std::size_t const width = std::min<std::size_t>(count, index.getNumberOfPoints());
    py::array_t<std::uint32_t> indices({places.size(), width});
    py::array_t<double> distances({places.size(), width});
    std::uint32_t* nextIndex = indices.mutable_data();
    double* nextDistance = distances.mutable_data();
    runLong(py::none(), {}, [&](ProgressListener*) {
        for (Point const& place : places) {
            for (NearestPoints::Neighbour const& found : index.getNearest(place, width)) {
                *nextIndex++ = found.index;
                *nextDistance++ = std::sqrt(found.distanceSqr);
            }
        }
    });
    return py::make_tuple(indices, distances);
}

void bindNearestPoints(py::module_& module) {
    py::class_<NearestPoints> type(module, "NearestPoints", plainType(),
                                   "An index over points (n, 3), exact down to ties.");
    type.def(
        py::init([](py::object const& points) { return NearestPoints(finitePointsFrom(points, "points")); }),
        py::arg("points"));
    type.def("__len__", &NearestPoints::getNumberOfPoints);
    type.def(
        "nearest", &nearestOf, py::arg("places"), py::arg("count") = 1,
        "Of places (m, 3) the `count` nearest points, nearest first: indices (m, count) uint32 and distances "
        "(m, count) float64.");
}

void defineFits(py::module_& module) {
    module.def(
        "fit_sphere",
        [](py::object const& array) {
            auto const points = finitePointsFrom(array, "points");
            return handOver(runLong(py::none(), {}, [&](ProgressListener*) { return fitSphere(points); }));
        },
        py::arg("points"), "A sphere fitted to points (n, 3).");
    module.def(
        "fit_cylinder",
        [](py::object const& pointArray, py::object const& normalArray) {
            OrientedCloud const cloud{finitePointsFrom(pointArray, "points"),
                                      vectorsFrom(normalArray, "normals")};
            if (cloud.points.size() != cloud.normals.size()) {
                throw py::value_error("points and normals need the same length");
            }
            return handOver(runLong(py::none(), {}, [&](ProgressListener*) { return fitCylinder(cloud); }));
        },
        py::arg("points"), py::arg("normals"), "A cylinder fitted to points (n, 3) with normals (n, 3).");
    module.def(
        "fit_paraboloid",
        [](py::object const& array) {
            auto const points = finitePointsFrom(array, "points");
            return handOver(
                runLong(py::none(), {}, [&](ProgressListener*) { return fitParaboloid(points); }));
        },
        py::arg("points"),
        "An elliptic paraboloid fitted to points (n, 3); takes minutes on scattered ones.");
}

void defineRegistrations(py::module_& module) {
    module.def(
        "rigid_registration",
        [](py::object const& sources, py::object const& targets) {
            return handOver(rigidRegistration(pairsFrom(sources, targets)));
        },
        py::arg("sources"), py::arg("targets"),
        "The rigid motion that takes three points closest to three others.");
    module.def(
        "affine_registration",
        [](py::object const& sources, py::object const& targets) {
            return handOver(affineRegistration(pairsFrom(sources, targets)));
        },
        py::arg("sources"), py::arg("targets"), "The affine map that takes four points to four others.");
    module.def(
        "fit_frame",
        [](py::object const& sources, py::object const& targets) {
            return handOver(fitFrame(framePairsFrom(sources, targets)));
        },
        py::arg("sources"), py::arg("targets"),
        "The rigid motion that takes points (n, 3) to others with the least sum of squared distances, n from "
        "3 on.");
    module.def(
        "read_frame", [](py::object const& file) { return handOver(readFrame(pathFrom(file, "path"))); },
        py::arg("path"), "Reads a frame from its JSON file.");
    module.def(
        "write_frame",
        [](py::object const& file, Frame const& frame) { writeFrame(frame, pathFrom(file, "path")); },
        py::arg("path"), py::arg("frame"), "Writes a frame as JSON.");
}

void defineClouds(py::module_& module) {
    module.def(
        "load_part",
        [](py::object const& file, py::kwargs const& given) {
            auto const path = pathFrom(file, "path");
            LoadOptions options;
            fillFields(&options, Description<LoadOptions>::fields(), given, "load_part()");
            return handOver(
                runFileWork(py::none(), {}, [&](ProgressListener*) { return loadPart(path, options); }));
        },
        py::arg("path"), "Reads a part of any format and makes it ready, by the options of `LoadOptions`.");
    module.def(
        "spacing_of",
        [](py::object const& array) {
            auto const points = finitePointsFrom(array, "points");
            return handOver(runLong(py::none(), {}, [&](ProgressListener*) { return spacingOf(points); }));
        },
        py::arg("points"), "How far apart points (n, 3) lie.");
    module.def(
        "thinned",
        [](py::object const& array, double distance) {
            auto const points = finitePointsFrom(array, "points");
            return arrayOf(
                runLong(py::none(), {}, [&](ProgressListener*) { return thinned(points, distance); }));
        },
        py::arg("points"), py::arg("distance"),
        "Those of the points (n, 3), in their order, that are no nearer than this to one that stays before "
        "them.");
}

} // namespace

void bindPoints(py::module_& module) {
    bindNearestPoints(module);
    defineFits(module);
    defineRegistrations(module);
    defineClouds(module);
}

} // namespace QELT::Python

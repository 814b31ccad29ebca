#include "python/src/objects.h"

namespace QELT::Python {

namespace {

using Status = QELT::Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus;
using Measured = QELT::Geometry::ThreeDimensional::QuadMesh::QuadIntersectionData;

constexpr Enumerator qualityWords[] = {{Status::AngleThenDistance, "angle_then_distance"},
                                       {Status::DistanceOnly, "distance_only"},
                                       {Status::AngleOnly, "angle_only"}};

/// The settings are of the whole process, and searches read them without a lock.
void requireNothingRuns() {
    if (callsRunning() > 0) {
        throw std::runtime_error("The search settings are of the whole process: set them while no call runs");
    }
}

py::dict searchSettings() {
    py::dict settings;
    settings["max_do_n_more_times"] = Grid::maxDoNMoreTimes;
    settings["search_divide_by_n_times"] = Grid::searchDivideByNTimes;
    settings["quality_mode"] = wordOf(Status::getIntersectionQualityMode(), qualityWords);
    settings["is_enable_flip_angle"] = Measured::isEnableFlipAngle;
    return settings;
}

void setSearchSettings(std::optional<std::uint32_t> maxDoNMoreTimes,
                       std::optional<std::uint32_t> searchDivide, py::object const& qualityMode,
                       std::optional<bool> flipAngle) {
    requireNothingRuns();
    if (!qualityMode.is_none()) {
        Status::setIntersectionQualityMode(static_cast<Status::IntersectionQualityMode>(
            enumeratorFrom(qualityMode, "'quality_mode'", qualityWords)));
    }
    Grid::maxDoNMoreTimes = maxDoNMoreTimes.value_or(Grid::maxDoNMoreTimes);
    Grid::searchDivideByNTimes = searchDivide.value_or(Grid::searchDivideByNTimes);
    Measured::isEnableFlipAngle = flipAngle.value_or(Measured::isEnableFlipAngle);
}

} // namespace

void bindSettings(py::module_& module) {
    module.def("search_settings", &searchSettings,
               "The settings of the search, which the whole process shares.");
    module.def("set_search_settings", &setSearchSettings, py::kw_only(),
               py::arg("max_do_n_more_times") = py::none(), py::arg("search_divide_by_n_times") = py::none(),
               py::arg("quality_mode") = py::none(), py::arg("is_enable_flip_angle") = py::none(),
               "Changes those that are given. Refused while any call runs, in whatever thread.");
    module.def("library_version", &libraryVersion, "Such as \"1.2.3\".");
    module.def("has_page", &hasPage, "Whether the library was built with the page that `view` writes.");
    py::list states;
    for (std::size_t i = 0; i < pixelStateCount; ++i) {
        states.append(nameOf(static_cast<PixelState>(i)));
    }
    module.attr("PIXEL_STATES") = py::tuple(states);
}

} // namespace QELT::Python
